#include "apps/job/pace.h"

namespace apps {

double ExposeSeconds(const Job& job) {
    constexpr double kMirrorRevolutionsPerSecond = 900; // 54,000 a minute, one line each
    return CountLines(job) / kMirrorRevolutionsPerSecond;
}

double PlateSeconds(const Job& job) {
    return kLoadSeconds + ExposeSeconds(job) + kUnloadSeconds;
}

} // namespace apps
