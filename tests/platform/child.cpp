// The program that the process tests start. What it has to tell it writes to the file named by its second argument:
// each part ended by a NUL, the file complete as soon as it is there.
//   arguments FILE ...   its further arguments           surroundings FILE   current folder, GAIZIOR_TEST_VALUE
//   exit CODE            ends with that code             sleep               ends only when it is ended
//   hold FILE KIND NAME  a mutex, which it owns, an event, which it sets, or a section, until it is ended
//   leave FILE KIND NAME the same, but ends by itself and closes nothing
//   console FILE WHAT    waits for a console event       descriptors FILE    its open descriptors but the standard ones

#include "gaizior/platform/windows_api.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Parts = std::vector<std::string>;

void Tell(const std::string& file, const Parts& parts) {
    {
        std::ofstream out(file + ".part", std::ios::binary);
        for (const std::string& part : parts) {
            out << part << '\0';
        }
    }
    std::filesystem::rename(file + ".part", file);
}

Parts Surroundings() {
    const char* value = std::getenv("GAIZIOR_TEST_VALUE");
    return {std::filesystem::current_path().filename().string(), value ? value : "(none)"};
}

Parts Descriptors() {
    Parts numbers;
    std::error_code error; // the folder is one of Linux's
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        std::error_code gone; // the descriptor of this very listing
        const auto target = std::filesystem::read_symlink(entry, gone).string();
        if (std::stoi(entry.path().filename()) > 2 && !target.starts_with("/proc/")) {
            numbers.push_back(target);
        }
    }
    return numbers;
}

[[noreturn]] void SleepForEver() {
    for (;;) {
        ::Sleep(60'000);
    }
}

/// Takes a name into use.
void Hold(const std::string& file, std::string_view kind, const char* name) {
    if (kind == "mutex") {
        ::WaitForSingleObject(::CreateMutexA(nullptr, FALSE, name), INFINITE);
    } else if (kind == "event") {
        ::SetEvent(::CreateEventA(nullptr, TRUE, FALSE, name));
    } else {
        const HANDLE section = ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, name);
        std::strcpy(static_cast<char*>(::MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, 0)), "written by the child");
    }
    Tell(file, {});
}

BOOL EndWithEvent(DWORD event) {
    std::_Exit(static_cast<int>(40 + event));
}
BOOL Pass(DWORD) {
    return FALSE;
}
BOOL Take(DWORD) {
    return TRUE;
}

[[noreturn]] void WaitForConsoleEvent(const std::string& file, std::string_view what) {
    if (what == "asks the last first") {
        ::SetConsoleCtrlHandler(Take, TRUE);
        ::SetConsoleCtrlHandler(EndWithEvent, TRUE);
        ::SetConsoleCtrlHandler(Pass, TRUE);
    } else if (what == "nobody wants it") {
        ::SetConsoleCtrlHandler(Pass, TRUE);
    } else if (what == "removed") {
        ::SetConsoleCtrlHandler(EndWithEvent, TRUE);
        ::SetConsoleCtrlHandler(EndWithEvent, FALSE);
    } else if (what == "ignored") {
        ::SetConsoleCtrlHandler(EndWithEvent, TRUE);
        ::SetConsoleCtrlHandler(nullptr, TRUE);
    }
    Tell(file, {});
    SleepForEver();
}

} // namespace

int main(int count, char** arguments) {
    const Parts words(arguments, arguments + count);
    const std::string task = count > 1 ? words[1] : "";
    if (task == "arguments" && count > 2) {
        Tell(words[2], Parts(words.begin() + 3, words.end()));
    } else if (task == "surroundings" && count == 3) {
        Tell(words[2], Surroundings());
    } else if (task == "descriptors" && count == 3) {
        Tell(words[2], Descriptors());
    } else if (task == "exit" && count == 3) {
        return std::stoi(words[2]);
    } else if ((task == "hold" || task == "leave") && count == 5) {
        Hold(words[2], words[3], words[4].c_str());
        if (task == "hold") {
            SleepForEver();
        }
    } else if (task == "sleep") {
        SleepForEver();
    } else if (task == "console" && count == 4) {
        WaitForConsoleEvent(words[2], words[3]);
    } else {
        return 99;
    }
    return 0;
}
