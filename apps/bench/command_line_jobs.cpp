#include "apps/bench/command_line.h"

#include "apps/bench/commands.h"

namespace apps {
namespace {

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
    command.add_option("--speed", options.speed, "Run the simulated engine N times as fast as a real one")
        ->check(Within(0.01, 100000.0))
        ->type_name("N")
        ->capture_default_str();
    AddTimeout(command, options.timeout, "Give up after so many seconds without a word from the imager");
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

void AddThreads(CommandLine& line, CLI::App& imager) {
    const auto [command, options] = line.Add<ThreadsOptions>(
        imager, {"threads", "What its threads do, and which one hangs", kThreadsExamples}, ThreadsCommand);
    AddId(command, options.id, "The imager's communications ID");
    AddTimeout(command, options.timeout, "Wait so long for its answer");
    AddJson(command, options.json);
}

} // namespace

void AddJobCommands(CommandLine& line) {
    AddImage(line);
    AddPlates(line);
    AddPlate(line);
    AddThreads(line, line.AddGroup({"imager", "Look into a running imager", kImagerExamples}));
}

} // namespace apps
