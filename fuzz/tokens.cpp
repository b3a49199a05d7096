// Files of tokens: what is written to them is read back.

#include "gaizior/config/read_cfg.h"

#include "fuzz/scratch_file.h"

#include <array>
#include <cmath>
#include <cstdlib>

namespace {

void Expect(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchFile s_file("tokens");
    ZRReadCfgC cfg;
    Expect(cfg.OpenFileName(s_file.With(data, size)) == ZRErrors::e_General_NoError);
    std::array<double, 3> values{};
    for (const char* const token : {"gain", "1", "\n", "e"}) {
        for (int isContinued = 0; cfg.ReadToken(token, values.data(), 3, isContinued) != ZRErrors::e_File_EndOfFile;) {
            isContinued = 1;
        }
    }
    for (const double value : values) {
        Expect(std::isfinite(value));
    }
    for (const int isContinued : {1, 1, 0}) {
        Expect(cfg.WriteToken("gain", values.data(), 3, isContinued) == ZRErrors::e_General_NoError);
    }
    ZRReadCfgC copy(cfg);
    Expect(copy.ReadToken("gain", values.data(), 3, 0) == ZRErrors::e_General_NoError);
    return 0;
}
