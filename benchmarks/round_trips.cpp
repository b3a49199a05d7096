#include "benchmarks/queues.h"
#include "benchmarks/results.h"
#include "benchmarks/shared_folder.h"
#include "benchmarks/signals.h"
#include "benchmarks/subjects.h"
#include "gaizior/comms/channel.h"
#include "gaizior/errors/error_text.h"

#include <stdexcept>
#include <string>

namespace benchmarks {
namespace {

constexpr std::uint16_t kAskerId = 256;
constexpr std::uint16_t kAnswererId = 257;
constexpr unsigned long kTimeout = 10000;

/// Who asks waits for the answer.
template <typename Queue>
struct QueuePair {
    void Ask(const char* text, char* buffer) {
        requests.Send(text);
        replies.Take(buffer);
    }
    void Answer() {
        char buffer[kZcMessageSize];
        requests.Take(buffer);
        replies.Send(buffer);
    }

    Queue requests;
    Queue replies;
};

template <typename Queue>
class QueueTrip {
public:
    explicit QueueTrip(unsigned core) : m_partner(core, [this] { m_queues.Answer(); }) {}
    Batch Play(const std::string& text) {
        return Repeat([this, &text] {
            char buffer[kZcMessageSize];
            m_queues.Ask(text.c_str(), buffer);
            Keep(buffer);
        });
    }

private:
    QueuePair<Queue> m_queues;
    PartnerProcess m_partner;
};

void Check(ZRErrors::ZRErrorT code) {
    if (code != ZRErrors::e_General_NoError) {
        throw std::runtime_error(ZRErrToStr(code));
    }
}

/// The channel as an application has it. The partner is made before this process opens its own, so that it has none to
/// inherit.
class ChannelTrip {
public:
    explicit ChannelTrip(unsigned core) : m_partner(core, [this] { Answer(); }) {
        for (unsigned long waited = 0; !*m_opened; ++waited) {
            if (waited == kTimeout) {
                throw std::runtime_error("the partner has not opened the channel");
            }
            ::Sleep(1);
        }
        Check(::ZcOpenComms(kAskerId));
    }
    ChannelTrip(const ChannelTrip&) = delete;
    ChannelTrip& operator=(const ChannelTrip&) = delete;
    ~ChannelTrip() {
        ::ZcCloseComms();
    }
    Batch Play(const std::string& text) {
        return Repeat([&text] {
            char buffer[kZcMessageSize];
            Check(::ZcSendMessage(text.c_str(), kTimeout, kAnswererId));
            Check(::ZcReceiveMessageAtOnce(buffer, sizeof(buffer), kTimeout));
            Keep(buffer);
        });
    }

private:
    void Answer() {
        Check(::ZcOpenComms(kAnswererId));
        *m_opened = true;
        for (char buffer[kZcMessageSize];;) {
            if (::ZcReceiveMessageAtOnce(buffer, sizeof(buffer), kTimeout) == ZRErrors::e_General_NoError) {
                Check(::ZcSendMessage(buffer, kTimeout, kAskerId));
            }
        }
    }

    SharedFolder m_folder;
    Shared<std::atomic<bool>> m_opened;
    PartnerProcess m_partner;
};

void RoundTripsTo(unsigned core, const char* place) {
    Results::All().SetPlace(place);
    const std::string text(kTextSize, 'x');
    ChannelTrip ours(core);
    QueueTrip<PosixQueue> posix(core);
    QueueTrip<BoostQueue> boost(core);
    Compare("request and reply of 255 bytes, received at once", ours.Play(text),
            {{"POSIX message queues", posix.Play(text), 1.5},
             {"Boost.Interprocess message_queues", boost.Play(text), 1.1}});
}

} // namespace

void RoundTrips() {
    RoundTripsTo(0, "Two processes, both on core 0");
    if (UsableCores() > 1) {
        RoundTripsTo(1, "Two processes, on the cores 0 and 1");
    }
}

} // namespace benchmarks
