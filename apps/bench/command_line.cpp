#include "apps/bench/command_line.h"

#include "apps/support/suggest.h"
#include "apps/support/version.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <map>
#include <utility>

namespace apps {
namespace {

constexpr const char* kExitCodes = R"(
Exit codes: 0 done, 1 failed or interrupted, 2 wrong command line, job
            file or plate file, 3 not found, 4 time-out
Anywhere:   --verbose tells every step, the channel's lines and the
            error stack. Colour is for terminals only, and not where
            NO_COLOR is set.)";

constexpr const char* kBenchExamples = R"(Examples:
  bench image page.job --dry-run
  bench plates pressroom.plates
  bench imager threads
  bench error 0x822F
  bench convert 25.4mm --dpi 2400
  bench guid new
  bench history list
  bench prefs list
  bench channel status
  bench watch
  bench log --since "10 min ago"
'bench help COMMAND' tells more about each.
)";

/// What a machine that stands still asks first.
constexpr const char* kFirstAid = R"(
  it hangs         bench channel doctor
  what happened    bench log --since "10 min ago"
  what a code is   bench error 0x822F

'bench help' tells more of each command, 'bench help COMMAND' all of one.
)";

constexpr const char* kHelpExamples = R"(Examples:
  bench help
  bench help channel send
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
    const CLI::App* level;
    std::string path; ///< "bench channel send"
    std::string text; ///< empty when every word is known
};

/// A word such as "-1" is a value.
bool IsOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && std::isdigit(static_cast<unsigned char>(word[1])) == 0 &&
           word[1] != '.';
}

/// The options that may stand behind a command, its own and those of the commands before it, by their names.
using Options = std::map<std::string, const CLI::Option*>;
void AddOptions(Options& options, const CLI::App& level) {
    for (const CLI::Option* option : level.get_options()) {
        options.emplace(option->get_name(), option);
    }
}

/// Looks at an option of which the parser knows nothing or that has its value in the next word.
/// @returns whether the next word is its value.
bool ExamineOption(const std::string& word, const Options& options, Stumble& stumble) {
    const std::string name = word.substr(0, word.find('='));
    const auto option = options.find(name);
    if (option != options.end()) {
        return name == word && option->second->get_items_expected_max() > 0;
    }
    if (name != "-h") {
        std::vector<std::string> names;
        std::ranges::transform(options, std::back_inserter(names), [](const auto& entry) { return entry.first; });
        stumble.text = "there is no option '" + name + "'" + Suggestion(name, names);
    }
    return false;
}

/// Finds the word that the parser stumbled over: no command of its level, or no option of its level or any above.
Stumble FindUnknownWord(const CLI::App& top, const std::vector<std::string>& words) {
    Stumble stumble{&top, top.get_name(), {}};
    Options options;
    AddOptions(options, top);
    bool isValue = false; // of the option before it
    for (const std::string& word : words) {
        if (word == "--" || !stumble.text.empty()) {
            break;
        }
        const std::vector<std::string> commands = SubcommandsOf(*stumble.level);
        if (std::exchange(isValue, false)) {
            continue;
        }
        if (IsOption(word)) {
            isValue = ExamineOption(word, options, stumble);
        } else if (!commands.empty() && std::ranges::find(commands, word) == commands.end()) {
            stumble.text = "there is no command '" + word + "'" + Suggestion(word, commands);
        } else if (!commands.empty()) {
            stumble.level = stumble.level->get_subcommand(word);
            stumble.path += " " + word;
            AddOptions(options, *stumble.level);
        }
    }
    return stumble;
}

/// "send, status".
std::string Listed(const std::vector<std::string>& words) {
    std::string list;
    for (const std::string& word : words) {
        list += (list.empty() ? "" : ", ") + word;
    }
    return list;
}

Failure UsageFailure(const Stumble& stumble, const std::string& text) {
    return {kInvalidParameter, Exit::kUsage, text + ": see '" + stumble.path + " --help'"};
}

/// What is wrong with the command line, in one line.
Failure ExplainUsage(const CLI::App& app, const CLI::ParseError& error, const std::vector<std::string>& words) {
    const Stumble stumble = FindUnknownWord(app, words);
    const std::vector<std::string> commands = SubcommandsOf(*stumble.level);
    std::string text = stumble.text;
    if (text.empty() && !commands.empty()) {
        text = "'" + stumble.path + "' needs a command, one of " + Listed(commands);
    } else if (text.empty()) {
        text = error.what();
        std::ranges::replace(text, '\n', ' ');
    }
    return UsageFailure(stumble, text);
}

Outcome Print(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    return std::nullopt;
}

struct HelpOptions {
    std::vector<std::string> words;
};

/// Finds a word behind a command that has no commands of its own.
Outcome RefuseSurplusWord(const CLI::App& top, const std::vector<std::string>& words) {
    Stumble stumble{&top, top.get_name(), {}};
    for (const std::string& word : words) {
        const std::vector<std::string> commands = SubcommandsOf(*stumble.level);
        if (commands.empty()) {
            return UsageFailure(stumble, "there is no command '" + word + "' behind '" + stumble.path + "'");
        }
        if (std::ranges::find(commands, word) == commands.end()) {
            break; // the parser tells of it
        }
        stumble.level = stumble.level->get_subcommand(word);
        stumble.path += " " + word;
    }
    return std::nullopt;
}

/// As the words with --help behind them.
Outcome HelpCommand(const HelpOptions& options, const Interrupt& interrupt) {
    CommandLine line;
    if (Outcome failure = RefuseSurplusWord(line.app, options.words)) {
        return failure;
    }
    std::vector<std::string> words = options.words;
    words.emplace_back("--help");
    Outcome failure = line.Parse(words);
    return failure ? failure : line.run(interrupt);
}

} // namespace

CommandLine::CommandLine() {
    app.fallthrough();
    app.allow_windows_style_options(false); // else a path such as /home/page.job would be taken for an option
    app.require_subcommand(1);
    app.footer(std::string(kBenchExamples) + kExitCodes);
    app.add_flag("--verbose", verbose, "Tell every step and the error stack on standard error");
    app.set_version_flag("--version", VersionText("bench"), "Print the version and exit");
    AddFamily("jobs and plates", AddJobCommands);
    AddFamily("values", AddValueCommands);
    AddFamily("settings", AddSettingsCommands);
    AddFamily("channel", AddChannelCommands);
    AddFamily("records", AddRecordCommands);
    AddHelp();
}

Outcome CommandLine::Parse(const std::vector<std::string>& words) {
    std::vector<std::string> reversed(words.rbegin(), words.rend()); // as the parser wants them
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        if (const Stumble stumble = FindUnknownWord(app, words); !stumble.text.empty()) {
            return UsageFailure(stumble, stumble.text);
        }
        run = [text = app.help()](const Interrupt&) { return Print(text); };
    } catch (const CLI::CallForVersion& version) {
        run = [text = std::string(version.what())](const Interrupt&) { return Print(text + "\n"); };
    } catch (const CLI::ParseError& error) {
        return ExplainUsage(app, error, words);
    }
    return std::nullopt;
}

std::string CommandLine::Brief() const {
    return app.get_description() + ": bench COMMAND\n\n" + m_families + kFirstAid;
}

void CommandLine::AddFamily(const char* name, void (*add)(CommandLine&)) {
    const std::size_t before = SubcommandsOf(app).size();
    add(*this);
    std::vector<std::string> commands = SubcommandsOf(app);
    commands.erase(commands.begin(), commands.begin() + static_cast<std::ptrdiff_t>(before));
    std::array<char, 32> head{};
    std::snprintf(head.data(), head.size(), "  %-17s", name);
    m_families += head.data() + Listed(commands) + "\n";
}

void CommandLine::AddHelp() {
    const auto [command, options] =
        Add<HelpOptions>(app, {"help", "Tell how a command is called", kHelpExamples}, HelpCommand);
    command.add_option("COMMAND", options.words, "The command, in one word or two (default: all commands)")
        ->type_name("");
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
    app.add_flag("--json", json, "Write JSON for programs")->disable_flag_override();
}

} // namespace apps
