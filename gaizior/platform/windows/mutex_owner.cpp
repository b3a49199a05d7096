#include "gaizior/platform/mutex_owner.h"

#include "gaizior/platform/unique_handle.h"

#include <array>

namespace gaizior {
namespace {

// What the native call fills, and by which number it is asked for.
struct BasicInformation {
    static constexpr int kClass = 0;
    LONG count; ///< 1 when it is free
    BOOLEAN isMine;
    BOOLEAN isAbandoned;
};
struct OwnerInformation {
    static constexpr int kClass = 1;
    HANDLE process;
    HANDLE thread;
};

using NtQueryMutantT = LONG(WINAPI*)(HANDLE, int, void*, ULONG, ULONG*);

template <typename Information>
bool Query(HANDLE mutex, Information& information) {
    static const auto query = reinterpret_cast<NtQueryMutantT>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "NtQueryMutant")));
    return query && query(mutex, Information::kClass, &information, sizeof(information), nullptr) >= 0;
}

DWORD NumberOf(HANDLE id) {
    return static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(id));
}

std::string ProgramOf(DWORD process) {
    const UniqueHandle handle(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process));
    std::array<char, 1024> path{};
    DWORD size = path.size();
    if (!handle || !::QueryFullProcessImageNameA(handle.Get(), 0, path.data(), &size)) {
        return {};
    }
    const std::string whole(path.data(), size);
    return whole.substr(whole.find_last_of('\\') + 1);
}

} // namespace

bool QueryMutexOwner(HANDLE mutex, MutexOwner& owner) {
    BasicInformation basic{};
    if (!Query(mutex, basic)) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return false;
    }
    owner = {};
    owner.isHeld = basic.count <= 0;
    owner.isAbandoned = !owner.isHeld && basic.isAbandoned;
    OwnerInformation ids{};
    if (owner.isHeld && Query(mutex, ids)) {
        owner.process = NumberOf(ids.process);
        owner.thread = NumberOf(ids.thread);
        owner.program = ProgramOf(owner.process);
    }
    return true;
}

} // namespace gaizior
