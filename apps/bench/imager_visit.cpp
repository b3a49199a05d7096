#include "apps/bench/imager_visit.h"

#include "apps/bench/channel_look.h"
#include "apps/support/channel_id.h"
#include "apps/support/channel_users.h"

#include <algorithm>
#include <memory>

namespace apps {
namespace {

constexpr std::uint16_t kQuestionId = kServiceId + 1;
constexpr std::uint16_t kWorkId = kServiceId + 2;

DWORD Milliseconds(double seconds) {
    return static_cast<DWORD>(seconds * 1000);
}

} // namespace

ImagerVisit::ImagerVisit(const ImagerOptions& options, Purpose purpose, const Interrupt& interrupt)
    : m_options(options), m_purpose(purpose), m_name("imager " + std::to_string(options.id)),
      m_hInterrupt(interrupt.Event()), m_client(options.id, Milliseconds(options.timeout)) {
    m_client.Watch({nullptr, m_hInterrupt});
}

Outcome ImagerVisit::Begin() {
    const auto look = std::make_unique<Look>();
    Outcome failure = TakeLook(*look, m_hInterrupt, std::min(kLockTimeout, Milliseconds(m_options.timeout)));
    if (failure && failure->exit != Exit::kNotFound) {
        return failure;
    }
    if (failure || !IsIdInUse(m_options.id)) {
        return Fail("ImagerVisit::Begin(): ", kNameNotFound, Exit::kNotFound,
                    "there is no " + m_name + ": --id names another, 'bench imager start" + IdWords(m_options.id) +
                        "' starts one");
    }
    return Open();
}

Outcome ImagerVisit::Open() {
    const bool isQuestion = m_purpose == Purpose::kQuestion;
    Outcome failure = m_client.Open(OwnId(), isQuestion ? Milliseconds(m_options.timeout) : 0);
    if (failure && failure->code == kDeviceBusy) {
        failure->exit = isQuestion ? Exit::kTimedOut : Exit::kFailed;
        const std::optional<ZcUserT> user = FindUser(OwnId());
        failure->text = "communications ID " + std::to_string(OwnId()) + ", under which bench " +
                        (isQuestion ? "asks" : "works") + ", is in use by " +
                        (user ? UserText(*user) : "another process") + ": try again when that has ended";
    }
    return failure;
}

std::uint16_t ImagerVisit::OwnId() const {
    const std::uint16_t usual = m_purpose == Purpose::kQuestion ? kQuestionId : kWorkId;
    return m_options.id == usual ? kServiceId : usual;
}

} // namespace apps
