#include "apps/bench/command_line.h"

#include "apps/bench/commands.h"

namespace apps {
namespace {

constexpr const char* kLogExamples = R"(A line for each line that was logged: time, process, thread, level, text.
Several logs, a week's and several processes', become one by time; what
frames a log's header is left out. Level 0 is the most important one.
--follow begins with the last ten lines, or at --since, and goes on at
midnight and when a file is replaced, until Ctrl-C.

Times: "10 min ago", "2 h ago", today, yesterday, 14:03, 2026-11-22,
       "2026-11-22 14:03:07"

Examples:
  bench log                   all that imagers have left
  bench log --since "10 min ago" --grep clamp
  bench log --process imager --level 0 --since yesterday --until 6:00
  bench log --follow
  bench log logs/imager_Mon.txt --json
)";

constexpr const char* kHistoryExamples = R"(Examples:
  bench history list          which plates this machine has exposed
  bench history follow        and each one to come
)";

constexpr const char* kListHistoryExamples = R"(Without FILE, the history of the imager 101: this user's, or else the
machine's. An imager adds a line for each plate.

Examples:
  bench history list
  bench history list --last 20
  bench history list imager-201.history --json
)";

constexpr const char* kFollowHistoryExamples = R"(Prints what is there, then each line as it comes, until Ctrl-C.

Examples:
  bench history follow --last 5
  bench history follow --json
)";

void AddLog(CommandLine& line) {
    const auto [command, options] =
        line.Add<LogOptions>(line.app, {"log", "Show what processes have logged", kLogExamples}, LogCommand);
    command
        .add_option("FILE|FOLDER", options.paths,
                    "Logs, and folders with logs (default: where an imager leaves its own)")
        ->type_name("");
    command.add_option("--level", options.level, "Lines of level N and below")->check(Within(0, 999))->type_name("N");
    const CLI::Validator isThere([](const std::string& time) { return time.empty() ? "no time" : std::string(); }, "");
    command.add_option("--since", options.since, "Lines from then on")->check(isThere)->type_name("TIME");
    command.add_option("--until", options.until, "Lines up to then")->check(isThere)->type_name("TIME");
    command.add_option("--grep", options.grep, "Lines with this text, in upper or lower case")->type_name("TEXT");
    command.add_option("--process", options.process, "Lines of this process")->type_name("NAME");
    command.add_flag("--follow", options.follow, "Go on with lines as they come, until Ctrl-C");
    AddJson(command, options.json);
}

void AddLast(CLI::App& command, std::size_t& last) {
    command.add_option("--last", last, "Only so many lines of what is there (default all)")
        ->check(Within(1, 1000000))
        ->type_name("N");
}

void AddHistory(CommandLine& line) {
    CLI::App& history = line.AddGroup({"history", "Show which plates were exposed", kHistoryExamples});
    const auto add = [&](const Help& help, auto function) {
        const auto [command, options] = line.Add<HistoryOptions>(history, help, function);
        command.add_option("FILE", options.file, "The history to read")->type_name("");
        AddLast(command, options.last);
        AddJson(command, options.json);
    };
    add({"list", "What is in it", kListHistoryExamples}, ListHistoryCommand);
    add({"follow", "The same, and each plate to come", kFollowHistoryExamples}, FollowHistoryCommand);
}

} // namespace

void AddRecordCommands(CommandLine& line) {
    AddLog(line);
    AddHistory(line);
}

} // namespace apps
