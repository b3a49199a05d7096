/// file_version FILE...: what Windows tells about each, as "ORIGINAL NAME, PRODUCT VERSION".

#include <windows.h>

#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        std::vector<char> version(::GetFileVersionInfoSizeA(argv[i], nullptr));
        void* numbers = nullptr;
        void* name = nullptr;
        UINT size = 0;
        if (!::GetFileVersionInfoA(argv[i], 0, static_cast<DWORD>(version.size()), version.data()) ||
            !::VerQueryValueA(version.data(), "\\", &numbers, &size) ||
            !::VerQueryValueA(version.data(), "\\StringFileInfo\\040904B0\\OriginalFilename", &name, &size)) {
            return 1;
        }
        const auto* const fixed = static_cast<const VS_FIXEDFILEINFO*>(numbers);
        std::printf("%s, %d.%d.%d\n", static_cast<const char*>(name), HIWORD(fixed->dwProductVersionMS),
                    LOWORD(fixed->dwProductVersionMS), HIWORD(fixed->dwProductVersionLS));
    }
}
