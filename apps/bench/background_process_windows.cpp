#include "apps/bench/background_process.h"
#include "apps/support/file_error.h"
#include "gaizior/errors/folded_code.h"

namespace apps {
namespace {

using gaizior::UniqueHandle;

constexpr const char* kFunction = "StartInBackground(): ";

/// A file that a child inherits.
UniqueHandle OpenInherited(const char* path, DWORD access, DWORD creation) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return UniqueHandle(::CreateFileA(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, creation,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// What this program writes to must not stay open for as long as the other lives.
void KeepStreamsFromChildren() {
    for (const DWORD stream : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
        ::SetHandleInformation(::GetStdHandle(stream), HANDLE_FLAG_INHERIT, 0);
    }
}

} // namespace

Outcome StartInBackground(const std::string& path, const std::vector<std::string>& words, const std::string& errors,
                          BackgroundProcess& process) {
    std::string line = "\"" + path + "\"";
    for (const std::string& word : words) {
        line += " \"" + word + "\"";
    }
    const UniqueHandle nowhere = OpenInherited("NUL", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
    const UniqueHandle file =
        errors.empty() ? UniqueHandle() : OpenInherited(errors.c_str(), GENERIC_WRITE, CREATE_ALWAYS);
    if (!errors.empty() && !file) {
        const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
        return Fail(kFunction, code, Exit::kFailed, errors + ": cannot be written: " + FileErrorText(code, errors));
    }
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = nowhere.Get();
    startup.hStdOutput = nowhere.Get();
    startup.hStdError = file ? file.Get() : nowhere.Get();
    KeepStreamsFromChildren();
    PROCESS_INFORMATION information{};
    if (!::CreateProcessA(path.c_str(), line.data(), nullptr, nullptr, TRUE,
                          DETACHED_PROCESS | CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &startup, &information)) {
        const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
        return Fail(kFunction, code, Exit::kFailed,
                    path + ": the program cannot be started: " + FileErrorText(code, path) +
                        ": check that it is a program for this system");
    }
    ::CloseHandle(information.hThread);
    process.handle = UniqueHandle(information.hProcess);
    process.id = information.dwProcessId;
    return std::nullopt;
}

} // namespace apps
