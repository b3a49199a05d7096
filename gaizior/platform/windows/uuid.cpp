#include "gaizior/platform/uuid_call.h"

#include <cstring>

namespace gaizior {

UuidTextErrors WriteUuidText(const GUID& guid, char* text) {
    UUID uuid = guid; // the system takes no constant
    RPC_CSTR made = nullptr;
    if (const RPC_STATUS status = ::UuidToStringA(&uuid, &made); status != RPC_S_OK) {
        return {.made = static_cast<DWORD>(status)};
    }
    std::memcpy(text, made, kUuidTextLength);
    return {.freed = static_cast<DWORD>(::RpcStringFreeA(&made))};
}

} // namespace gaizior
