#include "apps/bench/imager_program.h"

#include "apps/support/places.h"

#include <array>
#include <cstdio>
#include <filesystem>

namespace apps {
namespace {

/// The imager in bench's own folder, with the ending that programs have on this system.
std::filesystem::path BesideBench() {
    std::filesystem::path own = ProgramPath();
    return own.replace_filename("imager" + own.extension().string());
}

} // namespace

Outcome FindImager(const std::string& named, std::string& path) {
    std::error_code error;
    const std::filesystem::path whole = named.empty() ? BesideBench() : std::filesystem::absolute(named, error);
    path = error ? named : whole.string(); // without a current folder there is no whole one
    if (!std::filesystem::is_regular_file(path, error)) {
        return Fail("FindImager(): ", kNameNotFound, Exit::kNotFound,
                    path + ": there is no imager: install gaizior again, or name the imager with --imager PATH");
    }
    return std::nullopt;
}

std::string SpeedWord(double speed) {
    std::array<char, 64> word{};
    std::snprintf(word.data(), word.size(), "%g", speed);
    return word.data();
}

} // namespace apps
