#include "apps/bench/command_line.h"

#include "apps/bench/commands.h"

namespace apps {
namespace {

constexpr const char* kLogExamples = R"(Several logs, a week's and several processes', become one by time. Lines
that only frame a log's header are left out. --level 0 leaves the most
important lines. --follow begins with the last ten lines, or at --since,
and goes on at midnight and when a file is replaced, until Ctrl-C.

Times: "10 min ago", "2 h ago", today, yesterday, 14:03, 2026-11-22,
       "2026-11-22 14:03:07"

Examples:
  bench log logs              all logs of a folder
  bench log logs --since "10 min ago" --grep clamp
  bench log logs --process imager --level 0 --since yesterday --until 6:00
  bench log logs --follow
  bench log imager_Mon.txt --json
)";

void AddLog(CommandLine& line) {
    const auto [command, options] =
        line.Add<LogOptions>(line.app, {"log", "Show what processes have logged", kLogExamples}, LogCommand);
    command.add_option("FILE|FOLDER", options.paths, "Logs, and folders with logs")->required()->type_name("");
    command.add_option("--level", options.level, "Lines of level N and below")->check(Within(0, 999))->type_name("N");
    command.add_option("--since", options.since, "Lines from then on")->type_name("TIME");
    command.add_option("--until", options.until, "Lines up to then")->type_name("TIME");
    command.add_option("--grep", options.grep, "Lines with this text, in upper or lower case")->type_name("TEXT");
    command.add_option("--process", options.process, "Lines of this process")->type_name("NAME");
    command.add_flag("--follow", options.follow, "Go on with lines as they come, until Ctrl-C");
    AddJson(command, options.json);
}

} // namespace

void AddRecordCommands(CommandLine& line) {
    AddLog(line);
}

} // namespace apps
