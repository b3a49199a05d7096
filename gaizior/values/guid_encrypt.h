#pragma once

/// @file
/// Files whose text is encoded with a GUID as key.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"
#include "gaizior/platform/windows_api.h"

#include <iosfwd>

/// Texts in files that no editor shows. This conceals, and protects nothing: the key stands in every program that can
/// read such a file. docs/ini-format.md has the bytes. Failures are logged and returned; any thread may call.
class GAIZIOR_API ZRGUIDEncryptC {
public:
    /// The key of the system's own files, a choice of this deployment.
    static const GUID PUBLIC_KEY;

    /// Writes the text of an encoded file to a stream.
    /// @param path the file, of up to 64 MiB.
    /// @param stream receives the text, and nothing after a failure but the last one.
    /// @param key what it was encoded with.
    /// @returns 0; 1014 e_File_NotFound where there is no such file; 2056 e_File_ReadFailed when it cannot be read;
    ///   2002 e_Object_BadMagic when it is not encoded, or in a way that this version does not know; 2123
    ///   e_Object_InvalidData when it is damaged, cut off or has bytes behind the text; 9400 e_Guid_Invalid when it was
    ///   encoded with another key; 2001 e_Memory_AllocationFailed; 2055 e_File_WriteFailed when the stream does not
    ///   take the text.
    static ZRErrors::ZRErrorT Decode(const char* path, std::iostream& stream, const GUID& key);

    /// Encodes what is left in a stream and saves it as a file, which is the old one or the new one, whole.
    /// @param path the file; one that is there keeps its permissions.
    /// @param stream is read to its end.
    /// @param key what it is to be decoded with.
    /// @returns 0; 2056 e_File_ReadFailed when the stream cannot be read, 2055 e_File_WriteFailed when the file cannot
    ///   be saved, also one of more than 64 MiB; 2001 e_Memory_AllocationFailed; what GuidC::CreateGUID says.
    static ZRErrors::ZRErrorT Encode(const char* path, std::iostream& stream, const GUID& key);
};
