#include "gaizior/config/registry.h"

#include "gaizior/errors/failure.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>

namespace {

using gaizior::CodeText;
using gaizior::Fail;
using gaizior::FoldSystemError;

constexpr unsigned kTries = 4; // a value may grow between two looks at it
constexpr DWORD kFirstSize = 256;

using Buffer = std::unique_ptr<unsigned char[]>;

/// The code of what a call answered, logged if it is not 0.
ZRErrors::ZRErrorT CodeOf(const char* function, const char* call, const char* name, LSTATUS status) {
    const ZRErrors::ZRErrorT code = FoldSystemError(static_cast<DWORD>(status));
    return status == ERROR_SUCCESS ? ZRErrors::e_General_NoError
                                   : Fail(function, code, "from ", call, "(", name, "): ", CodeText(code));
}

/// The same of a call that looks for something: that it is not there is an answer, and not logged.
ZRErrors::ZRErrorT CodeOfLook(const char* function, const char* call, const char* name, LSTATUS status) {
    return status == ERROR_FILE_NOT_FOUND ? FoldSystemError(ERROR_FILE_NOT_FOUND)
                                          : CodeOf(function, call, name, status);
}

/// Reads a value into a buffer of the right size, a small one with one call.
LSTATUS Read(HKEY key, const char* name, Buffer& data, DWORD& type, DWORD& size) {
    LSTATUS status = ERROR_MORE_DATA;
    size = kFirstSize;
    for (unsigned i = 0; i < kTries && status == ERROR_MORE_DATA; ++i) {
        data.reset(new (std::nothrow) unsigned char[std::size_t{size} + 1]);
        if (!data) {
            return ERROR_NOT_ENOUGH_MEMORY;
        }
        status = ::RegQueryValueExA(key, name, nullptr, &type, data.get(), &size);
    }
    return status;
}

} // namespace

ZRRegistryC::~ZRRegistryC() = default;

ZRErrors::ZRErrorT ZRRegistryC::OpenKey(HKEY hive, const char* path, HKEY* key, int create) {
    constexpr char kFunction[] = "ZRRegistryC::OpenKey(): ";
    if (!path || !key) {
        return Fail(kFunction, ZRErrors::e_Arguments_Bad);
    }
    *key = nullptr;
    return create ? CodeOf(kFunction, "RegCreateKeyEx", path,
                           ::RegCreateKeyExA(hive, path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE,
                                             nullptr, key, nullptr))
                  : CodeOfLook(kFunction, "RegOpenKeyEx", path, ::RegOpenKeyExA(hive, path, 0, KEY_READ, key));
}

ZRErrors::ZRErrorT ZRRegistryC::ReadValue(HKEY key, const char* name, unsigned char** data, unsigned long* type,
                                          unsigned int* size) {
    constexpr char kFunction[] = "ZRRegistryC::ReadValue(): ";
    if (!name || !data || !type || !size) {
        return Fail(kFunction, ZRErrors::e_Arguments_Bad);
    }
    *data = nullptr;
    Buffer buffer;
    DWORD itsType = REG_NONE;
    DWORD itsSize = 0;
    const LSTATUS status = Read(key, name, buffer, itsType, itsSize);
    if (status == ERROR_SUCCESS) {
        buffer[itsSize] = '\0';
        *data = buffer.release();
        *type = itsType;
        *size = itsSize;
    }
    return CodeOfLook(kFunction, "RegQueryValueEx", name, status);
}

void ZRRegistryC::FreeData(unsigned char* data) {
    delete[] data;
}
