// Feeds a fuzzer's entry point with bytes at random and with seeds that were changed a little, the same on every run:
//     DRIVER FIRST LAST FILE...    the inputs of those numbers, made from the files
// The number of an input is the seed of what is random about it, so a failure is repeated by its number alone.

#include "tests/support/watchdog.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#ifdef GAIZIOR_SANITIZED
#include <sanitizer/common_interface_defs.h>
#endif

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

unsigned long g_input = 0;

void TellInput() {
    std::fprintf(stderr, "FAILED: input and seed %lu; it is repeated with this number as the first and the last\n",
                 g_input);
}

void OnSignal(int signal) {
    TellInput();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

std::string AtRandom(std::mt19937& random, std::size_t longest) {
    std::string bytes(random() % (longest + 1), '\0');
    std::ranges::generate(bytes, [&] { return static_cast<char>(random()); });
    return bytes;
}

std::string Changed(std::string text, std::mt19937& random) {
    using namespace std::string_view_literals;
    constexpr std::string_view kTelling = "\0;<>=\"&#/-+09x \t\r\n[]\xFE\xFF"sv; // what readers look for
    for (auto changes = random() % 8 + 1; changes > 0; --changes) {
        const std::size_t at = random() % (text.size() + 1);
        const std::size_t from = random() % (text.size() + 1);
        const auto kind = random() % 4;
        if (kind == 0) {
            text.erase(at, random() % 16);
        } else if (kind == 1) {
            text.insert(at, text.substr(from, random() % 64));
        } else if (kind == 2) {
            text.insert(at, AtRandom(random, 8));
        } else {
            text.replace(at, 1, 1, kTelling[random() % kTelling.size()]);
        }
    }
    return text;
}

} // namespace

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    std::signal(SIGABRT, &OnSignal);
#ifdef GAIZIOR_SANITIZED
    __sanitizer_set_death_callback(&TellInput); // its own handlers stay
#else
    std::signal(SIGSEGV, &OnSignal);
#endif
    const gaizior::test::Watchdog watchdog(std::chrono::seconds(300));
    std::vector<std::string> seeds;
    for (int i = 3; i < argc; ++i) {
        std::ostringstream seed;
        if (!(seed << std::ifstream(argv[i], std::ios::binary).rdbuf())) {
            std::fprintf(stderr, "FAILED: cannot read %s\n", argv[i]);
            return 2;
        }
        seeds.push_back(seed.str());
    }
    const unsigned long last = std::strtoul(argv[2], nullptr, 10);
    for (g_input = std::strtoul(argv[1], nullptr, 10); g_input <= last; ++g_input) {
        std::mt19937 random(static_cast<std::mt19937::result_type>(g_input));
        const auto seed = random() % (2 * seeds.size());
        const std::string input = seed < seeds.size() ? Changed(seeds[seed], random) : AtRandom(random, 600);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    }
}
