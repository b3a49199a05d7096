#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/bench/plate_output.h"
#include "apps/job/plate_file.h"

#include <cstdio>

namespace apps {

Outcome PlatesCommand(const PlatesOptions& options) {
    std::vector<Plate> plates;
    if (Outcome failure = ReadPlateFile(options.plateFile, plates)) {
        return failure;
    }
    if (options.json) {
        JsonArray array;
        for (const Plate& plate : plates) {
            array.Add(PlateJson(plate));
        }
        std::printf("%s\n", JsonObject().Text("file", options.plateFile).Value("plates", array.Json()).Json().c_str());
        return std::nullopt;
    }
    constexpr std::size_t kIndent = 4;
    const std::size_t columns = OutputColumns();
    for (const Plate& plate : plates) {
        std::printf("%s", Wrapped("", ScreenText(plate), ", ", kIndent, columns).c_str());
    }
    return std::nullopt;
}

} // namespace apps
