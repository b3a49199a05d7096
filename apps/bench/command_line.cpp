#include "apps/bench/command_line.h"

#include "apps/support/suggest.h"
#include "apps/support/version.h"

#include <algorithm>
#include <vector>

namespace apps {
namespace {

constexpr const char* kExitCodes = R"(
Exit codes: 0 done, 1 failed or interrupted, 2 wrong command line, job
            file or plate file, 3 not found, 4 time-out
Anywhere:   --verbose tells every step, the channel's lines and the
            error stack. Colour is for terminals only, and not where
            NO_COLOR is set.)";

constexpr const char* kBenchExamples = R"(Examples:
  bench image samples/newspaper.job --speed 10
  bench plates samples/pressroom.plates
  bench imager threads
  bench error 0x822F
  bench convert 25.4mm --dpi 2400
  bench guid new
  bench channel status
'bench COMMAND --help' tells more about each.
)";

std::vector<std::string> SubcommandsOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) {
        names.push_back(command->get_name());
    }
    return names;
}

/// How far the parser came, and why it went no further.
struct Stumble {
    std::string path; ///< "bench channel send"
    std::string text; ///< empty when every word is known
};

/// Finds the word that the parser stumbled over: no command of its level, or no option of its level or any above.
Stumble FindUnknownWord(const CLI::App& top, int argc, char** argv) {
    const CLI::App* level = &top;
    Stumble stumble{top.get_name(), {}};
    std::vector<std::string> options = {"--help", "--verbose", "--version"};
    for (int i = 1; i < argc && stumble.text.empty(); ++i) {
        const std::string word = argv[i];
        const std::vector<std::string> commands = SubcommandsOf(*level);
        if (word.starts_with("-")) {
            const std::string name = word.substr(0, word.find('='));
            if (name != "-h" && std::ranges::find(options, name) == options.end()) {
                stumble.text = "there is no option '" + name + "'" + Suggestion(name, options);
            }
        } else if (!commands.empty() && std::ranges::find(commands, word) == commands.end()) {
            stumble.text = "there is no command '" + word + "'" + Suggestion(word, commands);
        } else if (!commands.empty()) {
            level = level->get_subcommand(word);
            stumble.path += " " + word;
            for (const CLI::Option* option : level->get_options()) {
                options.push_back(option->get_name());
            }
        }
    }
    return stumble;
}

} // namespace

CommandLine::CommandLine() {
    app.fallthrough();
    app.allow_windows_style_options(false); // else a path such as /home/page.job would be taken for an option
    app.require_subcommand(1);
    app.footer(std::string(kBenchExamples) + kExitCodes);
    app.add_flag("--verbose", verbose, "Tell every step and the error stack on standard error");
    app.set_version_flag("--version", VersionText("bench"), "Print the version and exit");
    AddJobCommands(*this);
    AddValueCommands(*this);
    AddChannelCommands(*this);
}

CLI::App& CommandLine::AddNamed(CLI::App& parent, const Help& help) {
    return *parent.add_subcommand(help.name, help.summary)->footer(std::string(help.examples) + kExitCodes);
}

CLI::App& CommandLine::AddGroup(const Help& help) {
    CLI::App& group = AddNamed(app, help);
    group.require_subcommand(1);
    return group;
}

void AddId(CLI::App& app, std::uint16_t& id, const char* help, int most) {
    app.add_option("--id", id, help)->check(Within(1, most))->type_name("ID")->capture_default_str();
}

void AddSeconds(CLI::App& app, const char* name, double& seconds, const char* help) {
    app.add_option(name, seconds, help)->check(Within(0.0, 86400.0))->type_name("SECONDS")->capture_default_str();
}

void AddTimeout(CLI::App& app, double& seconds, const char* help) {
    app.add_option("--timeout", seconds, help)
        ->check(Within(0.1, 86400.0))
        ->type_name("SECONDS")
        ->capture_default_str();
}

void AddJson(CLI::App& app, bool& json) {
    app.add_flag("--json", json, "Write JSON for programs");
}

std::string ExplainUsage(const CLI::App& app, const CLI::ParseError& error, int argc, char** argv) {
    Stumble stumble = FindUnknownWord(app, argc, argv);
    if (stumble.text.empty()) {
        stumble.text = error.what();
        std::ranges::replace(stumble.text, '\n', ' ');
    }
    return stumble.text + ": see '" + stumble.path + " --help'";
}

} // namespace apps
