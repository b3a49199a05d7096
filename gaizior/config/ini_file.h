#pragma once

/// @file
/// Settings in INI files, plain or encoded.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"
#include "gaizior/ui/framework.h"

#include <istream>
#include <memory>
#include <ostream>

/// Reads an INI file through the system's profile functions. An encoded file (ZRGUIDEncryptC) is decoded on the first
/// use to a copy that only its user may read, in the folder for temporary files; the copy goes with the object, and
/// what a killed process left goes when the next process decodes a file. A copy that was changed is encoded back then:
/// of two objects for one encoded file the last that goes wins. Applications change plain files by
/// WritePrivateProfileStringA.
///
///     CString recipients;
///     ZRIniFileC settings(ZRIniFileC::OEM_CONFIG_INI_FILE, 1);
///     settings.Read(ZRIniFileC::MAIL, ZRIniFileC::RECIPIENTS, nullptr, recipients);
///
/// Failures are logged and returned. An object belongs to one thread at a time.
class GAIZIOR_API ZRIniFileC {
public:
    /// The file in which an OEM gives the system its own names, stored encoded beside the program.
    static const char* const OEM_CONFIG_INI_FILE;

    /// Names of sections and keys in that file.
    /// @{
    static const char* const MANUFACTURER;    ///< a section, and in it the key of the company's name
    static const char* const PRODUCT_VERSION; ///< the key of the product's version
    static const char* const PRODUCT;         ///< the key of the product's name, in the manufacturer's section
    static const char* const PRODUCT_ICON; ///< the key of a file beside the program, in a section for each application
    static const char* const MAIL;         ///< the section for mails to the support
    static const char* const RECIPIENTS;   ///< a key in it
    static const char* const ADDRESSES;    ///< a key in it
    static const char* const SUBJECT;      ///< a key in it
    /// @}

    /// Touches no file.
    /// @param path the file; copied, and a relative one made absolute at once.
    /// @param encoded other than 0: the file is encoded.
    ZRIniFileC(const char* path, int encoded);
    /// Encodes a changed copy back and removes it; what fails is logged.
    ~ZRIniFileC();
    ZRIniFileC(const ZRIniFileC&) = delete;
    ZRIniFileC& operator=(const ZRIniFileC&) = delete;

    /// Reads one value and appends it to `out`.
    /// @param section,key the names, in upper or lower case.
    /// @param defaultValue what is appended where there is no such key or no plain file, without its trailing blanks
    ///   and one pair of quotes; after a failure to decode as it is. Null is empty.
    /// @param out what the value is appended to.
    /// @returns 0; 1000 e_File_InvalidName for an object without a path; 2001 e_Memory_AllocationFailed; 2011
    ///   e_Resource_AllocationFailed when no copy of an encoded file can be made or it is lost, or there is no memory
    ///   to begin with; 2056 e_File_ReadFailed when the file is there and cannot be read; what ZRGUIDEncryptC::Decode
    ///   returns. After a failure to decode, or a loss, the next call tries again.
    ZRErrors::ZRErrorT Read(const char* section, const char* key, const CString* const defaultValue, CString& out);

private:
    ZRErrors::ZRErrorT _Read(const char* section, const char* key, std::istream& io);
    ZRErrors::ZRErrorT _Write(const char* section, const char* key, std::ostream& value);
    std::iostream& GetStream();
    ZRErrors::ZRErrorT Initialise();
    ZRErrors::ZRErrorT Flush();
    ZRErrors::ZRErrorT CheckCopy();
    ZRErrors::ZRErrorT Extract();
    void Forget();
    ZRErrors::ZRErrorT EncodeBack();

    std::unique_ptr<char[]> m_pPath;
    std::unique_ptr<char[]> m_pWorkingPath; // what the profile functions are given: the path, or the decoded copy
    int m_bEncoded;
    int m_bInitialised = 0;
    int m_bDirty = 0;             // the copy has what the encoded file has not
    unsigned long m_nProcess = 0; // whose the copy is
};
