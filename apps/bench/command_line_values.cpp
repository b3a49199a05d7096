#include "apps/bench/command_line.h"

#include "apps/bench/commands.h"

namespace apps {
namespace {

constexpr const char* kErrorExamples = R"(Tells the text of a code, what it concerns and, where one is known, the
next step. Of several codes each is explained. Other words are searched
for: every code is listed that has them all in its text or its name.

Examples:
  bench error 57              a decimal code
  bench error 0x822F          a hexadecimal one; 822F is enough
  bench error e_Phs_NoPlate   an enumerator
  bench error 0xA314 0x9510   several
  bench error 0x20000005      a folded operating-system error
  bench error 0x60000002      a folded errno
  bench error plate wide      every code with these words in its text
)";

constexpr const char* kConvertExamples = R"(A length becomes the nearest count of pixels or lines, and what these
measure; a count becomes its length. Units: mm, m, px, lines.

Examples:
  bench convert 25.4mm --dpi 2400
  bench convert 2400px --dpi 2400
  bench convert 0.58 m --dpi 1270 --json
)";

constexpr const char* kGuidExamples = R"(Examples:
  bench guid new              a new one
  bench guid check 0c1d5b1e-8d4c-4f7e-9a51-6b1f0a3c2d77
                              is it one, and how the system writes it
)";

constexpr const char* kNewGuidExamples = R"(Examples:
  bench guid new
  bench guid new --json
)";

constexpr const char* kCheckGuidExamples = R"(Braces may be there or not. A text that is no GUID ends with exit code 1.

Examples:
  bench guid check "{0C1D5B1E-8D4C-4F7E-9A51-6B1F0A3C2D77}"
  bench guid check 0c1d5b1e-8d4c-4f7e-9a51-6b1f0a3c2d77 --json
)";

void AddError(CommandLine& line) {
    const auto [command, options] = line.Add<ErrorOptions>(
        line.app, {"error", "Explain an error code, or find one by its words", kErrorExamples}, ErrorCommand);
    command.add_option("CODE|NAME|WORDS", options.words, "A code, an enumerator, or words of the text")
        ->required()
        ->type_name("");
    AddJson(command, options.json);
}

void AddConvert(CommandLine& line) {
    const auto [command, options] = line.Add<ConvertOptions>(
        line.app, {"convert", "Turn a length into pixels or lines, and back", kConvertExamples}, ConvertCommand);
    command.add_option("LENGTH|COUNT", options.words, "What to convert, with its unit: mm, m, px, lines")
        ->required()
        ->type_name("");
    command.add_option("--dpi", options.dpi, "The resolution, in dots per inch")
        ->required()
        ->check(Within(1.0, 100000.0))
        ->type_name("N");
    AddJson(command, options.json);
}

void AddNewGuid(CommandLine& line, CLI::App& guid) {
    const auto [command, options] =
        line.Add<NewGuidOptions>(guid, {"new", "Make a new GUID", kNewGuidExamples}, NewGuidCommand);
    AddJson(command, options.json);
}

void AddCheckGuid(CommandLine& line, CLI::App& guid) {
    const auto [command, options] =
        line.Add<CheckGuidOptions>(guid, {"check", "Is a text a GUID", kCheckGuidExamples}, CheckGuidCommand);
    command.add_option("TEXT", options.text, "The text")->required()->type_name("");
    AddJson(command, options.json);
}

} // namespace

void AddValueCommands(CommandLine& line) {
    AddError(line);
    AddConvert(line);
    CLI::App& guid = line.AddGroup({"guid", "Make a GUID, or check one", kGuidExamples});
    AddNewGuid(line, guid);
    AddCheckGuid(line, guid);
}

} // namespace apps
