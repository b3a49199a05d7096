#pragma once

#include "gaizior/platform/windows_api.h"

#include <string>

namespace apps {

/// How long somebody is waited for. Whoever waits looks for what he awaits first, several times a second, and asks
/// after a look in vain whether his patience is at its end. Where far more time than that has passed between two of his
/// questions, he himself was held up, by Ctrl-Z or with the whole machine: then the other side gets all its time anew.
/// For one thread.
class Patience {
public:
    /// Begins to wait.
    /// @param milliseconds how long, at most
    /// @param now as GetTickCount64 tells, which a suspended machine moves on as well
    explicit Patience(DWORD milliseconds, ULONGLONG now = ::GetTickCount64());

    /// Waits anew: the other side was heard.
    /// @param now as above
    void Renew(ULONGLONG now = ::GetTickCount64());
    /// @param now as above
    /// @returns whether all its time has passed in vain.
    bool IsExhausted(ULONGLONG now = ::GetTickCount64());
    /// @returns "10 s", "0.4 s".
    std::string Text() const;

private:
    DWORD m_nMilliseconds;
    ULONGLONG m_nBegin;
    ULONGLONG m_nAsked; ///< when it was asked last
};

} // namespace apps
