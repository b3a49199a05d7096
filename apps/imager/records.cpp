#include "apps/imager/records.h"

#include "apps/support/diagnostics.h"
#include "apps/support/failure.h"
#include "apps/support/places.h"
#include "apps/support/preferences.h"
#include "apps/support/text.h"
#include "apps/support/version.h"
#include "gaizior/config/file_utils.h"
#include "gaizior/errors/failure.h"

#include <cstdio>
#include <filesystem>
#include <memory>

namespace apps {
namespace {

constexpr unsigned long kLogLevel = 3; // failures, warnings, what is received
constexpr unsigned long kEveryLevel = 100;
constexpr unsigned long kHistoryLines = 10000;
constexpr unsigned kFirstId = 101;

/// "imager.log"; with the ID where it is not the usual one.
std::string FileName(std::uint16_t id, const char* extension) {
    return (id == kFirstId ? "imager" : "imager-" + std::to_string(id)) + extension;
}

/// The path of a file in a folder, which is made where it is missing; empty, and told, where that fails.
std::string PathIn(const std::string& folder, const std::string& name, const char* what) {
    const auto code = folder.empty() ? ZRErrors::e_File_InvalidName : ZRFileUtilsC::MakeFolder(folder.c_str());
    if (code != ZRErrors::e_General_NoError) {
        std::fprintf(stderr, "imager: no %s is kept: its folder '%s' cannot be made: %s\n", what, folder.c_str(),
                     ErrorText(code).c_str());
        return {};
    }
    return (std::filesystem::path(folder) / name).string();
}

} // namespace

Records::Log::Log(std::uint16_t id, const Branding& branding, bool tee) : ZRLogFileC(tee) {
    m_about = VersionText("imager") + ", ID " + std::to_string(id) + ", process " +
              std::to_string(::GetCurrentProcessId()) + ", product '" + branding.product + "' of '" +
              branding.manufacturer + "', support: " + branding.recipients;
}

ZRErrors::ZRErrorT Records::History::Open(const std::string& path, unsigned maxLines) {
    return Create(path.c_str(), "job\tplate\twidth\tlength\tseparation\tnumber\tresult", maxLines);
}

ZRErrors::ZRErrorT Records::History::Add(const Exposure& exposure) {
    const Plate& plate = exposure.plate;
    const std::string number = std::to_string(exposure.number) + "/" + std::to_string(exposure.plates);
    std::string line;
    for (const std::string& field : {exposure.job, plate.name, FormatHundredths(plate.size.width),
                                     FormatHundredths(plate.size.length), exposure.separation, number}) {
        line += Printable(field) + '\t';
    }
    line += exposure.isSpoiled ? "spoiled" : "exposed";
    return LogIt(line.c_str());
}

Records::Records(std::uint16_t id, bool verbose)
    : m_part(std::to_string(id)), m_prefs(kProductPart, kImagerPart, m_part.c_str()) {
    OpenLog(id, verbose);
    OpenHistory(id);
    const std::string version = VersionText("imager");
    const std::unique_ptr<char, decltype(&CZRPrefs::FreeText)> known(m_prefs.LoadAppParam(kVersionPref, ""),
                                                                     &CZRPrefs::FreeText);
    if (known && known.get() != version) {
        m_prefs.SaveUsrParam(kVersionPref, version.c_str(), 1); // where the user may not write the machine's: logged
    }
}

void Records::OpenLog(std::uint16_t id, bool verbose) {
    SetUpDiagnostics("imager", verbose, true); // until there is a log
    const std::string path = PathIn(LogFolder(), FileName(id, ".log"), "log");
    if (path.empty()) {
        return;
    }
    const Branding branding = ReadBranding(BrandingPath(), kProductPart);
    m_log.emplace(id, branding, verbose);
    ZRLogFileC::SetDebugLevel(static_cast<unsigned>(verbose ? kEveryLevel : Preference(kLogLevelPref, kLogLevel)));
    ZRLogFileC::SetName(path.c_str(), true, true);
    LogChannelLines(verbose);
    if (branding.code != ZRErrors::e_General_NoError) {
        gaizior::LogError("Records::OpenLog(): ", BrandingPath(),
                          ": the names in it cannot be read: ", ErrorText(branding.code));
    }
}

void Records::OpenHistory(std::uint16_t id) {
    const std::string path = PathIn(HistoryFolder(), FileName(id, ".history"), "history");
    if (!path.empty()) {
        const unsigned long lines = Preference(kHistoryLinesPref, kHistoryLines);
        const auto code = m_history.Open(path, static_cast<unsigned>(lines > 0 ? lines : kHistoryLines));
        if (code != ZRErrors::e_General_NoError) {
            std::fprintf(stderr, "imager: no history is kept: %s: %s\n", path.c_str(), ErrorText(code).c_str());
        }
    }
}

void Records::Add(const Exposure& exposure) {
    m_history.Add(exposure); // what fails is logged
    m_prefs.SaveUsrParam(kLastJobPref, exposure.job.c_str(), 0);
    if (!exposure.isSpoiled) {
        m_prefs.SaveUsrParam(kPlatesPref, m_prefs.LoadUsrParam(kPlatesPref, 0UL, 0) + 1, 0);
    }
}

unsigned long Records::Preference(const char* name, unsigned long otherwise) {
    return m_prefs.LoadUsrParam(name, m_prefs.LoadAppParam(name, otherwise), 0);
}

} // namespace apps
