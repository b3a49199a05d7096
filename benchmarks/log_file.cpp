#include "gaizior/logging/log_file.h"
#include "benchmarks/compare.h"
#include "benchmarks/scratch_folder.h"
#include "benchmarks/subjects.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace benchmarks {
namespace {

// What our line looks like; the others find it ready.
constexpr std::string_view kLine = "09:05:03.042 000 0x0a1c 0x00 PlateC::LoadPlate(): plate 1234 is at step 7\n";
constexpr std::size_t kLargestBatch = 1000; // files stay small enough to lie in the page cache

Batch Append(std::string file, void (*append)(const char* file)) {
    return {.run =
                [file, append](std::size_t count) {
                    for (; count > 0; --count) {
                        append(file.c_str());
                    }
                },
            .prepare = [file] { std::filesystem::resize_file(file, 0); },
            .largest = kLargestBatch};
}

void AppendStream(const char* file) {
    std::ofstream stream(file, std::ios::app);
    stream << kLine;
    stream.close();
}

void AppendRaw(const char* file) {
    const int descriptor = ::open(file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    ssize_t written = ::write(descriptor, kLine.data(), kLine.size());
    Keep(written);
    ::close(descriptor);
}

void AppendOurs(const char* /*file*/) {
    int plate = 1234, step = 7;
    Keep(plate);
    ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
    log << ZRLevel(0) << "PlateC::LoadPlate(): plate " << plate << " is at step " << step << std::endl;
}

} // namespace

void LogFile() {
    const ScratchFolder folder;
    const auto file = [&](const char* name) { return folder.Path() + '/' + name; };
    const ZRLogFileC log(file("ours").c_str(), false, false, false);
    for (const char* name : {"ours", "stream", "raw"}) {
        std::ofstream(file(name)).close();
    }
    Compare("tagged line to the log file", Append(file("ours"), &AppendOurs),
            {{"std::ofstream opened to append, written, closed", Append(file("stream"), &AppendStream), 0.8},
             {"open, write and close", Append(file("raw"), &AppendRaw), 1.6}});
}

} // namespace benchmarks
