#pragma once

/// @file
/// Keys and values of the system's registry.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"
#include "gaizior/platform/windows_api.h"

/// Opens keys of the registry and reads their values. It holds nothing, so that one object serves any number of
/// threads. Failures are logged; that something is not there is an answer (0x20000002), and is not.
class GAIZIOR_API ZRRegistryC {
public:
    /// Nothing is in it.
    /// @{
    ZRRegistryC() = default;
    ZRRegistryC(const ZRRegistryC&) = default;
    ZRRegistryC& operator=(const ZRRegistryC&) = default;
    /// @}
    virtual ~ZRRegistryC();

    /// Opens a key to read its values or, where it may be created, to write them as well.
    /// @param hive HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE or an open key. @param path below it, with backslashes.
    /// @param key receives the key, which the caller gives to RegCloseKey; null on a failure.
    /// @param create other than 0: makes the key, and those above it, where it does not exist.
    /// @returns 0; 2006 e_Arguments_Bad for a null path or `key`; 0x20000002 where there is no such key; the system's
    ///   number with bit 29 set, as 0x20000005 where the user may not write. Any thread.
    static ZRErrors::ZRErrorT OpenKey(HKEY hive, const char* path, HKEY* key, int create);

    /// Reads a value into a new buffer, whose data end with a NUL that does not count.
    /// @param key opened to be read.
    /// @param name the value's.
    /// @param data receives the buffer, which the caller gives back to FreeData; null on a failure.
    /// @param type receives REG_SZ, REG_DWORD or another.
    /// @param size receives the bytes of the data.
    /// @returns 0; 2006 e_Arguments_Bad for a null argument; 0x20000002 where there is no such value; 0x20000008
    ///   without memory; the system's number with bit 29 set, as 0x200003F1 for one that is damaged. Any thread.
    static ZRErrors::ZRErrorT ReadValue(HKEY key, const char* name, unsigned char** data, unsigned long* type,
                                        unsigned int* size);

    /// Releases a buffer of ReadValue's; null is left alone. Any thread.
    static void FreeData(unsigned char* data);
};
