#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/support/diagnostics.h"
#include "apps/support/suggest.h"
#include "apps/support/version.h"

#include <CLI/CLI.hpp>

#include <cstdio>

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

constexpr const char* kImageExamples = R"(Starts the imager, loads a plate, exposes every separation of the job,
unloads and stops the imager. A real engine needs some 37 s for each
newspaper plate; --speed lets the simulated one run faster.

Examples:
  bench image samples/newspaper.job
  bench image samples/newspaper.job --speed 10
  bench image page.job --imager build/linux/bin/imager --id 200
)";

constexpr const char* kPlatesExamples = R"(A line for each plate, as an operator's screen shows it; --json tells
the calibrations too. A plate file has 1 to 100 sections like this, of
which name, width and length must be there:

  [plate]
  name = Daily news
  width = 345 mm
  length = 580 mm
  thickness = 0.30 mm
  polarity = positive          (or negative)
  power = 80 %                 (or 120 uJ cm^2)
  calibration = Violet 1270 dpi
  cassette = 2

Examples:
  bench plates samples/pressroom.plates
  bench plates samples/pressroom.plates --json
)";

constexpr const char* kPlateExamples = R"(FILE is a plate file, or a job file, whose name ends in .job. Where the file
has several plates, NAME says which.

Examples:
  bench plate samples/newspaper.job
  bench plate samples/pressroom.plates "Tabloid spread"
  bench plate samples/pressroom.plates "Tabloid spread" --show
                              in a window, until it is closed (Windows)
)";

constexpr const char* kImagerExamples = R"(Examples:
  bench imager threads        what each thread of the imager does
)";

constexpr const char* kThreadsExamples = R"(For an imager that hangs: shows its threads as a tree, which lock each
holds or waits for and since when, and who is to blame. A lock that is
held or waited for during 2 s and more is a hang and ends with exit
code 1. An imager that does not answer ends with exit code 4.

Examples:
  bench imager threads
  bench imager threads --id 201 --timeout 3
  bench imager threads --json
)";

constexpr const char* kErrorExamples = R"(Examples:
  bench error 57              a code, decimal
  bench error 0x822F          the same, hexadecimal
  bench error e_Phs_NoPlate   its enumerator
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

constexpr const char* kChannelExamples = R"(Examples:
  bench channel status        who has messages waiting
  bench channel doctor        who holds it, and is it in order
  bench channel watch         every message as it comes and goes
  bench channel send --to 101 --wait 5 "1;1;110;0;;"
                              ask the imager 101 for its state
)";

constexpr const char* kStatusExamples = R"(Looks at the channel without taking part: nothing is taken, nothing
purged. A damaged channel ends with exit code 1.

Examples:
  bench channel status
  bench channel status --json
)";

constexpr const char* kDoctorExamples = R"(For a machine that hangs: tells who holds the channel's lock and since
when, as far as the system knows, and whether the channel is in order.
Only --repair changes anything, except where the lock's owner died: then
the channel is put in order as by every other program that comes next.
A lock that is not free within 2 s ends with exit code 4.

Examples:
  bench channel doctor
  bench channel doctor --repair
  bench channel doctor --json
)";

constexpr const char* kSendExamples = R"(The text goes out as it is, at most 255 characters. Our programs read
it as "type;code;sender's ID;value;string;qualifier".

Examples:
  bench channel send --to 101 "1;5;110;0;;"
                              stop the imager 101
  bench channel send --to 101 --wait 5 "1;1;110;0;;"
                              ask for its state, print the answer
)";

constexpr const char* kReceiveExamples = R"(Messages that wait for the ID when it is opened are thrown away: that is
how the channel works. Start receiving before the other side sends.

Examples:
  bench channel receive --id 110
  bench channel receive --id 110 --count 5 --timeout 60 --json
)";

constexpr const char* kWatchExamples = R"(Looks 50 times a second, and when something is posted where nothing
waits, without taking part. Of several messages that pass through one slot
in between only the last is seen. Ends on Ctrl-C.

Examples:
  bench channel watch
  bench channel watch --seconds 30 --json
)";

/// A range whose name is fit for the help, and in which "nan" is not.
template <typename Number>
CLI::Validator Within(Number least, Number most) {
    const std::string name = CLI::detail::to_string(least) + ".." + CLI::detail::to_string(most);
    return CLI::Validator(
        [=](const std::string& text) {
            Number value{};
            const bool isWithin = CLI::detail::lexical_cast(text, value) && value >= least && value <= most;
            return isWithin ? std::string() : "Value " + text + " not in range " + name;
        },
        name);
}

void AddId(CLI::App& app, std::uint16_t& id, const char* help, int most = 65535) {
    app.add_option("--id", id, help)->check(Within(1, most))->type_name("ID")->capture_default_str();
}

void AddSeconds(CLI::App& app, const char* name, double& seconds, const char* help) {
    app.add_option(name, seconds, help)->check(Within(0.0, 86400.0))->type_name("SECONDS")->capture_default_str();
}

/// The same where the imager is waited for: without any time it never answers.
void AddTimeout(CLI::App& app, double& seconds, const char* help) {
    app.add_option("--timeout", seconds, help)
        ->check(Within(0.1, 86400.0))
        ->type_name("SECONDS")
        ->capture_default_str();
}

void AddJson(CLI::App& app, bool& json) {
    app.add_flag("--json", json, "Write JSON for programs");
}

/// bench's command line: where its words are stored, and what is to be done.
struct CommandLine {
    CLI::App app{"Service tool for a platesetter's control system", "bench"};
    bool verbose = false;
    ImageOptions image;
    PlatesOptions plates;
    PlateOptions plate;
    ThreadsOptions threads;
    ErrorOptions error;
    ConvertOptions convert;
    NewGuidOptions newGuid;
    CheckGuidOptions checkGuid;
    StatusOptions status;
    DoctorOptions doctor;
    SendOptions send;
    ReceiveOptions receive;
    WatchOptions watch;
    std::function<Outcome(const Interrupt&)> run;

    CommandLine();

private:
    CLI::App& Add(CLI::App& parent, const char* name, const char* help, const std::string& examples);
    void AddImage();
    void AddPlates();
    void AddPlate();
    void AddImager();
    void AddError();
    void AddConvert();
    void AddGuid();
    void AddChannel();
};

CLI::App& CommandLine::Add(CLI::App& parent, const char* name, const char* help, const std::string& examples) {
    return *parent.add_subcommand(name, help)->footer(examples + kExitCodes);
}

CommandLine::CommandLine() {
    app.fallthrough();
    app.allow_windows_style_options(false); // else a path such as /home/page.job would be taken for an option
    app.require_subcommand(1);
    app.footer(std::string(kBenchExamples) + kExitCodes);
    app.add_flag("--verbose", verbose, "Tell every step and the error stack on standard error");
    app.set_version_flag("--version", VersionText("bench"), "Print the version and exit");
    AddImage();
    AddPlates();
    AddPlate();
    AddImager();
    AddError();
    AddConvert();
    AddGuid();
    AddChannel();
}

void CommandLine::AddImage() {
    CLI::App& command = Add(app, "image", "Expose a job: starts the imager, runs the job, stops it", kImageExamples);
    command.add_option("JOBFILE", image.jobFile, "The job to run")->required()->type_name("");
    command.add_option("--imager", image.imager, "The imager's program (default: the one beside bench)")
        ->type_name("PATH");
    AddId(command, image.id, "bench's communications ID; the imager gets the next one", 65534);
    command.add_option("--speed", image.speed, "Run the simulated engine N times as fast as a real one")
        ->check(Within(0.01, 100000.0))
        ->type_name("N")
        ->capture_default_str();
    AddTimeout(command, image.timeout, "Give up after so many seconds without a word from the imager");
    AddJson(command, image.json);
    command.callback([this] {
        image.verbose = verbose;
        run = [this](const Interrupt& interrupt) { return ImageCommand(image, interrupt); };
    });
}

void CommandLine::AddPlates() {
    CLI::App& command = Add(app, "plates", "List the plates of a plate file", kPlatesExamples);
    command.add_option("PLATEFILE", plates.plateFile, "The file to read")->required()->type_name("");
    AddJson(command, plates.json);
    command.callback([this] { run = [this](const Interrupt&) { return PlatesCommand(plates); }; });
}

void CommandLine::AddPlate() {
    CLI::App& command = Add(app, "plate", "Tell of one plate what an operator's screen shows", kPlateExamples);
    command.add_option("FILE", plate.file, "The file to read")->required()->type_name("");
    command.add_option("NAME", plate.name, "The plate's name")->type_name("");
    command.add_flag("--show", plate.show, "Show it in a window (Windows)");
    command.callback([this] { run = [this](const Interrupt& i) { return PlateCommand(plate, i); }; });
}

void CommandLine::AddImager() {
    CLI::App& imager = Add(app, "imager", "Look into a running imager", kImagerExamples);
    imager.require_subcommand(1);
    CLI::App& command = Add(imager, "threads", "What its threads do, and which one hangs", kThreadsExamples);
    AddId(command, threads.id, "The imager's communications ID");
    AddTimeout(command, threads.timeout, "Wait so long for its answer");
    AddJson(command, threads.json);
    command.callback([this] { run = [this](const Interrupt& i) { return ThreadsCommand(threads, i); }; });
}

void CommandLine::AddError() {
    CLI::App& command = Add(app, "error", "Explain an error code, or find one by its words", kErrorExamples);
    command.add_option("CODE|NAME|WORDS", error.words, "A code, an enumerator, or words of the text")
        ->required()
        ->type_name("");
    AddJson(command, error.json);
    command.callback([this] { run = [this](const Interrupt&) { return ErrorCommand(error); }; });
}

void CommandLine::AddConvert() {
    CLI::App& command = Add(app, "convert", "Turn a length into pixels or lines, and back", kConvertExamples);
    command.add_option("LENGTH|COUNT", convert.words, "What to convert, with its unit: mm, m, px, lines")
        ->required()
        ->type_name("");
    command.add_option("--dpi", convert.dpi, "The resolution, in dots per inch")
        ->required()
        ->check(Within(1.0, 100000.0))
        ->type_name("N");
    AddJson(command, convert.json);
    command.callback([this] { run = [this](const Interrupt&) { return ConvertCommand(convert); }; });
}

void CommandLine::AddGuid() {
    CLI::App& guid = Add(app, "guid", "Make a GUID, or check one", kGuidExamples);
    guid.require_subcommand(1);

    CLI::App& newCommand = Add(guid, "new", "Make a new GUID", kNewGuidExamples);
    AddJson(newCommand, newGuid.json);
    newCommand.callback([this] { run = [this](const Interrupt&) { return NewGuidCommand(newGuid); }; });

    CLI::App& checkCommand = Add(guid, "check", "Is a text a GUID", kCheckGuidExamples);
    checkCommand.add_option("TEXT", checkGuid.text, "The text")->required()->type_name("");
    AddJson(checkCommand, checkGuid.json);
    checkCommand.callback([this] { run = [this](const Interrupt&) { return CheckGuidCommand(checkGuid); }; });
}

void CommandLine::AddChannel() {
    CLI::App& channel = Add(app, "channel", "Look at the message channel, send and receive", kChannelExamples);
    channel.require_subcommand(1);

    CLI::App& statusCommand = Add(channel, "status", "What is in the channel and for whom", kStatusExamples);
    AddJson(statusCommand, status.json);
    statusCommand.callback([this] { run = [this](const Interrupt&) { return StatusCommand(status); }; });

    CLI::App& doctorCommand = Add(channel, "doctor", "Who holds the channel, and is it in order", kDoctorExamples);
    doctorCommand.add_flag("--repair", doctor.repair, "Put a damaged channel in order");
    AddJson(doctorCommand, doctor.json);
    doctorCommand.callback([this] { run = [this](const Interrupt& i) { return DoctorCommand(doctor, i); }; });

    CLI::App& sendCommand = Add(channel, "send", "Send a text to an ID", kSendExamples);
    sendCommand.add_option("TEXT", send.text, "The message")->required()->type_name("");
    sendCommand.add_option("--to", send.to, "The receiver's communications ID")
        ->required()
        ->check(Within(1, 65535))
        ->type_name("ID");
    AddId(sendCommand, send.id, "The own communications ID");
    AddSeconds(sendCommand, "--wait", send.wait, "Wait so long for an answer and print it; 0: do not");
    AddJson(sendCommand, send.json);
    sendCommand.callback([this] { run = [this](const Interrupt& i) { return SendCommand(send, i); }; });

    CLI::App& receiveCommand = Add(channel, "receive", "Receive under an ID and print what comes", kReceiveExamples);
    AddId(receiveCommand, receive.id, "The communications ID to receive for");
    receiveCommand.add_option("--count", receive.count, "End after so many messages")
        ->check(Within(1, 1000000))
        ->type_name("N")
        ->capture_default_str();
    AddSeconds(receiveCommand, "--timeout", receive.timeout, "Wait so long for each message");
    AddJson(receiveCommand, receive.json);
    receiveCommand.callback([this] { run = [this](const Interrupt& i) { return ReceiveCommand(receive, i); }; });

    CLI::App& watchCommand = Add(channel, "watch", "Print every message as it comes and goes", kWatchExamples);
    AddSeconds(watchCommand, "--seconds", watch.seconds, "End after so long; 0: on Ctrl-C");
    AddJson(watchCommand, watch.json);
    watchCommand.callback([this] { run = [this](const Interrupt& i) { return WatchCommand(watch, i); }; });
}

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

/// What is wrong with the command line, in one line.
std::string ExplainUsage(const CLI::App& app, const CLI::ParseError& error, int argc, char** argv) {
    Stumble stumble = FindUnknownWord(app, argc, argv);
    if (stumble.text.empty()) {
        stumble.text = error.what();
        std::ranges::replace(stumble.text, '\n', ' ');
    }
    return stumble.text + ": see '" + stumble.path + " --help'";
}

int PrintFailure(const std::string& text, Exit exit) {
    std::fprintf(stderr, "%s %s\n", Painted(Stream::kError, Colour::kBad, "bench:").c_str(), Printable(text).c_str());
    return static_cast<int>(exit);
}

int Run(int argc, char** argv) {
    const TerminalMode mode;
    CommandLine line;
    try {
        line.app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return line.app.exit(error);
        }
        return PrintFailure(ExplainUsage(line.app, error, argc, argv), Exit::kUsage);
    }
    SetUpDiagnostics("bench", line.verbose);
    const Interrupt interrupt;
    Outcome failure = line.run(interrupt);
    if (!failure && (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)) {
        failure = Fail("Run(): ", kFileNotWritten, Exit::kFailed,
                       "the result cannot be written to standard output: check the disk or the reader");
    }
    if (!failure) {
        return static_cast<int>(Exit::kDone);
    }
    const int exit = PrintFailure(failure->text, failure->exit);
    if (line.verbose) {
        PrintErrorStack();
    }
    return exit;
}

} // namespace
} // namespace apps

int main(int argc, char** argv) try { return apps::Run(argc, argv); } catch (const std::exception& error) {
    std::fprintf(stderr, "bench: it cannot go on: %s\n", error.what());
    return static_cast<int>(apps::Exit::kFailed);
}
