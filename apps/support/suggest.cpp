#include "apps/support/suggest.h"

#include "gaizior/values/ascii.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace apps {
namespace {

using gaizior::ToLowerAscii;

/// How many letters must be changed, added, left out or swapped with their neighbour to make one word the other.
std::size_t Distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> beforeLast(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = ToLowerAscii(a[i - 1]) == ToLowerAscii(b[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && ToLowerAscii(a[i - 1]) == ToLowerAscii(b[j - 2]) &&
                ToLowerAscii(a[i - 2]) == ToLowerAscii(b[j - 1])) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
        std::swap(beforeLast, last);
        std::swap(last, row);
    }
    return last[b.size()];
}

} // namespace

std::string Nearest(std::string_view word, std::span<const std::string> candidates) {
    constexpr std::size_t kLongestWord = 80;
    std::string_view nearest;
    std::size_t least = std::max<std::size_t>(word.size() / 3, 1) + 1;
    for (const std::string& candidate : candidates) {
        const std::size_t distance = word.size() <= kLongestWord ? Distance(word, candidate) : least;
        if (distance < least) {
            least = distance;
            nearest = candidate;
        }
    }
    return std::string(nearest);
}

std::string Suggestion(std::string_view word, std::span<const std::string> candidates) {
    const std::string nearest = Nearest(word, candidates);
    return nearest.empty() ? "" : " (did you mean '" + nearest + "'?)";
}

} // namespace apps
