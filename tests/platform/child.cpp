// The program that the process tests start. Its first word says what to do; what it has to tell it writes to the file
// that the second names, each part ended by a bar, the file complete as soon as it is there.
//   arguments FILE ...   its further arguments     surroundings FILE   what it inherited
//   console FILE WHAT    handles console events    hold FILE KIND NAME a mutex, which it owns, an event, which it sets,
//                                                                      or a section
//                                            leave FILE KIND NAME     the same, but ends by itself and closes nothing
//   settings FILE PREFIX  writes eight settings to the file itself, keys with that beginning

#include "gaizior/platform/windows_api.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Parts = std::vector<std::string>;

void Tell(const std::string& file, const Parts& parts) {
    std::ofstream out(file + ".part", std::ios::binary);
    for (const std::string& part : parts) {
        out << part << '|';
    }
    out.close();
    fs::rename(file + ".part", file);
}

/// The current folder, a variable, and on Linux the number of open descriptors (one of which reads them).
Parts Surroundings() {
    const char* value = std::getenv("GAIZIOR_TEST_VALUE");
#ifdef _WIN32
    const int descriptors = 0; // Wine shows those of its own there, which come and go
#else
    const auto descriptors = std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
#endif
    return {fs::current_path().filename().string(), value ? value : "", std::to_string(descriptors)};
}

BOOL Exit(DWORD event) {
    std::_Exit(static_cast<int>(40 + event));
}
BOOL Pass(DWORD) {
    return FALSE;
}

void HandleConsoleEvents(const std::string& what) {
    ::SetConsoleCtrlHandler(what == "pass" ? Pass : Exit, TRUE);
    if (what == "ask") {
        ::SetConsoleCtrlHandler(Pass, TRUE);
    } else if (what == "remove") {
        ::SetConsoleCtrlHandler(Exit, FALSE);
    } else if (what == "ignore") {
        ::SetConsoleCtrlHandler(nullptr, TRUE);
    }
}

/// Keeps a name in use.
void Hold(const std::string& kind, const char* name) {
    if (kind == "mutex") {
        ::WaitForSingleObject(::CreateMutexA(nullptr, FALSE, name), INFINITE);
    } else if (kind == "event") {
        ::SetEvent(::CreateEventA(nullptr, TRUE, FALSE, name));
    } else {
        const HANDLE section = ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, name);
        std::strcpy(static_cast<char*>(::MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, 0)), "written by the child");
    }
}

} // namespace

int main(int count, char** arguments) {
    const Parts words(arguments, arguments + count);
    if (words.at(1) == "arguments") {
        Tell(words.at(2), Parts(words.begin() + 3, words.end()));
    } else if (words.at(1) == "surroundings") {
        Tell(words.at(2), Surroundings());
    } else if (words.at(1) == "settings") {
        for (const char number : std::string("01234567")) {
            const std::string key = words.at(3) + number;
            if (!::WritePrivateProfileStringA("s", key.c_str(), key.c_str(), words.at(2).c_str())) {
                return static_cast<int>(::GetLastError());
            }
        }
    } else {
        words.at(1) == "console" ? HandleConsoleEvents(words.at(3)) : Hold(words.at(3), arguments[4]);
        ::Sleep(1); // GCC's thread sanitizer loses a signal that comes while it prepares a thread's first blocking call
        Tell(words.at(2), {});
        ::Sleep(words.at(1) == "leave" ? 0 : INFINITE);
    }
    return 0;
}
