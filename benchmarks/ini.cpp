#include "benchmarks/compare.h"
#include "benchmarks/shared_folder.h"
#include "benchmarks/subjects.h"
#include "gaizior/config/ini_file.h"

#include <array>
#include <chrono>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

#include <ini.h>

namespace benchmarks {
namespace {

constexpr int kKeys = 200;
constexpr int kKeysOfASection = 20;
constexpr const char* kSection = "section 9";
constexpr const char* kKey = "key 195";
constexpr std::size_t kReadsAtOnce = 100; // take less than the time for which a changed file is not trusted

void WriteFile(const std::string& path) {
    std::ofstream file(path);
    for (int key = 0; key < kKeys; ++key) {
        if (key % kKeysOfASection == 0) {
            file << "[section " << key / kKeysOfASection << "]\n";
        }
        file << "key " << key << " = value of " << key << '\n';
    }
}

int TakeValue(void* value, const char* section, const char* name, const char* text) {
    if (std::string_view(section) == kSection && std::string_view(name) == kKey) {
        static_cast<std::string*>(value)->assign(text);
    }
    return 1;
}

} // namespace

void Ini() {
    const SharedFolder folder;
    const std::string path = folder.Path() + "/settings.ini";
    const auto change = [&] { WriteFile(path); };
    std::array<char, 64> buffer;
    const auto read = [&] {
        ::GetPrivateProfileStringA(kSection, kKey, "", buffer.data(), buffer.size(), path.c_str());
        Keep(buffer);
    };
    std::string value;
    const auto parse = [&] {
        ::ini_parse(path.c_str(), &TakeValue, &value);
        Keep(value);
    };
    Batch ours = Repeat(read, change);
    Batch theirs = Repeat(parse, change);
    ours.largest = theirs.largest = kReadsAtOnce;
    Compare("a value near the end of 200 in an INI file, just changed", ours,
            {{"inih, ini_parse of the file", theirs, 0.25}});
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    Compare("a value near the end of 200 in an INI file, untouched since", Repeat(read),
            {{"inih, ini_parse of the file", Repeat(parse), 0.05}});
    Compare("the same by an object for each", Repeat([&] {
                CString text;
                ZRIniFileC(path.c_str(), 0).Read(kSection, kKey, nullptr, text);
                Keep(text);
            }),
            {{"inih, ini_parse of the file", Repeat(parse), 0.05}});
}

} // namespace benchmarks
