#include "gaizior/platform/linux/names/named_object.h"
#include "gaizior/platform/linux/system/fork.h"
#include "gaizior/platform/linux/system/last_error.h"

#include <map>
#include <mutex>

#include <sys/mman.h>
#include <sys/stat.h>

namespace gaizior::platform {
namespace {

/// The sizes of what is mapped. A view keeps its memory; the name goes with the last handle, as on Windows.
std::mutex g_viewLock;
std::map<const void*, std::size_t>& Views() {
    static auto* const views = new std::map<const void*, std::size_t>;
    return *views;
}

/// The size to map: what is asked for, or all behind the offset; 0 when the section is shorter than that.
std::size_t ViewSize(const NamedObject& section, std::uint64_t offset, std::size_t size) {
    struct stat status {};
    if (::fstat(section.File(), &status) != 0) {
        return 0;
    }
    const auto length = static_cast<std::uint64_t>(status.st_size);
    if (offset >= length || size > length - offset) {
        return 0;
    }
    return size ? size : static_cast<std::size_t>(length - offset);
}

} // namespace

const ForkPart kViewsForkPart = {[] { g_viewLock.lock(); }, [] { g_viewLock.unlock(); }, [] { g_viewLock.unlock(); }};

} // namespace gaizior::platform

using namespace gaizior::platform;

HANDLE gaizior_windows_api::CreateFileMappingA(HANDLE file, SECURITY_ATTRIBUTES*, DWORD protection, DWORD sizeHigh,
                                               DWORD sizeLow, const char* name) {
    const std::uint64_t size = std::uint64_t{sizeHigh} << 32 | sizeLow;
    if (file != INVALID_HANDLE_VALUE || protection != PAGE_READWRITE || size == 0 || size > INT64_MAX) {
        return FailNull(ERROR_INVALID_PARAMETER);
    }
    bool existed = false;
    auto section = NamedObject::OpenSection(name, NamedObject::Mode::CreateOrOpen, size, existed);
    return NewNamedHandle(Kind::Section, std::move(section), existed);
}

HANDLE gaizior_windows_api::OpenFileMappingA(DWORD, BOOL, const char* name) {
    return OpenNamedHandle(Kind::Section, name);
}

void* gaizior_windows_api::MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T size) {
    const std::shared_ptr<NamedObject> section = NamedOf(mapping, Kind::Section);
    if (!section) {
        return nullptr;
    }
    const std::uint64_t offset = std::uint64_t{offsetHigh} << 32 | offsetLow;
    const std::size_t viewSize = ViewSize(*section, offset, size);
    if (viewSize == 0) {
        return FailNull(ERROR_ACCESS_DENIED);
    }
    const int protection = PROT_READ | (access & FILE_MAP_WRITE ? PROT_WRITE : 0);
    void* const view = ::mmap(nullptr, viewSize, protection, MAP_SHARED, section->File(), static_cast<off_t>(offset));
    if (view == MAP_FAILED) {
        return FailErrnoNull();
    }
    const bool isKept = NoThrow([&] {
        const std::lock_guard lock(g_viewLock);
        Views()[view] = viewSize;
        return true;
    });
    if (!isKept) {
        ::munmap(view, viewSize);
        return nullptr;
    }
    return view;
}

BOOL gaizior_windows_api::UnmapViewOfFile(const void* view) {
    const std::lock_guard lock(g_viewLock);
    const auto found = Views().find(view);
    if (found == Views().end()) {
        return Fail(ERROR_INVALID_ADDRESS);
    }
    ::munmap(const_cast<void*>(view), found->second);
    Views().erase(found);
    return TRUE;
}
