#include "apps/bench/job_output.h"

#include "apps/bench/output.h"
#include "apps/bench/plate_output.h"
#include "apps/job/pace.h"

#include <cstdio>

namespace apps {
namespace {

double PlatesPerHour(const Job& job, double engineSeconds) {
    constexpr double kSecondsPerHour = 3600;
    return engineSeconds > 0 ? CountPlates(job) * kSecondsPerHour / engineSeconds : 0;
}

std::string SeparationsJson(const Job& job) {
    JsonArray separations;
    for (const Separation& separation : job.separations) {
        separations.Add(JsonObject().Text("name", separation.name).Number("copies", separation.copies).Json());
    }
    return separations.Json();
}

/// What plan and summary have in common.
JsonObject& AddJob(JsonObject& object, const ImageOptions& options, const Job& job, double engineSeconds) {
    return object.Text("job", job.name)
        .Text("file", options.jobFile)
        .Value("plate", PlateJson(job.plate))
        .Number("plates", CountPlates(job))
        .Number("linesPerPlate", CountLines(job))
        .Number("resolutionDpi", job.resolution)
        .Value("separations", SeparationsJson(job))
        .Real("speed", options.speed)
        .Real("engineSeconds", engineSeconds)
        .Real("platesPerHour", PlatesPerHour(job, engineSeconds));
}

/// The same in lines for people.
void PrintJob(const Job& job) {
    std::string names;
    for (const Separation& separation : job.separations) {
        names += (names.empty() ? "" : ", ") + separation.name;
        names += separation.copies > 1 ? " x " + std::to_string(separation.copies) : "";
    }
    std::printf("%s\n", Printable(job.name).c_str());
    std::printf("  separations  %s\n", names.c_str());
    std::printf("  image        %s at %d dpi, %d lines a plate\n", FormatSize(job.image).c_str(), job.resolution,
                CountLines(job));
    std::printf("  plates       %d of %s\n", CountPlates(job), PlateText(job.plate).c_str());
}

void PrintEngineTime(const Job& job, double engineSeconds) {
    std::printf("  real engine  %.1f s, %.0f plates an hour\n", engineSeconds, PlatesPerHour(job, engineSeconds));
}

} // namespace

void PrintComplaints(const ImageOptions& options, const Job& job, const std::vector<Complaint>& complaints) {
    if (options.json) {
        JsonArray array;
        for (const auto& [line, text] : complaints) {
            array.Add(JsonObject().Text("file", options.jobFile).Number("line", line).Text("text", text).Json());
        }
        std::printf("%s\n", JsonObject().Value("faults", array.Json()).Json().c_str());
        return;
    }
    const std::string file = Printable(options.jobFile);
    for (const auto& [line, text] : complaints) {
        std::printf("%s:%d: %s\n", file.c_str(), line, Printable(text).c_str());
    }
    if (complaints.empty()) {
        std::printf("%s: in order, %s\n", file.c_str(), Counted(CountPlates(job), "plate").c_str());
    }
}

void PrintPlan(const ImageOptions& options, const Job& job) {
    const double seconds = PlateSeconds(job);
    const double engineSeconds = CountPlates(job) * seconds;
    const std::vector<std::string> names = PlateSeparations(job);
    if (options.json) {
        JsonArray exposures;
        for (std::size_t i = 0; i < names.size(); ++i) {
            exposures.Add(JsonObject()
                              .Number("plateNumber", static_cast<int>(i + 1))
                              .Text("separation", names[i])
                              .Real("seconds", seconds)
                              .Json());
        }
        JsonObject object;
        AddJob(object, options, job, engineSeconds).Value("exposures", exposures.Json());
        std::printf("%s\n", object.Json().c_str());
        return;
    }
    PrintJob(job);
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::printf("  %5zu        %s  %s  %.1f s\n", i + 1, Padded(names[i], kMaxSeparationName).c_str(),
                    FormatSize(job.plate.size).c_str(), seconds);
    }
    PrintEngineTime(job, engineSeconds);
    if (options.speed != 1) {
        std::printf("  here         %.1f s at %g times the engine's pace\n", engineSeconds / options.speed,
                    options.speed);
    }
}

void PrintSummary(const ImageOptions& options, const Job& job, double seconds, double engineSeconds) {
    if (options.json) {
        JsonObject object;
        object.Text("event", "done").Text("time", TimeText(Now(), kTimeForPrograms));
        AddJob(object, options, job, engineSeconds).Real("seconds", seconds);
        std::printf("%s\n", object.Json().c_str());
        return;
    }
    std::printf("\n");
    PrintJob(job);
    std::printf("  time         %.1f s", seconds);
    if (options.speed != 1) {
        std::printf(" at %g times the engine's pace", options.speed);
    }
    std::printf("\n");
    PrintEngineTime(job, engineSeconds);
}

} // namespace apps
