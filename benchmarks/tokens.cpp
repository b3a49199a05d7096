// Tokens with their numbers beside the words of a stream.

#include "gaizior/config/read_cfg.h"

#include "benchmarks/compare.h"
#include "benchmarks/scratch_folder.h"
#include "benchmarks/subjects.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace benchmarks {
namespace {

constexpr int kTokens = 1000;

void Insist(bool isTrue) {
    if (!isTrue) {
        throw std::runtime_error("a token was not read");
    }
}

} // namespace

void Tokens() {
    const ScratchFolder folder;
    const std::string path = folder.Path() + "/tokens.cfg";
    std::vector<std::string> names;
    std::ostringstream lines;
    for (int i = 0; i < kTokens; ++i) {
        names.push_back("laserPower" + std::to_string(i));
        lines << names.back() << "\t " << i * 1.5 << '\n';
    }
    const std::string text = lines.str();
    std::ofstream(path) << text;
    ZRReadCfgC cfg;
    Insist(cfg.OpenFileName(path.c_str()) == ZRErrors::e_General_NoError);
    double value = 0;
    Compare("1,000 tokens with their values, in order", Repeat([&] {
                int isContinued = 0;
                for (const std::string& name : names) {
                    Insist(cfg.ReadToken(name.c_str(), &value, 1, isContinued) == ZRErrors::e_General_NoError);
                    isContinued = 1;
                    Keep(value);
                }
            }),
            {{"std::istringstream, the same words", Repeat([&] {
                  std::istringstream stream(text);
                  std::string word;
                  for (int i = 0; i < kTokens; ++i) {
                      Insist(static_cast<bool>(stream >> word >> value));
                      Keep(value);
                  }
              }),
              0.2}});
}

} // namespace benchmarks
