#include "apps/bench/imager_session.h"

#include "apps/bench/imager_program.h"
#include "apps/support/file_error.h"
#include "gaizior/comms/channel_block.h"
#include "gaizior/errors/folded_code.h"

#include <cstdio>

namespace apps {
namespace {

constexpr DWORD kTimeToEnd = 5000;

} // namespace

ImagerSession::ImagerSession(const ImageOptions& options)
    : m_options(options),
      m_client(static_cast<std::uint16_t>(options.id + 1), static_cast<DWORD>(options.timeout * 1000)) {}

ImagerSession::~ImagerSession() {
    if (const Outcome failure = End()) {
        std::fprintf(stderr, "bench: %s\n", failure->text.c_str());
    }
}

Outcome ImagerSession::Start(HANDLE hInterrupt) {
    constexpr const char* kFunction = "ImagerSession::Start(): ";
    if (Outcome failure = FindImager(m_options.imager, m_path)) {
        return failure;
    }
    m_client.Watch({nullptr, hInterrupt});
    if (Outcome failure = m_client.Open(m_options.id)) {
        return failure;
    }
    if (CountWaiting(m_options.id).forAnybody >= kZcSlotCount) {
        return SendFailure(kFunction, ZRErrors::e_Command_TimedOut, m_options.id);
    }
    if (Outcome failure = StartProcess()) {
        return failure;
    }
    m_client.Watch({m_hProcess.Get(), hInterrupt});
    return NamingProcess(m_client.WaitUntilReady());
}

Outcome ImagerSession::StartProcess() {
    std::string command = "\"" + m_path + "\" --id " + std::to_string(m_options.id + 1) + " --client-id " +
                          std::to_string(m_options.id) + " --client-process " +
                          std::to_string(::GetCurrentProcessId()) + " --speed " + SpeedWord(m_options.speed) +
                          (m_options.verbose ? " --verbose" : "");
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    // In a group of its own, so that Ctrl-C reaches bench alone, which then ends the imager in order.
    if (!::CreateProcessA(m_path.c_str(), command.data(), nullptr, nullptr, TRUE, CREATE_NEW_PROCESS_GROUP, nullptr,
                          nullptr, &startup, &process)) {
        const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
        return Fail("ImagerSession::StartProcess(): ", code, Exit::kFailed,
                    m_path + ": the imager cannot be started: " + FileErrorText(code, m_path) +
                        ": check that it is a program for this system");
    }
    ::CloseHandle(process.hThread);
    m_hProcess = gaizior::UniqueHandle(process.hProcess);
    m_nProcessId = process.dwProcessId;
    return std::nullopt;
}

Outcome ImagerSession::Command(const Message& command, const ImagerClient::ProgressHandler& onProgress) {
    Message reply;
    Outcome failure = m_client.Command(command, reply, onProgress);
    if (!failure) {
        m_nEngineHundredths += ParseHundredths(FindParameter(reply.text, "seconds")).value_or(0);
    }
    return NamingProcess(std::move(failure));
}

Outcome ImagerSession::End() {
    Outcome outcome;
    if (m_hProcess) {
        if (!IsSignalled(m_hProcess.Get()) && !m_client.StopAndWait(kTimeToEnd)) {
            ::TerminateProcess(m_hProcess.Get(), static_cast<UINT>(Exit::kFailed));
            ::WaitForSingleObject(m_hProcess.Get(), kTimeToEnd);
            outcome = Fail("ImagerSession::End(): ", ZRErrors::e_Command_TimedOut, Exit::kTimedOut,
                           "the imager (process " + std::to_string(m_nProcessId) + ") did not end within " +
                               std::to_string(kTimeToEnd / 1000) + " s and was killed");
        }
        m_hProcess = gaizior::UniqueHandle();
    }
    m_client.Close();
    return outcome;
}

Outcome ImagerSession::NamingProcess(Outcome outcome) const {
    if (outcome && outcome->code != kUserAborted) {
        outcome->text = m_path + " (process " + std::to_string(m_nProcessId) + "): " + outcome->text;
    }
    return outcome;
}

} // namespace apps
