#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/bench/plate_output.h"
#include "apps/job/plate_file.h"

#include <algorithm>
#include <cstdio>

namespace apps {
namespace {

/// Prints the text in lines of at most `columns` characters, which end behind commas.
void PrintWrapped(std::string_view text, std::size_t columns) {
    constexpr std::string_view kIndent = "    ";
    std::string line;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(", "), text.size() - 1) + 1;
        const std::string_view field = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!line.empty() && line.size() + 1 + field.size() > columns) {
            std::printf("%s\n", Shortened(line, columns).c_str());
            line = kIndent;
        } else if (!line.empty()) {
            line += ' ';
        }
        line += field;
    }
    std::printf("%s\n", Shortened(line, columns).c_str());
}

} // namespace

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
    const std::size_t columns = OutputColumns();
    for (const Plate& plate : plates) {
        PrintWrapped(ScreenText(plate), columns);
    }
    return std::nullopt;
}

} // namespace apps
