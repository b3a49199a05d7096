#include "gaizior/comms/channel.h"

#include "gaizior/comms/channel_objects.h"
#include "gaizior/comms/message_pool.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/fork.h"
#include "gaizior/platform/timing.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace gaizior {
namespace {

using ZRErrors::ZRErrorT;

constexpr DWORD kOpenTimeout = 20000;
constexpr DWORD kPollInterval = 100;
constexpr int kFullPoolRetries = 21;
constexpr int kDrainPolls = 19;

/// An open channel. Calls on several threads share it; it is released when the last of them has left.
class Channel {
public:
    explicit Channel(std::uint16_t ownId) : m_ownId(ownId) {}

    ZRErrorT Open();
    ZRErrorT Send(const char* message, DWORD timeout, std::uint16_t destination);
    ZRErrorT Receive(char* buffer, std::size_t size, DWORD timeout);
    void Close();

private:
    enum class Cycle { Taken, Nothing, TimedOut, Failed };

    void Purge();
    Cycle TryTake(char* buffer, std::size_t size);
    bool TakeLocked(char* buffer, std::size_t size);
    void Drain() const;
    void Dump();
    void DumpSlots() const;
    ZcChannel& Block() const {
        return *m_objects.section.Block();
    }

    const std::uint16_t m_ownId;
    std::atomic<bool> m_bClosed{false};
    ChannelObjects m_objects;
};

ZRErrorT Channel::Open() {
    if (const ZRErrorT error = m_objects.mutex.Create()) {
        return error;
    }
    CrashPoint();
    const ChannelLock lock = m_objects.mutex.Lock("ZcOpenComms", kOpenTimeout);
    if (!lock) {
        return lock.Error();
    }
    CrashPoint();
    m_objects.event = UniqueHandle(::CreateEventA(nullptr, TRUE, FALSE, kChannelEventName));
    if (!m_objects.event) {
        return FailWithLastError("ZcOpenComms", "creating the event", ZRErrors::e_Resource_AllocationFailed);
    }
    CrashPoint();
    if (const ZRErrorT error = m_objects.section.Create()) {
        return error;
    }
    CrashPoint();
    if (!m_objects.section.Existed()) {
        MessagePool::Initialise(Block());
        return ZRErrors::e_General_NoError;
    }
    m_objects.MendIfAbandoned(lock, "ZcOpenComms");
    if (Block().magic != kZcMagic) {
        LogFailure("ZcOpenComms", "the block carries a wrong magic number");
        return ZRErrors::e_Object_BadMagic;
    }
    Purge();
    RecordChannelError(ERROR_ALREADY_EXISTS);
    return ZRErrors::e_General_NoError;
}

/// Throws away what was left for this ID by an earlier run. The opening thread holds the mutex already and takes it
/// again.
void Channel::Purge() {
    ZRDBprintf(kStepLevel, kChannelMode, "Purging messages for destination ID %d%s", m_ownId, kLineEnd);
    const ChannelLock lock = m_objects.Lock("ZcOpenComms", INFINITE);
    char message[kZcMessageSize];
    int count = 0;
    while (TakeLocked(message, sizeof(message))) {
        ZRDBprintf(kStepLevel, kChannelMode, "Message = <%s>%s", message, kLineEnd);
        ++count;
    }
    ZRDBprintf(kStepLevel, kChannelMode, "Purged %d messages for destination ID %d%s", count, m_ownId, kLineEnd);
}

bool Channel::TakeLocked(char* buffer, std::size_t size) {
    MessagePool pool(Block());
    const bool taken = pool.Take(m_ownId, buffer, size);
    LogRepair("ZcReceiveMessage", pool.Report());
    if (taken && pool.IsEmpty()) {
        ::ResetEvent(m_objects.event.Get());
        CrashPoint();
    }
    return taken;
}

ZRErrorT Channel::Send(const char* message, DWORD timeout, std::uint16_t destination) {
    ZRDBprintf(kStepLevel, kChannelMode, "ZcSendMessage: SrcID = %d, DestID = %d, Message = <%s>%s", m_ownId,
               destination, message, kLineEnd);
    for (int retries = 0;;) {
        {
            const ChannelLock lock = m_objects.Lock("ZcSendMessage", timeout);
            if (!lock) {
                return lock.Error();
            }
            MessagePool pool(Block());
            const bool posted = pool.Post(message, destination);
            LogRepair("ZcSendMessage", pool.Report());
            if (posted) {
                break;
            }
        }
        if (timeout != 0) {
            SleepFor(kPollInterval);
        }
        if (timeout == 0 || ++retries == kFullPoolRetries) {
            return FailTimedOut("ZcSendMessage", "all slots are taken");
        }
    }
    CrashPoint();
    ::SetEvent(m_objects.event.Get());
    CrashPoint();
    return ZRErrors::e_General_NoError;
}

/// Counts 100 ms for each cycle although one lasts longer, and sleeps after a take: both space the receivers' polls, a
/// decision of this system.
ZRErrorT Channel::Receive(char* buffer, std::size_t size, DWORD timeout) {
    buffer[0] = 0;
    unsigned long long elapsed = 0;
    const auto isOver = [&] { return timeout != INFINITE && elapsed > timeout; };
    while (!isOver()) {
        if (m_bClosed) {
            return FailNotOpen("ZcReceiveMessage");
        }
        const DWORD announced = WaitFor(m_objects.event.Get(), kPollInterval);
        if (announced != WAIT_OBJECT_0 && announced != WAIT_TIMEOUT) {
            return FailWithLastError("ZcReceiveMessage", "waiting for the event", ZRErrors::e_Command_Aborted);
        }
        while (announced == WAIT_OBJECT_0 && !isOver() && !m_bClosed) {
            const Cycle cycle = TryTake(buffer, size);
            SleepFor(kPollInterval);
            if (cycle == Cycle::Taken) {
                return ZRErrors::e_General_NoError;
            }
            if (cycle != Cycle::Nothing) {
                return cycle == Cycle::TimedOut ? ZRErrors::e_Command_TimedOut : ZRErrors::e_Command_Aborted;
            }
            elapsed += kPollInterval;
        }
        RecordChannelError(WAIT_TIMEOUT);
        elapsed += kPollInterval;
        SleepFor(kPollInterval);
    }
    return FailTimedOut("ZcReceiveMessage", "no message came");
}

Channel::Cycle Channel::TryTake(char* buffer, std::size_t size) {
    const ChannelLock lock = m_objects.Lock("ZcReceiveMessage", kPollInterval);
    if (!lock) {
        return lock.Error() == ZRErrors::e_Command_TimedOut ? Cycle::TimedOut : Cycle::Failed;
    }
    return TakeLocked(buffer, size) ? Cycle::Taken : Cycle::Nothing;
}

void Channel::Close() {
    m_bClosed = true;
    Drain();
    Dump();
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
    int count = 0;
    {
        const ChannelLock lock = m_objects.Lock("ZcCloseComms", INFINITE);
        const ZcChannel& block = Block();
        count = block.nMessages;
        ZRDBprintf(kStepLevel, kChannelMode, "pChan->nMessages:     %d%s", block.nMessages, kLineEnd);
        ZRDBprintf(kStepLevel, kChannelMode, "pChan->start_of_list: %d%s", block.start_of_list, kLineEnd);
        ZRDBprintf(kStepLevel, kChannelMode, "pChan->end_of_list:   %d%s", block.end_of_list, kLineEnd);
        ZRDBprintf(kStepLevel, kChannelMode, "===========================%s", kLineEnd);
        DumpSlots();
    }
    ZRDBprintf(kStepLevel, kChannelMode, "Dumped %d messages%s", count, kLineEnd);
}

/// An empty pool still dumps slot 0, to which its head points.
void Channel::DumpSlots() const {
    const ZcChannel& block = Block();
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
    LogFailure("ZcCloseComms", "the list of messages leads nowhere");
}

std::mutex g_channelLock;
const KeepAcrossFork g_keepChannelLock(g_channelLock);
std::shared_ptr<Channel> g_channel;

std::shared_ptr<Channel> CurrentChannel() {
    const std::lock_guard lock(g_channelLock);
    return g_channel;
}

std::shared_ptr<Channel> ExchangeChannel(std::shared_ptr<Channel> channel) {
    const std::lock_guard lock(g_channelLock);
    g_channel.swap(channel);
    return channel;
}

} // namespace
} // namespace gaizior

using namespace gaizior;

ZRErrors::ZRErrorT ZcOpenComms(unsigned short ownID) {
    if (CurrentChannel()) {
        ZcCloseComms();
    }
    RecordChannelError(ERROR_SUCCESS);
    auto channel = std::make_shared<Channel>(ownID);
    const ZRErrors::ZRErrorT error = channel->Open();
    if (error == ZRErrors::e_General_NoError) {
        ExchangeChannel(std::move(channel));
    }
    return error;
}

ZRErrors::ZRErrorT ZcSendMessage(const char* message, unsigned long timeoutMs, unsigned short destID) {
    const auto channel = CurrentChannel();
    if (!channel) {
        return FailNotOpen("ZcSendMessage");
    }
    if (!message) {
        LogFailure("ZcSendMessage", "there is no message");
        return ZRErrors::e_Command_Aborted;
    }
    return channel->Send(message, ToTimeout(timeoutMs), destID);
}

ZRErrors::ZRErrorT ZcReceiveMessage(char* buffer, unsigned long bufferSize, unsigned long timeoutMs) {
    const auto channel = CurrentChannel();
    if (!channel) {
        return FailNotOpen("ZcReceiveMessage");
    }
    if (!buffer || bufferSize == 0) {
        LogFailure("ZcReceiveMessage", "there is no buffer for a message");
        return ZRErrors::e_Command_Aborted;
    }
    return channel->Receive(buffer, bufferSize, ToTimeout(timeoutMs));
}

void ZcCloseComms() {
    if (const auto channel = ExchangeChannel(nullptr)) {
        channel->Close();
    } else {
        ZRDBprintf(1, kChannelMode, "No Pool to dump messages from!!%s", kLineEnd);
    }
}

unsigned int ZcGetCommsOSError() {
    return ChannelError();
}
