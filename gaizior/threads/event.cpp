#include "gaizior/threads/event.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/timing.h"

namespace {

void Describe(std::ostream& log, DWORD waited, ZRErrors::ZRErrorT error) {
    switch (waited) {
    case WAIT_OBJECT_0:
        log << " is valid AND signalled.";
        break;
    case WAIT_OBJECT_0 + 1: // how the waits of a thread say that it is to end
        log << " is valid AND ZRThreadC::EndEvent is signalled.";
        break;
    case WAIT_ABANDONED:
    case WAIT_TIMEOUT:
        log << " is valid but NOT signalled.";
        break;
    default:
        log << " is invalid: " << gaizior::CodeText(error);
    }
}

} // namespace

ZREventC::ZREventC(void* handle) : m_hEvent(handle) {}

ZREventC::~ZREventC() = default;

int ZREventC::IsEventValid(void* handle) {
    return handle ? 1 : 0;
}

int ZREventC::IsEventValid() const {
    return IsEventValid(m_hEvent);
}

int ZREventC::IsEventSignalled(void* handle, unsigned long* const result, unsigned long timeout,
                               std::ostream* const log) {
    const DWORD waited = gaizior::WaitFor(handle, gaizior::ToTimeout(timeout));
    if (result) {
        *result = waited;
    }
    if (log) {
        const gaizior::ErrorKeeper keeper;
        const ZRErrors::ZRErrorT error = gaizior::LastSystemError(); // before the stream is written to
        *log << "ZREventC::IsEventSignalled(): Event:" << static_cast<const void*>(handle);
        Describe(*log, waited, error);
    }
    return waited != WAIT_TIMEOUT ? 1 : 0;
}

int ZREventC::IsEventSignalled(unsigned long* const result, unsigned long timeout, std::ostream* const log) const {
    return IsEventSignalled(m_hEvent, result, timeout, log);
}
