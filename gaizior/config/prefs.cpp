#include "gaizior/config/prefs.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/no_throw.h"

#include <array>
#include <charconv>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <system_error>

namespace {

using gaizior::CodeText;
using gaizior::Fail;
using gaizior::FoldSystemError;
using gaizior::NoThrow;

constexpr int kUser = 1;
constexpr int kMachine = 0;
constexpr ZRErrors::ZRErrorT kMissing = FoldSystemError(ERROR_FILE_NOT_FOUND);

/// A value's data, released at the end.
struct LoadedValue {
    LoadedValue() = default;
    LoadedValue(const LoadedValue&) = delete;
    LoadedValue& operator=(const LoadedValue&) = delete;
    ~LoadedValue() {
        ZRRegistryC::FreeData(data);
    }
    unsigned char* data = nullptr;
    unsigned long type = REG_NONE;
    unsigned int size = 0;
};

/// "SOFTWARE\", the company's root and some parts; empty, with the last error set, without memory.
template <class... Parts>
std::string PathOf(const Parts&... parts) {
    return NoThrow([&] {
        std::string path = std::string("SOFTWARE\\") + CZRPrefs::m_pPathRoot;
        (path.append(1, '\\').append(parts), ...);
        return path;
    });
}

/// Whether a call succeeded; logs when not. @returns its code.
ZRErrors::ZRErrorT Check(const char* function, const char* call, LSTATUS status) {
    const ZRErrors::ZRErrorT code = FoldSystemError(static_cast<DWORD>(status));
    return status == ERROR_SUCCESS ? ZRErrors::e_General_NoError
                                   : Fail(function, code, "from ", call, "(): ", CodeText(code));
}

/// Reads a value and closes its key.
ZRErrors::ZRErrorT ReadAndClose(const char* function, HKEY key, const char* name, LoadedValue& value) {
    const ZRErrors::ZRErrorT error = ZRRegistryC::ReadValue(key, name, &value.data, &value.type, &value.size);
    static_cast<void>(Check(function, "RegCloseKey", ::RegCloseKey(key))); // what was read stays read
    return error;
}

/// A copy of the caller's; null, logged, without memory.
char* NewText(std::string_view text) {
    char* const copy = new (std::nothrow) char[text.size() + 1];
    if (copy) {
        text.copy(copy, text.size());
        copy[text.size()] = '\0';
    } else {
        gaizior::LogError("CZRPrefs::Load( ostrstream& ): ", CodeText(FoldSystemError(ERROR_NOT_ENOUGH_MEMORY)));
    }
    return copy;
}

/// The shortest text that is read back as the same number, in every locale.
class DoubleText {
public:
    explicit DoubleText(double value) {
        *std::to_chars(m_text.data(), m_text.data() + m_text.size() - 1, value).ptr = '\0';
    }
    const char* Get() const {
        return m_text.data();
    }

private:
    std::array<char, 32> m_text;
};

/// The number that the whole text is, or else the default.
double ReadDouble(const char* text, double defaultValue) {
    const char* const end = text + std::strlen(text);
    double value = defaultValue;
    const auto [stopped, error] = std::from_chars(text, end, value);
    return error == std::errc() && stopped == end ? value : defaultValue;
}

using Text = std::unique_ptr<char, void (*)(char*)>;

} // namespace

const char* const CZRPrefs::m_pPathRoot = "Korvane Designs";

CZRPrefs::CZRPrefs(const char* part1, const char* part2, const char* part3)
    : m_pPart1(part1), m_pPart2(part2), m_pPart3(part3) {}

CZRPrefs::~CZRPrefs() = default;

ZRErrors::ZRErrorT CZRPrefs::GetProductKey(HKEY* key) {
    constexpr char kFunction[] = "CZRPrefs::GetProductKey(): ";
    if (!key || !m_pPart1) {
        return Fail(kFunction, ZRErrors::e_Arguments_Bad);
    }
    *key = nullptr;
    const std::string path = PathOf(m_pPart1);
    if (path.empty()) {
        return Fail(kFunction, gaizior::LastSystemError());
    }
    const ZRErrors::ZRErrorT error = OpenKey(HKEY_CURRENT_USER, path.c_str(), key, 0);
    return error == kMissing ? Fail(kFunction, error, "no key ", path, ": ", CodeText(error)) : error;
}

ZRErrors::ZRErrorT CZRPrefs::GetProductKey(HKEY* key, int user, int create) {
    constexpr char kFunction[] = "CZRPrefs::GetProductKey(): ";
    if (!m_pPart1 || !m_pPart2 || !m_pPart3) {
        return Fail(kFunction, ZRErrors::e_Arguments_Bad);
    }
    const std::string path = PathOf(m_pPart1, m_pPart2, m_pPart3);
    return path.empty() ? Fail(kFunction, gaizior::LastSystemError())
                        : OpenKey(user ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE, path.c_str(), key, create);
}

ZRErrors::ZRErrorT CZRPrefs::Save(const char* name, const unsigned char* data, unsigned long type, unsigned int size,
                                  int user) {
    constexpr char kFunction[] = "CZRPrefs::Save(): ";
    if (!name || !data) {
        return Fail(kFunction, ZRErrors::e_Arguments_Bad);
    }
    HKEY key = nullptr;
    if (const ZRErrors::ZRErrorT error = GetProductKey(&key, user, 1)) {
        return error;
    }
    const ZRErrors::ZRErrorT error =
        Check(kFunction, "RegSetValueEx", ::RegSetValueExA(key, name, 0, static_cast<DWORD>(type), data, size));
    const ZRErrors::ZRErrorT closeError = Check(kFunction, "RegCloseKey", ::RegCloseKey(key));
    return error ? error : closeError;
}

ZRErrors::ZRErrorT CZRPrefs::Load(const char* name, unsigned long* const value, int user) {
    HKEY key = nullptr;
    LoadedValue loaded;
    ZRErrors::ZRErrorT error = GetProductKey(&key, user, 0);
    if (!error) {
        error = ReadAndClose("CZRPrefs::Load( DWORD ): ", key, name, loaded);
    }
    DWORD number = 0;
    if (error || loaded.type != REG_DWORD || loaded.size != sizeof(number)) {
        return error ? error : kMissing;
    }
    std::memcpy(&number, loaded.data, sizeof(number));
    *value = number;
    return ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT CZRPrefs::Load(const char* name, std::ostrstream& text, int user) {
    HKEY key = nullptr;
    LoadedValue loaded;
    ZRErrors::ZRErrorT error = GetProductKey(&key, user, 0);
    if (!error) {
        error = ReadAndClose("CZRPrefs::Load( ostrstream& ): ", key, name, loaded);
    }
    if (error || loaded.type != REG_SZ) {
        return error ? error : kMissing;
    }
    text << reinterpret_cast<const char*>(loaded.data);
    return ZRErrors::e_General_NoError;
}

ZRErrors::ZRErrorT CZRPrefs::SaveAppParam(const char* name, unsigned long value) {
    return SaveNumber(name, value, kMachine);
}

ZRErrors::ZRErrorT CZRPrefs::SaveAppParam(const char* name, double value) {
    return SaveText(name, DoubleText(value).Get(), kMachine);
}

ZRErrors::ZRErrorT CZRPrefs::SaveAppParam(const char* name, const char* value) {
    return SaveText(name, value, kMachine);
}

unsigned long CZRPrefs::LoadAppParam(const char* name, unsigned long defaultValue) {
    return LoadUsrParam(name, defaultValue, 1);
}

double CZRPrefs::LoadAppParam(const char* name, double defaultValue) {
    return LoadUsrParam(name, defaultValue, 1);
}

char* CZRPrefs::LoadAppParam(const char* name, const char* defaultValue) {
    return LoadUsrParam(name, defaultValue, 1);
}

ZRErrors::ZRErrorT CZRPrefs::SaveUsrParam(const char* name, int value, int alsoMachine) {
    return SaveUsrParam(name, static_cast<unsigned long>(value), alsoMachine);
}

ZRErrors::ZRErrorT CZRPrefs::SaveUsrParam(const char* name, unsigned int value, int alsoMachine) {
    return SaveUsrParam(name, static_cast<unsigned long>(value), alsoMachine);
}

ZRErrors::ZRErrorT CZRPrefs::SaveUsrParam(const char* name, unsigned long value, int alsoMachine) {
    const ZRErrors::ZRErrorT error = SaveNumber(name, value, kUser);
    return error || !alsoMachine ? error : SaveNumber(name, value, kMachine);
}

ZRErrors::ZRErrorT CZRPrefs::SaveUsrParam(const char* name, double value, int alsoMachine) {
    return SaveUsrParam(name, DoubleText(value).Get(), alsoMachine);
}

ZRErrors::ZRErrorT CZRPrefs::SaveUsrParam(const char* name, const char* value, int alsoMachine) {
    const ZRErrors::ZRErrorT error = SaveText(name, value, kUser);
    return error || !alsoMachine ? error : SaveText(name, value, kMachine);
}

int CZRPrefs::LoadUsrParam(const char* name, int defaultValue, int fromMachine) {
    return LoadUsrParam(name, static_cast<unsigned long>(defaultValue), fromMachine) != 0;
}

unsigned int CZRPrefs::LoadUsrParam(const char* name, unsigned int defaultValue, int fromMachine) {
    return static_cast<unsigned int>(LoadUsrParam(name, static_cast<unsigned long>(defaultValue), fromMachine));
}

unsigned long CZRPrefs::LoadUsrParam(const char* name, unsigned long defaultValue, int fromMachine) {
    unsigned long value = defaultValue;
    return !Load(name, &value, fromMachine ? kMachine : kUser) ? value : defaultValue;
}

double CZRPrefs::LoadUsrParam(const char* name, double defaultValue, int fromMachine) {
    const Text text(LoadUsrParam(name, "", fromMachine), &FreeText);
    return text ? ReadDouble(text.get(), defaultValue) : defaultValue;
}

char* CZRPrefs::LoadUsrParam(const char* name, const char* defaultValue, int fromMachine) {
    std::ostrstream text;
    if (Load(name, text, fromMachine ? kMachine : kUser) || text.pcount() <= 0) {
        return NewText(defaultValue ? defaultValue : "");
    }
    char* const copy = NewText({text.str(), static_cast<std::size_t>(text.pcount())});
    text.freeze(false); // it frees its own
    return copy;
}

int CZRPrefs::bIsUsrSectionValid() {
    HKEY key = nullptr;
    return !GetProductKey(&key, kUser, 0) &&
           !Check("CZRPrefs::bIsUsrSectionValid(): ", "RegCloseKey", ::RegCloseKey(key));
}

void CZRPrefs::FreeText(char* text) {
    delete[] text;
}

ZRErrors::ZRErrorT CZRPrefs::SaveNumber(const char* name, unsigned long value, int user) {
    const auto number = static_cast<DWORD>(value);
    unsigned char data[sizeof(number)];
    std::memcpy(data, &number, sizeof(number));
    return Save(name, data, REG_DWORD, sizeof(number), user);
}

ZRErrors::ZRErrorT CZRPrefs::SaveText(const char* name, const char* value, int user) {
    const std::size_t size = value ? std::strlen(value) + 1 : 0;
    return Save(name, reinterpret_cast<const unsigned char*>(value), REG_SZ, static_cast<unsigned int>(size), user);
}
