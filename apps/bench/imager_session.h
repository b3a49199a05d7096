#pragma once

#include "apps/bench/commands.h"
#include "apps/job/imager_client.h"
#include "gaizior/platform/unique_handle.h"

namespace apps {

/// An imager process that bench started, and the channel to it. Whatever happens, both are gone when this is.
class ImagerSession {
public:
    explicit ImagerSession(const ImageOptions& options);
    ~ImagerSession();
    ImagerSession(const ImagerSession&) = delete;
    ImagerSession& operator=(const ImagerSession&) = delete;

    /// Opens the channel, starts the program and waits until it is ready. `hInterrupt` ends this and every wait.
    Outcome Start(HANDLE hInterrupt);
    /// As ImagerClient::Command; a failure names the process. Counts the seconds that the engine needed.
    Outcome Command(const Message& command, const ImagerClient::ProgressHandler& onProgress);
    /// Seconds that all commands together took on the engine, at a real engine's pace.
    double EngineSeconds() const {
        return m_nEngineHundredths / 100.0;
    }
    /// Stops the imager, waits for its end and closes the channel; an imager that does not end is killed, which is a
    /// failure. Does nothing the second time.
    Outcome End();

    DWORD ProcessId() const {
        return m_nProcessId;
    }

private:
    Outcome StartProcess();
    Outcome NamingProcess(Outcome outcome) const;

    ImageOptions m_options;
    std::string m_path;
    ImagerClient m_client;
    gaizior::UniqueHandle m_hProcess;
    DWORD m_nProcessId = 0;
    Hundredths m_nEngineHundredths = 0;
};

} // namespace apps
