#include "gaizior/comms/channel.h"

#include "gaizior/comms/channel_objects.h"
#include "gaizior/comms/channel_users.h"
#include "gaizior/comms/message_pool.h"
#include "gaizior/comms/wake_events.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/fork.h"
#include "gaizior/platform/timing.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <vector>

namespace gaizior {
namespace {

using ZRErrors::ZRErrorT;

constexpr DWORD kOpenTimeout = 20000;
constexpr DWORD kPollInterval = 100;
constexpr int kFullPoolRetries = 21;
constexpr int kDrainPolls = 19;
constexpr const char* kReceive = "ZcReceiveMessage";
constexpr const char* kReceiveAtOnce = "ZcReceiveMessageAtOnce";

std::atomic<unsigned> g_purged{0}; ///< by the last open that succeeded

/// A receive times out all the time: that is no failure to be told.
ZRErrorT TellReceiver(const char* function, const ChannelFailure& failure) {
    const bool hasTimedOut = failure.code == ZRErrors::e_Command_TimedOut;
    return Tell(function, failure, hasTimedOut ? kStepLevel : kFailureLevel);
}

/// What is left of a time-out.
class Patience {
public:
    explicit Patience(DWORD timeout) : m_nTimeout(timeout) {}

    DWORD Left() const {
        if (m_nTimeout == INFINITE) {
            return INFINITE;
        }
        const ULONGLONG elapsed = TickCount() - m_nStart;
        return elapsed < m_nTimeout ? static_cast<DWORD>(m_nTimeout - elapsed) : 0;
    }

private:
    const DWORD m_nTimeout;
    const ULONGLONG m_nStart = TickCount();
};

/// An empty pool still dumps slot 0, to which its head points.
void DumpSlots(const ZcChannel& block) {
    std::uint16_t i = block.start_of_list;
    for (int steps = 0; steps < kZcSlotCount && i < kZcSlotCount; ++steps) {
        const ZcMessageSlot& slot = block.slots[i];
        ZRDBprintf(kStepLevel, kChannelMode, "DestID=%d, Taken=%d, Msg=<%.255s>%s", slot.dest_id,
                   static_cast<int>(slot.taken), slot.msg, kLineEnd);
        if (slot.self == block.end_of_list) {
            return;
        }
        i = slot.next;
    }
    Refuse("ZcCloseComms", "the list of messages leads nowhere");
}

/// An open channel. Calls on several threads share it; it is released when the last of them has left.
class Channel {
public:
    explicit Channel(std::uint16_t ownId) : m_ownId(ownId), m_wakes(ownId) {}

    ZRErrorT Open();
    ZRErrorT Send(const char* message, DWORD timeout, std::uint16_t destination);
    ZRErrorT Receive(char* buffer, std::size_t size, DWORD timeout);
    ZRErrorT ReceiveAtOnce(char* buffer, std::size_t size, DWORD timeout);
    /// Waits for the pool to drain and tells what is left, while others may go on; then ends their receives. Where
    /// another thread is at it, waits for that.
    void Close();

private:
    using Texts = std::vector<std::array<char, kZcMessageSize>>;

    ChannelFailure OpenLocked(Texts& purged);
    ChannelFailure TryPost(const char* message, DWORD timeout, std::uint16_t destination, bool& posted);
    ChannelFailure TryTake(const char* function, char* buffer, std::size_t size, bool& taken);
    void Drain() const;
    void Dump();
    ChannelFailure CopyBlock();
    ZcChannel& Block() const {
        return *m_objects.section.Block();
    }

    const std::uint16_t m_ownId;
    std::atomic<std::uint64_t> m_closer{0}; ///< process and thread; 0 for none
    std::atomic<bool> m_bClosed{false};
    ChannelObjects m_objects;
    WakeEvents m_wakes;
    ZcChannel m_left; ///< what Close tells: made with the channel, so that closing needs no memory
};

ZRErrorT Channel::Open() {
    Texts purged;
    if (const ChannelFailure failure = OpenLocked(purged)) {
        return Tell("ZcOpenComms", failure);
    }
    m_wakes.Open("ZcOpenComms");
    m_wakes.WakeOwn(); // what was posted since the purge found no event
    g_purged = static_cast<unsigned>(purged.size());
    if (m_objects.section.Existed()) {
        ZRDBprintf(kStepLevel, kChannelMode, "Purging messages for destination ID %d%s", m_ownId, kLineEnd);
        for (const Texts::value_type& message : purged) {
            ZRDBprintf(kStepLevel, kChannelMode, "Message = <%s>%s", message.data(), kLineEnd);
        }
        ZRDBprintf(kStepLevel, kChannelMode, "Purged %d messages for destination ID %d%s",
                   static_cast<int>(purged.size()), m_ownId, kLineEnd);
    }
    return ZRErrors::e_General_NoError;
}

/// Opens or makes the objects and throws away what was left for this ID by an earlier run.
ChannelFailure Channel::OpenLocked(Texts& purged) {
    if (const ChannelFailure failure = m_objects.mutex.Create()) {
        return failure;
    }
    CrashPoint();
    m_objects.ledger.Join("ZcOpenComms", m_ownId); // before the mutex, so that a wait for it is seen
    ChannelLock lock = m_objects.OpenAndLock("ZcOpenComms", kOpenTimeout);
    if (!lock) {
        return lock.Failure();
    }
    CrashPoint();
    if (const ChannelFailure failure = m_objects.CreateMissing()) {
        return failure;
    }
    if (!m_objects.section.Existed()) {
        MessagePool::Initialise(Block());
        return {};
    }
    m_objects.MendIfAbandoned(lock);
    if (Block().magic != kZcMagic) {
        return {ZRErrors::e_Object_BadMagic, "the block carries a wrong magic number"};
    }
    purged.reserve(kZcSlotCount); // before the first is taken: without memory they all stay
    for (Texts::value_type message; m_objects.Take(lock, m_ownId, message.data(), message.size());) {
        purged.push_back(message);
    }
    if (!MessagePool(Block()).IsEmpty()) {
        ::SetEvent(m_objects.event.Get()); // a sender that died behind its post has not announced it
    }
    return {};
}

ZRErrorT Channel::Send(const char* message, DWORD timeout, std::uint16_t destination) {
    ZRDBprintf(kStepLevel, kChannelMode, "ZcSendMessage: SrcID = %d, DestID = %d, Message = <%s>%s", m_ownId,
               destination, message, kLineEnd);
    bool posted = false;
    for (int retries = 0;;) {
        if (const ChannelFailure failure = TryPost(message, timeout, destination, posted)) {
            return Tell("ZcSendMessage", failure);
        }
        if (posted) {
            break;
        }
        if (timeout != 0) {
            SleepFor(kPollInterval);
        }
        if (timeout == 0 || ++retries == kFullPoolRetries) {
            return Tell("ZcSendMessage", TimedOut("all slots are taken"));
        }
    }
    CrashPoint();
    ::SetEvent(m_objects.event.Get());
    CrashPoint();
    m_wakes.Wake("ZcSendMessage", destination);
    CrashPoint();
    return ZRErrors::e_General_NoError;
}

ChannelFailure Channel::TryPost(const char* message, DWORD timeout, std::uint16_t destination, bool& posted) {
    ChannelLock lock = m_objects.Lock("ZcSendMessage", timeout);
    if (!lock) {
        return lock.Failure();
    }
    MessagePool pool(Block());
    const std::optional<std::uint16_t> slot = pool.Post(message, destination);
    posted = slot.has_value();
    if (slot) {
        m_objects.ledger.NotePost(*slot, Block().slots[*slot]);
    }
    lock.NoteRepair(pool.Report());
    return {};
}

/// Counts 100 ms for each cycle although one lasts longer, and sleeps after a take: both space the receivers' polls, a
/// decision of this system.
ZRErrorT Channel::Receive(char* buffer, std::size_t size, DWORD timeout) {
    unsigned long long elapsed = 0;
    const auto isOver = [&] { return timeout != INFINITE && elapsed > timeout; };
    while (!isOver()) {
        if (m_bClosed) {
            return TellReceiver(kReceive, NotOpen());
        }
        const DWORD announced = WaitFor(m_objects.event.Get(), kPollInterval);
        if (announced != WAIT_OBJECT_0 && announced != WAIT_TIMEOUT) {
            return TellReceiver(kReceive, FailedWithLastError("waiting for the event", ZRErrors::e_Command_Aborted));
        }
        while (announced == WAIT_OBJECT_0 && !isOver() && !m_bClosed) {
            bool taken = false;
            const ChannelFailure failure = TryTake(kReceive, buffer, size, taken);
            SleepFor(kPollInterval);
            if (failure) {
                return TellReceiver(kReceive, failure);
            }
            if (taken) {
                return ZRErrors::e_General_NoError;
            }
            elapsed += kPollInterval;
        }
        RecordChannelError(WAIT_TIMEOUT);
        elapsed += kPollInterval;
        SleepFor(kPollInterval);
    }
    return TellReceiver(kReceive, TimedOut("no message came"));
}

/// What there is has set the event, and a look into the pool costs more than one at the event: so that comes first. A
/// look every 100 ms finds what nobody announced.
ZRErrorT Channel::ReceiveAtOnce(char* buffer, std::size_t size, DWORD timeout) {
    const Patience patience(timeout);
    DWORD wait = m_wakes.HasOwn() ? std::min(timeout, kPollInterval) : 0;
    while (!m_bClosed) {
        const bool isWoken = m_wakes.Wait(kReceiveAtOnce, wait);
        bool taken = false;
        ChannelFailure failure = TryTake(kReceiveAtOnce, buffer, size, taken);
        if (taken) {
            return ZRErrors::e_General_NoError;
        }
        if (failure && isWoken) {
            m_wakes.WakeOwn(); // what is there is still to be looked for
        } else if (isWoken) {
            m_wakes.ResetOwn();
        }
        const DWORD left = patience.Left();
        if (left == 0 && !failure) {
            failure = TimedOut("no message came");
        }
        if (failure && (left == 0 || failure.code != ZRErrors::e_Command_TimedOut)) {
            return TellReceiver(kReceiveAtOnce, failure);
        }
        wait = isWoken ? 0 : std::min(left, kPollInterval); // after a reset what was posted meanwhile is to be found
    }
    return TellReceiver(kReceiveAtOnce, NotOpen());
}

ChannelFailure Channel::TryTake(const char* function, char* buffer, std::size_t size, bool& taken) {
    bool hasMore = false;
    {
        ChannelLock lock = m_objects.Lock(function, kPollInterval);
        if (!lock) {
            return lock.Failure();
        }
        taken = m_objects.Take(lock, m_ownId, buffer, size);
        hasMore = taken && MessagePool(Block()).HasFor(m_ownId);
    }
    if (hasMore) {
        CrashPoint();
        m_wakes.WakeOwn(); // two posts may have come to one wake, and there may be another receiver
        CrashPoint();
    }
    return {};
}

/// A child that is forked meanwhile closes for itself, and a callback of the host's that closes what is being closed on
/// its thread changes nothing.
void Channel::Close() {
    constexpr int kProcess = 32;
    const std::uint64_t self = std::uint64_t{::GetCurrentProcessId()} << kProcess | ::GetCurrentThreadId();
    std::uint64_t closer = m_closer;
    while (closer >> kProcess != self >> kProcess) {
        if (m_closer.compare_exchange_weak(closer, self)) {
            Drain();
            Dump();
            m_bClosed = true;
            return;
        }
    }
    while (closer != self && !m_bClosed) {
        SleepFor(kPollInterval);
    }
}

/// The count is read without the mutex: a wrong glance only shortens or lengthens the wait.
void Channel::Drain() const {
    std::atomic_ref<std::uint16_t> count(Block().nMessages);
    for (int polls = 0; polls < kDrainPolls && count.load(std::memory_order_relaxed) > 0; ++polls) {
        SleepFor(kPollInterval);
    }
}

void Channel::Dump() {
    ZRDBprintf(kStepLevel, kChannelMode, "Dumping messages%s", kLineEnd);
    if (const ChannelFailure failure = CopyBlock()) {
        Tell("ZcCloseComms", failure);
        return;
    }
    ZRDBprintf(kStepLevel, kChannelMode, "pChan->nMessages:     %d%s", m_left.nMessages, kLineEnd);
    ZRDBprintf(kStepLevel, kChannelMode, "pChan->start_of_list: %d%s", m_left.start_of_list, kLineEnd);
    ZRDBprintf(kStepLevel, kChannelMode, "pChan->end_of_list:   %d%s", m_left.end_of_list, kLineEnd);
    ZRDBprintf(kStepLevel, kChannelMode, "===========================%s", kLineEnd);
    DumpSlots(m_left);
    ZRDBprintf(kStepLevel, kChannelMode, "Dumped %d messages%s", m_left.nMessages, kLineEnd);
}

ChannelFailure Channel::CopyBlock() {
    const ChannelLock lock = m_objects.Lock("ZcCloseComms", INFINITE);
    if (lock) {
        std::memcpy(&m_left, &Block(), sizeof(m_left));
    }
    return lock.Failure();
}

Mutex g_channelLock;
const KeepAcrossFork g_keepChannelLock(g_channelLock);
std::shared_ptr<Channel> g_channel GAIZIOR_GUARDED_BY(g_channelLock);

std::shared_ptr<Channel> CurrentChannel() {
    const MutexLock lock(g_channelLock);
    return g_channel;
}

/// @returns what another thread has opened meanwhile.
std::shared_ptr<Channel> ExchangeChannel(std::shared_ptr<Channel> channel) {
    const MutexLock lock(g_channelLock);
    g_channel.swap(channel);
    return channel;
}

/// Another thread may have opened the next one already.
void Forget(const std::shared_ptr<Channel>& channel) {
    const MutexLock lock(g_channelLock);
    if (g_channel == channel) {
        g_channel = nullptr;
    }
}

using ReceiveT = ZRErrorT (Channel::*)(char*, std::size_t, DWORD);

ZRErrorT ReceiveBy(ReceiveT receive, const char* function, char* buffer, unsigned long size, unsigned long timeout) {
    const bool hasRoom = buffer && size != 0;
    if (hasRoom) {
        buffer[0] = 0;
    }
    const auto channel = CurrentChannel();
    if (!channel) {
        return Tell(function, NotOpen());
    }
    if (!hasRoom) {
        return Refuse(function, "there is no buffer for a message");
    }
    return (*channel.*receive)(buffer, size, ToTimeout(timeout));
}

} // namespace
} // namespace gaizior

using namespace gaizior;

ZRErrors::ZRErrorT ZcOpenComms(unsigned short ownID) try {
    if (CurrentChannel()) {
        ZcCloseComms();
    }
    RecordChannelError(ERROR_SUCCESS);
    auto channel = std::make_shared<Channel>(ownID);
    const ZRErrors::ZRErrorT error = channel->Open();
    if (error != ZRErrors::e_General_NoError) {
        return error;
    }
    if (const auto displaced = ExchangeChannel(std::move(channel))) {
        displaced->Close();
    }
    return ZRErrors::e_General_NoError;
} catch (const std::bad_alloc&) {
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return Tell("ZcOpenComms",
                FailedWithLastError("finding memory for the channel", ZRErrors::e_Resource_AllocationFailed));
}

ZRErrors::ZRErrorT ZcSendMessage(const char* message, unsigned long timeoutMs, unsigned short destID) {
    const auto channel = CurrentChannel();
    if (!channel) {
        return Tell("ZcSendMessage", NotOpen());
    }
    if (!message) {
        return Refuse("ZcSendMessage", "there is no message");
    }
    return channel->Send(message, ToTimeout(timeoutMs), destID);
}

ZRErrors::ZRErrorT ZcReceiveMessage(char* buffer, unsigned long bufferSize, unsigned long timeoutMs) {
    return ReceiveBy(&Channel::Receive, kReceive, buffer, bufferSize, timeoutMs);
}

ZRErrors::ZRErrorT ZcReceiveMessageAtOnce(char* buffer, unsigned long bufferSize, unsigned long timeoutMs) {
    return ReceiveBy(&Channel::ReceiveAtOnce, kReceiveAtOnce, buffer, bufferSize, timeoutMs);
}

void ZcCloseComms() {
    if (const auto channel = CurrentChannel()) {
        channel->Close();
        Forget(channel);
    } else {
        ZRDBprintf(1, kChannelMode, "No Pool to dump messages from!!%s", kLineEnd);
    }
}

unsigned int ZcGetPurgedCount() {
    return g_purged;
}

unsigned int ZcGetCommsOSError() {
    return ChannelError();
}
