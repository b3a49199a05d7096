#include "apps/bench/failure_output.h"

#include "apps/bench/output.h"

#include <cstdio>

namespace apps {
namespace {

std::string AsJson(const Failure& failure) {
    JsonObject error;
    error.Number("code", failure.code).TextOrNull("name", ErrorName(failure.code)).Text("text", failure.text);
    error.Number("exit", static_cast<int>(failure.exit));
    return JsonObject().Value("error", error.Json()).Json();
}

} // namespace

int PrintFailure(const Failure& failure, bool json) {
    if (json) {
        std::printf("%s\n", AsJson(failure).c_str());
    }
    std::fflush(stdout); // where both streams go to one file
    std::fprintf(stderr, "%s %s\n", Painted(Stream::kError, Colour::kBad, "bench:").c_str(),
                 Printable(failure.text).c_str());
    return static_cast<int>(failure.exit);
}

} // namespace apps
