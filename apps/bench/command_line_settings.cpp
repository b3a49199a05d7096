#include "apps/bench/command_line.h"

#include "apps/bench/commands.h"

namespace apps {
namespace {

constexpr const char* kIniExamples = R"(INI files, plain ones or encoded ones, as oemconfig.ini is.

Examples:
  bench ini list oemconfig.ini
  bench ini set oemconfig.ini mail recipients service@example.com
)";

constexpr const char* kGetIniExamples = R"(Examples:
  bench ini get oemconfig.ini manufacturer product
  bench ini get oemconfig.ini manufacturer product --json
)";

constexpr const char* kSetIniExamples = R"(Changes one line, or adds it; a file that is missing is made. An encoded
file stays encoded.

Examples:
  bench ini set oemconfig.ini manufacturer product "Plate 8"
)";

constexpr const char* kListIniExamples = R"(Examples:
  bench ini list oemconfig.ini
  bench ini list oemconfig.ini mail --json
)";

constexpr const char* kEncodeIniExamples = R"(Encoding conceals, it protects nothing: whoever has these programs can
decode the file.

Examples:
  bench ini encode plain.ini oemconfig.ini
                              brand the programs, once it lies beside them
)";

constexpr const char* kDecodeIniExamples = R"(Examples:
  bench ini decode oemconfig.ini
  bench ini decode oemconfig.ini plain.ini
)";

constexpr const char* kCfgExamples = R"(Files of tokens: a label, and the numbers behind it.

Examples:
  bench cfg get drum.cfg gain
  bench cfg set drum.cfg gain 1.25
)";

constexpr const char* kGetTokenExamples = R"(A token is found wherever its letters stand, also inside a longer word.

Examples:
  bench cfg get drum.cfg gain
  bench cfg get drum.cfg offset --count 3
  bench cfg get drum.cfg zone --occurrence 2 --json
)";

constexpr const char* kSetTokenExamples = R"(Replaces the rest of the line behind the token's first occurrence, or adds
a line at the end. Numbers have six significant digits. The other lines
stay as they are.

Examples:
  bench cfg set drum.cfg gain 1.25
  bench cfg set drum.cfg offset 0.1 -0.2 3e-4
)";

constexpr const char* kPrefsExamples = R"(What the programs remember, for each user and for the whole machine: on
Windows in the registry. What a user has not set, the machine tells.

Examples:
  bench prefs list            and where each value came from
  bench prefs set LogLevel 10
                              the imager's log tells more from its next
                              start on
)";

constexpr const char* kListPrefsExamples = R"(A line for each: its name, the level that it comes from, its value.

Examples:
  bench prefs list
  bench prefs list --machine
  bench prefs list --key Platesetter/Imager/201 --json
)";

constexpr const char* kGetPrefExamples = R"(The user's value, or else the machine's; --json tells which.

Examples:
  bench prefs get PlatesExposed
  bench prefs get LogLevel --machine
)";

constexpr const char* kSetPrefExamples = R"(Writes the user's level, or with --machine the machine's, for which the
system may want an administrator. A value keeps the type that it has;
LogLevel, HistoryLines and PlatesExposed are numbers always.

Examples:
  bench prefs set LogLevel 10
  bench prefs set HistoryLines 50000 --machine
  bench prefs set Owner "Press room 2" --type text
)";

void AddFile(CLI::App& command, std::string& file, const char* help) {
    command.add_option("FILE", file, help)->required()->type_name("");
}

void AddWord(CLI::App& command, const char* name, std::string& word, const char* help) {
    command.add_option(name, word, help)->required()->type_name("");
}

void AddIni(CommandLine& line) {
    constexpr const char* kSection = "The section's name";
    CLI::App& ini = line.AddGroup({"ini", "Read and change INI files, plain or encoded", kIniExamples});
    const auto [get, asked] = line.Add<GetIniOptions>(ini, {"get", "One value", kGetIniExamples}, GetIniCommand);
    AddFile(get, asked.file, "The file to read");
    AddWord(get, "SECTION", asked.section, kSection);
    AddWord(get, "KEY", asked.key, "The key's name");
    AddJson(get, asked.json);

    const auto [set, told] = line.Add<SetIniOptions>(ini, {"set", "Change a value", kSetIniExamples}, SetIniCommand);
    AddFile(set, told.file, "The file to change");
    AddWord(set, "SECTION", told.section, kSection);
    AddWord(set, "KEY", told.key, "The key's name");
    AddWord(set, "VALUE", told.value, "What it is to be");
    AddJson(set, told.json);

    const auto [list, listed] = line.Add<ListIniOptions>(ini, {"list", "All of it", kListIniExamples}, ListIniCommand);
    AddFile(list, listed.file, "The file to read");
    list.add_option("SECTION", listed.section, kSection)->type_name("");
    AddJson(list, listed.json);

    const auto [encode, plain] = line.Add<EncodeIniOptions>(
        ini, {"encode", "Make an encoded file of a plain one", kEncodeIniExamples}, EncodeIniCommand);
    AddFile(encode, plain.file, "The plain file");
    AddWord(encode, "TO", plain.to, "The encoded file");
    AddJson(encode, plain.json);

    const auto [decode, encoded] = line.Add<DecodeIniOptions>(
        ini, {"decode", "Show the text of an encoded file", kDecodeIniExamples}, DecodeIniCommand);
    AddFile(decode, encoded.file, "The encoded file");
    decode.add_option("TO", encoded.to, "Where to write it (default: standard output)")->type_name("");
    AddJson(decode, encoded.json);
}

void AddCfg(CommandLine& line) {
    CLI::App& cfg = line.AddGroup({"cfg", "Read and change a file of tokens and numbers", kCfgExamples});
    const auto [get, asked] =
        line.Add<GetTokenOptions>(cfg, {"get", "The numbers behind a token", kGetTokenExamples}, GetTokenCommand);
    AddFile(get, asked.file, "The file to read");
    AddWord(get, "TOKEN", asked.token, "The label");
    get.add_option("--count", asked.count, "So many numbers")
        ->check(Within(1, 10000))
        ->type_name("N")
        ->capture_default_str();
    get.add_option("--occurrence", asked.occurrence, "Where the label stands several times: which one")
        ->check(Within(1, 1000000))
        ->type_name("N")
        ->capture_default_str();
    AddJson(get, asked.json);

    const auto [set, told] =
        line.Add<SetTokenOptions>(cfg, {"set", "Change a token's numbers", kSetTokenExamples}, SetTokenCommand);
    AddFile(set, told.file, "The file to change");
    AddWord(set, "TOKEN", told.token, "The label");
    set.add_option("VALUES", told.values, "The numbers")->required()->type_name("");
    AddJson(set, told.json);
}

void AddKey(CLI::App& command, PrefsKey& key, const char* machine) {
    command.add_option("--key", key.path, "Whose they are")->type_name("KEY")->capture_default_str();
    command.add_flag("--machine", key.machine, machine);
}

void AddPrefs(CommandLine& line) {
    constexpr const char* kMachineAlone = "The machine's level alone";
    CLI::App& prefs = line.AddGroup({"prefs", "Read and change preferences", kPrefsExamples});
    const auto [list, listed] =
        line.Add<ListPrefsOptions>(prefs, {"list", "All of them", kListPrefsExamples}, ListPrefsCommand);
    AddKey(list, listed, kMachineAlone);
    AddJson(list, listed.json);

    const auto [get, asked] = line.Add<GetPrefOptions>(prefs, {"get", "One of them", kGetPrefExamples}, GetPrefCommand);
    AddWord(get, "NAME", asked.name, "Its name");
    AddKey(get, asked, kMachineAlone);
    AddJson(get, asked.json);

    const auto [set, told] = line.Add<SetPrefOptions>(prefs, {"set", "Change one", kSetPrefExamples}, SetPrefCommand);
    AddWord(set, "NAME", told.name, "Its name");
    AddWord(set, "VALUE", told.value, "What it is to be");
    set.add_option("--type", told.type, "number or text (default: what it was, or what VALUE looks like)")
        ->check(CLI::IsMember({"number", "text"}))
        ->type_name("TYPE");
    AddKey(set, told, "At the machine's level");
    AddJson(set, told.json);
}

} // namespace

void AddSettingsCommands(CommandLine& line) {
    AddIni(line);
    AddCfg(line);
    AddPrefs(line);
}

} // namespace apps
