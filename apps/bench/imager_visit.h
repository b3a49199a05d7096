#pragma once

#include "apps/bench/commands.h"
#include "apps/job/imager_client.h"

namespace apps {

/// A visit to an imager that runs, on which bench commands it and leaves it running. Questions and work have IDs of
/// their own, so that an imager at work can be asked, and beside them a 'bench channel send' or 'receive' runs.
class ImagerVisit {
public:
    enum class Purpose {
        kQuestion, ///< is answered at once: while another bench asks, this one waits
        kWork,     ///< takes its time: one at a time
    };

    /// @param options the imager's ID and how long it may be silent
    /// @param purpose what the visit is for
    /// @param interrupt ends every wait; borrowed
    ImagerVisit(const ImagerOptions& options, Purpose purpose, const Interrupt& interrupt);

    /// Looks for the imager and opens the channel.
    /// @returns nothing, or why it cannot be visited; Exit::kNotFound where no imager has that ID.
    Outcome Begin();
    /// Opens the channel for an imager that is only to be started. @returns as above.
    Outcome Open();
    ImagerClient& Client() {
        return m_client;
    }
    /// "imager 101"
    const std::string& Name() const {
        return m_name;
    }
    /// The own communications ID: another one where the imager itself has the usual one.
    std::uint16_t OwnId() const;

private:
    ImagerOptions m_options;
    Purpose m_purpose;
    std::string m_name;
    HANDLE m_hInterrupt; ///< borrowed
    ImagerClient m_client;
};
} // namespace apps
