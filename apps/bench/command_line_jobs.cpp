#include "apps/bench/command_line.h"

#include "apps/bench/commands.h"

namespace apps {
namespace {

constexpr const char* kImageExamples = R"(Starts the imager, loads a plate, exposes every separation of the job,
unloads and stops the imager. A real engine needs some 37 s for each
newspaper plate; --speed lets the simulated one run faster. A job file
is text in UTF-8; lengths are in mm, and a comment begins with '# ':

  [job]
  name = Front page
  resolution = 1270 dpi
  [plate]
  width = 345 mm               (more of it may be told, as in a plate
  length = 580 mm              file: see 'bench plates --help')
  [image]
  width = 325 mm
  length = 545 mm
  [separation]                 (1 to 8)
  name = Black
  copies = 2                   (1 unless it is told)

Examples:
  bench image page.job --check
  bench image page.job --dry-run
  bench image page.job
  bench image page.job --speed 10 --json
  bench image page.job --imager /opt/other/bin/imager --id 200
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
  bench plates pressroom.plates
  bench plates pressroom.plates --json
)";

constexpr const char* kPlateExamples = R"(FILE is a plate file, or a job file, whose name ends in .job. Where the file
has several plates, NAME says which.

Examples:
  bench plate page.job
  bench plate pressroom.plates "Tabloid spread"
  bench plate pressroom.plates "Tabloid spread" --show
                              in a window, until it is closed (Windows)
)";

constexpr const char* kImagerExamples = R"(Commands for an imager that runs by itself; 'bench image' brings its own.
They can all be asked while one of them loads, exposes or unloads.

Examples:
  bench imager start --speed 10
  bench imager load page.job
  bench imager expose page.job --plate 1
  bench imager unload
  bench imager stop
  bench imager threads        what each of its threads does
)";

constexpr const char* kStatusExamples = R"(Examples:
  bench imager status
  bench imager status --id 201 --json
)";

constexpr const char* kStartExamples = R"(The imager stays when bench and the terminal are gone, until it is told to
stop. What it says then stands beside its log, in imager.err.

Examples:
  bench imager start
  bench imager start --id 201 --speed 20
)";

constexpr const char* kLoadExamples = R"(FILE is a plate file, or a job file, whose name ends in .job. Where the file
has several plates, NAME says which. On Ctrl-C the imager goes on.

Examples:
  bench imager load page.job
  bench imager load pressroom.plates "Tabloid spread"
)";

constexpr const char* kExposeExamples = R"(Needs a plate on the drum that is not exposed. Where several plates are to be
exposed the imager changes them by itself. On Ctrl-C it goes on, and bench
tells where the plate is.

Examples:
  bench imager expose page.job
  bench imager expose page.job --plate 2
  bench imager expose page.job --separation Black
)";

constexpr const char* kUnloadExamples = R"(On Ctrl-C the imager goes on.

Examples:
  bench imager unload
)";

constexpr const char* kStopExamples = R"(Ends the imager in order and waits until it is gone. What it is at is broken
off: a plate that is being exposed is spoiled.

Examples:
  bench imager stop
  bench imager stop --id 201
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

void AddSpeed(CLI::App& app, double& speed) {
    app.add_option("--speed", speed, "Run the simulated engine N times as fast as a real one")
        ->check(Within(0.01, 100000.0))
        ->type_name("N")
        ->capture_default_str();
}

void AddImage(CommandLine& line) {
    const auto [command, options] = line.Add<ImageOptions>(
        line.app, {"image", "Expose a job: starts the imager, runs the job, stops it", kImageExamples},
        [&line](ImageOptions& image, const Interrupt& interrupt) {
            image.verbose = line.verbose;
            return ImageCommand(image, interrupt);
        });
    command.add_option("JOBFILE", options.jobFile, "The job to run")->required()->type_name("");
    command.add_option("--imager", options.imager, "The imager's program (default: the one beside bench)")
        ->type_name("PATH");
    AddId(command, options.id, "bench's communications ID; the imager gets the next one", 65534);
    AddSpeed(command, options.speed);
    AddTimeout(command, options.timeout, "Give up after so many seconds without a word from the imager");
    command.add_flag("--check", options.check, "Tell every fault of the job file; start nothing");
    command.add_flag("--dry-run", options.dryRun, "Tell the plates and their times; start nothing");
    AddJson(command, options.json);
}

void AddPlates(CommandLine& line) {
    const auto [command, options] = line.Add<PlatesOptions>(
        line.app, {"plates", "List the plates of a plate file", kPlatesExamples}, PlatesCommand);
    command.add_option("PLATEFILE", options.plateFile, "The file to read")->required()->type_name("");
    AddJson(command, options.json);
}

void AddPlate(CommandLine& line) {
    const auto [command, options] = line.Add<PlateOptions>(
        line.app, {"plate", "Tell of one plate what an operator's screen shows", kPlateExamples}, PlateCommand);
    command.add_option("FILE", options.file, "The file to read")->required()->type_name("");
    command.add_option("NAME", options.name, "The plate's name")->type_name("");
    command.add_flag("--show", options.show, "Show it in a window (Windows)");
}

/// Adds a command of the imager's, with the options that all of them have.
template <typename Options>
CommandLine::Added<Options> AddImagerCommand(CommandLine& line, CLI::App& imager, const Help& help,
                                             Outcome (*function)(const Options&, const Interrupt&)) {
    const auto added = line.Add<Options>(imager, help, [&line, function](Options& options, const Interrupt& interrupt) {
        options.verbose = line.verbose;
        return function(options, interrupt);
    });
    AddId(added.command, added.options.id, "The imager's communications ID");
    AddTimeout(added.command, added.options.timeout, "Give up after so many seconds without a word from it");
    AddJson(added.command, added.options.json);
    return added;
}

void AddStart(CommandLine& line, CLI::App& imager) {
    const auto [command, options] =
        AddImagerCommand(line, imager, {"start", "Start one that stays", kStartExamples}, StartCommand);
    command.add_option("--imager", options.imager, "Its program (default: the one beside bench)")->type_name("PATH");
    AddSpeed(command, options.speed);
}

void AddLoad(CommandLine& line, CLI::App& imager) {
    const auto [command, options] =
        AddImagerCommand(line, imager, {"load", "Put a plate onto the drum", kLoadExamples}, LoadCommand);
    command.add_option("FILE", options.file, "The file that tells the plate")->required()->type_name("");
    command.add_option("NAME", options.name, "The plate's name")->type_name("");
}

void AddExpose(CommandLine& line, CLI::App& imager) {
    const auto [command, options] =
        AddImagerCommand(line, imager, {"expose", "Expose a job on the loaded plate", kExposeExamples}, ExposeCommand);
    command.add_option("JOBFILE", options.jobFile, "The job to expose")->required()->type_name("");
    CLI::Option* const plate =
        command.add_option("--plate", options.plate, "Only this one of the job's plates, counted from 1")
            ->check(Within(1, 72))
            ->type_name("N");
    command.add_option("--separation", options.separation, "Only the plates of this separation")
        ->type_name("NAME")
        ->excludes(plate);
}

void AddImager(CommandLine& line) {
    CLI::App& imager = line.AddGroup({"imager", "Start, command and look into an imager", kImagerExamples});
    AddImagerCommand(line, imager, {"status", "What it does, and which plate it has", kStatusExamples},
                     ImagerStatusCommand);
    AddStart(line, imager);
    AddLoad(line, imager);
    AddExpose(line, imager);
    AddImagerCommand(line, imager, {"unload", "Take the plate from the drum", kUnloadExamples}, UnloadCommand);
    AddImagerCommand(line, imager, {"stop", "End it", kStopExamples}, StopCommand);
    AddImagerCommand(line, imager, {"threads", "What its threads do, and which one hangs", kThreadsExamples},
                     ThreadsCommand);
}

} // namespace

void AddJobCommands(CommandLine& line) {
    AddImage(line);
    AddPlates(line);
    AddPlate(line);
    AddImager(line);
}

} // namespace apps
