// What bench reads from logs, from the names of their files, and from people who tell it times.

#include "apps/log/log_line.h"

#include <cstdlib>
#include <limits>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    const long long now = 1793512800000;
    apps::ReadMoment(text, now);
    apps::LineClock clock(apps::DayAt(now), apps::NameOfLog(text).weekday.has_value());
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const std::size_t length = line.size();
        const auto tag = apps::TakeTag(line);
        if (tag ? line.size() + 12 > length || tag->time < 0 || tag->time >= 24 * apps::kHour : line.size() != length) {
            std::abort();
        }
        if (tag && clock.MomentOf(*tag) < 0) {
            std::abort();
        }
        if (const auto day = apps::CreationDay(line)) {
            clock.SetDay(*day);
        }
        apps::NameOfLog(apps::NextDaysFile(line));
    }
    return 0;
}
