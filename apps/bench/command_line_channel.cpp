#include "apps/bench/command_line.h"

#include "apps/bench/commands.h"

namespace apps {
namespace {

constexpr const char* kChannelExamples = R"(Examples:
  bench channel who           which process has which ID
  bench channel status        who has messages waiting
  bench channel doctor        who holds it, and is it in order
  bench channel watch         every message as it comes and goes
  bench channel send --to 7 hello
The imager's commands are 'bench imager status, load, expose ...'.
)";

constexpr const char* kStatusExamples = R"(Looks at the channel without taking part: nothing is taken, nothing
purged. A damaged channel ends with exit code 1.

Examples:
  bench channel status
  bench channel status --json
)";

constexpr const char* kDoctorExamples = R"(For a machine that hangs: tells who holds the channel's lock and since
when, as far as the system knows, and whether the channel is in order.
Each finding, as a stopped process or messages for an ID that nobody has,
ends with the command to type next.
Only --repair changes anything, except where the lock's owner died: then
the channel is put in order as by every other program that comes next.
A lock that is not free within 2 s ends with exit code 4, damage and a
full channel with 1.

Examples:
  bench channel doctor
  bench channel doctor --repair
  bench channel doctor --json
)";

constexpr const char* kSendExamples = R"(The text goes out as it is, at most 255 characters. Our programs read
it as "type;code;sender's ID;value;string;qualifier"; what they say is told
in words, too. An answer that is a refusal ends with exit code 1.
'bench imager status, start, load, expose, unload, stop' say the same
without semicolons.

Examples:
  bench channel send --to 7 hello
  bench channel send --to 101 --wait 5 "1;1;110;0;;"
                              as 'bench imager status'
)";

constexpr const char* kReceiveExamples = R"(Messages that wait for the ID when it is opened are thrown away: that is
how the channel works. Start receiving before the other side sends.

Examples:
  bench channel receive --id 110
  bench channel receive --id 110 --count 5 --timeout 60 --json
)";

constexpr const char* kWatchExamples = R"(Looks at least 50 times a second, and when something is posted where
nothing waits, without taking part. Of several messages that pass through
one slot in between only the last is seen. Ends on Ctrl-C.

Examples:
  bench channel watch
  bench channel watch --seconds 30 --json
)";

constexpr const char* kLiveExamples = R"(One page on the terminal, always up to date: who has the channel open,
the queues, the imager and its progress, the last messages in words,
failures in red. It looks on without taking part, so the imager's state
is what its messages tell. 'q' or Ctrl-C ends it. Without a terminal, it
prints a line for each message and for who comes and goes.

Examples:
  bench watch
  bench watch --id 201        the page of another imager
  bench watch --json --seconds 60 > seen.json
)";

constexpr const char* kWhoExamples = R"(Tells of each ID which process has it, under whose account and since when,
whether that runs, is stopped, waits for the channel's lock or is gone, and
how many messages it has not read. It answers also while the channel is
locked. Processes of an older version are not told of.

Examples:
  bench channel who
  bench channel who --json
)";

constexpr const char* kPurgeExamples = R"(For messages that nobody reads: refuses while another process has the ID.
Asks first; without a terminal to ask on it needs --yes.

Examples:
  bench channel purge --id 102
  bench channel purge --id 102 --yes --json
)";

void AddStatus(CommandLine& line, CLI::App& channel) {
    const auto [command, options] = line.Add<StatusOptions>(
        channel, {"status", "What is in the channel and for whom", kStatusExamples}, StatusCommand);
    AddJson(command, options.json);
}

void AddDoctor(CommandLine& line, CLI::App& channel) {
    const auto [command, options] = line.Add<DoctorOptions>(
        channel, {"doctor", "Who holds the channel, and is it in order", kDoctorExamples}, DoctorCommand);
    command.add_flag("--repair", options.repair, "Put a damaged channel in order");
    AddJson(command, options.json);
}

void AddSend(CommandLine& line, CLI::App& channel) {
    const auto [command, options] =
        line.Add<SendOptions>(channel, {"send", "Send a text to an ID", kSendExamples}, SendCommand);
    command.add_option("TEXT", options.text, "The message")->required()->type_name("");
    command.add_option("--to", options.to, "The receiver's communications ID")
        ->required()
        ->check(Within(1, 65535))
        ->type_name("ID");
    AddId(command, options.id, "The own communications ID");
    AddSeconds(command, "--wait", options.wait, "Wait so long for an answer and print it; 0: do not");
    AddJson(command, options.json);
}

void AddReceive(CommandLine& line, CLI::App& channel) {
    const auto [command, options] = line.Add<ReceiveOptions>(
        channel, {"receive", "Receive under an ID and print what comes", kReceiveExamples}, ReceiveCommand);
    AddId(command, options.id, "The communications ID to receive for");
    command.add_option("--count", options.count, "End after so many messages")
        ->check(Within(1, 1000000))
        ->type_name("N")
        ->capture_default_str();
    AddSeconds(command, "--timeout", options.timeout, "Wait so long for each message");
    AddJson(command, options.json);
}

void AddWatch(CommandLine& line, CLI::App& channel) {
    const auto [command, options] = line.Add<WatchOptions>(
        channel, {"watch", "Print every message as it comes and goes", kWatchExamples}, WatchCommand);
    AddSeconds(command, "--seconds", options.seconds, "End after so long; 0: on Ctrl-C");
    AddJson(command, options.json);
}

void AddLive(CommandLine& line) {
    const auto [command, options] =
        line.Add<LiveOptions>(line.app, {"watch", "Show the channel and the imager on a live page", kLiveExamples},
                              [&line](LiveOptions& live, const Interrupt& interrupt) {
                                  live.verbose = line.verbose;
                                  return LiveCommand(live, interrupt);
                              });
    AddId(command, options.id, "The imager's communications ID");
    AddSeconds(command, "--seconds", options.seconds, "End after so long; 0: on 'q' or Ctrl-C");
    AddJson(command, options.json);
}

void AddWho(CommandLine& line, CLI::App& channel) {
    const auto [command, options] =
        line.Add<WhoOptions>(channel, {"who", "Which process has which ID", kWhoExamples}, WhoCommand);
    AddJson(command, options.json);
}

void AddPurge(CommandLine& line, CLI::App& channel) {
    const auto [command, options] = line.Add<PurgeOptions>(
        channel, {"purge", "Throw away the messages for an ID that nobody has", kPurgeExamples}, PurgeCommand);
    command.add_option("--id", options.id, "The ID whose messages to throw away")
        ->required()
        ->check(Within(0, 65535))
        ->type_name("ID");
    command.add_flag("--yes", options.yes, "Do not ask");
    AddJson(command, options.json);
}

} // namespace

void AddChannelCommands(CommandLine& line) {
    AddLive(line);
    CLI::App& channel = line.AddGroup({"channel", "Look at the message channel, send and receive", kChannelExamples});
    AddStatus(line, channel);
    AddWho(line, channel);
    AddDoctor(line, channel);
    AddSend(line, channel);
    AddReceive(line, channel);
    AddPurge(line, channel);
    AddWatch(line, channel);
}

} // namespace apps
