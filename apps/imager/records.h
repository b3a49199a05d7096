#pragma once

#include "apps/imager/engine.h"
#include "apps/support/branding.h"
#include "gaizior/config/history.h"
#include "gaizior/config/prefs.h"
#include "gaizior/logging/log_file.h"

#include <cstdint>
#include <optional>

namespace apps {

/// What an imager leaves for the service engineer: a log file for each weekday, a history of the plates, and what it
/// counts among its preferences. A folder that cannot be made is told on standard error, and so is each line that a log
/// cannot be given; the imager works on without it. One for a process.
class Records {
public:
    /// `id`: the imager's communications ID, which names what it leaves. `verbose`: every log line is kept and goes to
    /// standard error too.
    Records(std::uint16_t id, bool verbose);

    /// Adds a plate to the history and to the count of plates. One thread at a time.
    void Add(const Exposure& exposure);

private:
    /// A log whose header names the system as its maker has branded it.
    class Log : public ZRLogFileC {
    public:
        Log(std::uint16_t id, const Branding& branding, bool tee);

    protected:
        const char* GetExtraHeaderInfo() override {
            return m_about.c_str();
        }

    private:
        std::string m_about;
    };
    class History : public ZRHistoryC {
    public:
        ZRErrors::ZRErrorT Open(const std::string& path, unsigned maxLines);
        ZRErrors::ZRErrorT Add(const Exposure& exposure);
    };

    void OpenLog(std::uint16_t id, bool verbose);
    void OpenHistory(std::uint16_t id);
    /// The user's preference, or else the machine's, or else `otherwise`.
    unsigned long Preference(const char* name, unsigned long otherwise);

    std::string m_part;
    CZRPrefs m_prefs;
    std::optional<Log> m_log;
    History m_history;
};

} // namespace apps
