#include "apps/bench/background_process.h"
#include "apps/bench/imager_program.h"
#include "apps/bench/imager_visit.h"
#include "apps/bench/output.h"
#include "apps/support/channel_id.h"
#include "apps/support/channel_users.h"
#include "apps/support/places.h"
#include "gaizior/config/file_utils.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace apps {
namespace {

constexpr const char* kFunction = "StartCommand(): ";

/// The file for what an imager says that has no terminal: beside its log; empty where that has no folder.
std::string ErrorsPath(std::uint16_t id) {
    const std::string folder = LogFolder();
    if (folder.empty() || ZRFileUtilsC::MakeFolder(folder.c_str()) != ZRErrors::e_General_NoError) {
        Warn("what the imager says is lost: its folder '" + folder + "' cannot be made");
        return {};
    }
    const std::string name = id == kBenchId + 1 ? "imager" : "imager-" + std::to_string(id);
    return (std::filesystem::path(folder) / (name + ".err")).string();
}

/// The last line that says something.
std::string LastLine(const std::string& path) {
    std::ifstream file(path);
    std::string last;
    for (std::string line; std::getline(file, line);) {
        last = line.empty() ? last : line;
    }
    return last;
}

std::vector<std::string> WordsFor(const StartOptions& options, std::uint16_t ownId) {
    return {"--id",    std::to_string(options.id), "--client-id", std::to_string(ownId),
            "--speed", SpeedWord(options.speed)};
}

/// Nothing is left of an imager that was started in vain.
void End(const BackgroundProcess& process, ImagerClient& client) {
    constexpr DWORD kTimeToEnd = 2000;
    if (!IsSignalled(process.handle.Get()) && !client.StopAndWait(kTimeToEnd)) {
        ::TerminateProcess(process.handle.Get(), static_cast<UINT>(Exit::kFailed));
    }
}

} // namespace

Outcome StartCommand(const StartOptions& options, const Interrupt& interrupt) {
    std::string path;
    if (Outcome failure = FindImager(options.imager, path)) {
        return failure;
    }
    if (IsIdInUse(options.id)) {
        const std::optional<ZcUserT> user = FindUser(options.id);
        return Fail(kFunction, kDeviceBusy, Exit::kFailed,
                    "communications ID " + std::to_string(options.id) + " is in use" +
                        (user ? " by " + UserText(*user) : "") + ": 'bench imager status" + IdWords(options.id) +
                        "' asks the imager that runs, --id chooses another ID");
    }
    ImagerVisit visit(options, ImagerVisit::Purpose::kQuestion, interrupt);
    if (Outcome failure = visit.Open()) {
        return failure;
    }
    const std::string errors = ErrorsPath(options.id);
    BackgroundProcess process;
    if (Outcome failure = StartInBackground(path, WordsFor(options, visit.OwnId()), errors, process)) {
        return failure;
    }
    visit.Client().Watch({process.handle.Get(), interrupt.Event()});
    if (Outcome failure = visit.Client().WaitUntilReady()) {
        End(process, visit.Client());
        const std::string said = LastLine(errors);
        failure->text = path + " (process " + std::to_string(process.id) + "): " + failure->text +
                        (said.empty() ? "" : "; it says: " + said);
        return failure;
    }
    const std::string json =
        JsonObject().Number("imager", options.id).Number("process", process.id).TextOrNull("errors", errors).Json();
    std::printf("%s\n", options.json ? json.c_str()
                                     : (visit.Name() + " runs as process " + std::to_string(process.id)).c_str());
    return std::nullopt;
}

} // namespace apps
