#include "gaizior/platform/section.h"

#include "gaizior/platform/linux/names/named_object.h"
#include "gaizior/platform/linux/system/fork.h"
#include "gaizior/platform/linux/system/last_error.h"
#include "gaizior/platform/linux/system/suspension.h"

#include <cstddef>
#include <map>
#include <optional>

#include <sys/mman.h>
#include <sys/stat.h>

namespace gaizior::platform {
namespace {

/// The sizes of what is mapped. A view keeps its memory; the name goes with the last handle, as on Windows.
Mutex g_viewLock;
std::map<const std::byte*, std::size_t>& Views() GAIZIOR_REQUIRES(g_viewLock) {
    static auto* const views = new std::map<const std::byte*, std::size_t>;
    return *views;
}

/// A section and its views end with a page, as on Windows, whose views moreover begin at a multiple of 64 KiB.
constexpr std::uint64_t kPage = 4096;
constexpr std::uint64_t kOffsetStep = 65536;
constexpr std::uint64_t RoundUp(std::uint64_t size) {
    return (size + kPage - 1) / kPage * kPage;
}

/// How many bytes a file has. @returns nothing, with the last error set, when that cannot be told.
std::optional<std::uint64_t> SizeOf(const NamedObject& section) {
    struct stat status {};
    if (::fstat(section.File(), &status) != 0) {
        FailErrno();
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(status.st_size);
}

/// Makes `size` what is to be mapped for so many bytes from the offset, or all behind it where it is 0. @returns false
/// with the last error set when the section does not hold that.
bool FitView(const NamedObject& section, std::uint64_t offset, std::size_t& size) {
    const std::optional<std::uint64_t> length = SizeOf(section);
    if (!length) {
        return false;
    }
    if (offset >= *length) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const std::uint64_t rest = RoundUp(*length) - offset;
    if (size > rest) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    size = size ? RoundUp(size) : rest;
    return true;
}

/// What a view with this access may do, and what it must be allowed.
struct Rights {
    int protection;
    std::uint64_t wanted;
};
Rights RightsOf(DWORD access) {
    if (access & FILE_MAP_WRITE) {
        return {PROT_READ | PROT_WRITE, kMayWrite};
    }
    return {access & FILE_MAP_READ ? PROT_READ : PROT_NONE, kMayRead};
}

/// Memory that has a handle, but no name.
HANDLE NewUnnamedSection(std::size_t size) {
    return NoThrow([&]() -> HANDLE {
        NameFile file(UniqueFd(::memfd_create("gaizior section", MFD_CLOEXEC)), {});
        if (file.Descriptor() < 0) {
            return FailErrnoNull();
        }
        if (!file.Resize(size)) {
            return nullptr;
        }
        const HANDLE handle = NewNamedHandle(Kind::Section, std::make_shared<NamedObject>(std::move(file)), kMayAll);
        if (handle) {
            ::SetLastError(ERROR_SUCCESS);
        }
        return handle;
    });
}

} // namespace

const ForkPart kViewsForkPart = {
    []() GAIZIOR_ACQUIRE(g_viewLock) { g_viewLock.Lock(); },
    []() GAIZIOR_RELEASE(g_viewLock) { g_viewLock.Unlock(); },
    []() GAIZIOR_RELEASE(g_viewLock) { g_viewLock.Unlock(); },
};

} // namespace gaizior::platform

using namespace gaizior::platform;

HANDLE gaizior_windows_api::CreateFileMappingA(HANDLE file, SECURITY_ATTRIBUTES*, DWORD protection, DWORD sizeHigh,
                                               DWORD sizeLow, const char* name) {
    const std::uint64_t size = std::uint64_t{sizeHigh} << 32 | sizeLow;
    if (file != INVALID_HANDLE_VALUE || protection != PAGE_READWRITE || size == 0 || size > INT64_MAX) {
        return FailNull(ERROR_INVALID_PARAMETER);
    }
    return name && *name ? CreateNamedHandle(Kind::Section, name, {size, 0}, kMayAll) : NewUnnamedSection(size);
}

HANDLE gaizior_windows_api::OpenFileMappingA(DWORD access, BOOL, const char* name) {
    return OpenNamedHandle(Kind::Section, name,
                           (access & FILE_MAP_READ ? kMayRead : 0) | (access & FILE_MAP_WRITE ? kMayWrite : 0));
}

void* gaizior_windows_api::MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T size) {
    const std::uint64_t offset = std::uint64_t{offsetHigh} << 32 | offsetLow;
    if (offset % kOffsetStep != 0) {
        return FailNull(ERROR_MAPPED_ALIGNMENT);
    }
    const Rights rights = RightsOf(access);
    const std::shared_ptr<NamedObject> section = NamedOf(mapping, Kind::Section, rights.wanted);
    if (!section || !FitView(*section, offset, size)) {
        return nullptr;
    }
    void* const view =
        ::mmap(nullptr, size, rights.protection, MAP_SHARED, section->File(), static_cast<off_t>(offset));
    if (view == MAP_FAILED) {
        return FailErrnoNull();
    }
    const bool isKept = NoThrow([&] {
        const LayerLock lock(g_viewLock);
        Views()[static_cast<std::byte*>(view)] = size;
        return true;
    });
    if (!isKept) {
        ::munmap(view, size);
        return nullptr;
    }
    return view;
}

BOOL gaizior_windows_api::UnmapViewOfFile(const void* view) {
    const LayerLock lock(g_viewLock);
    auto found = Views().upper_bound(static_cast<const std::byte*>(view));
    if (found == Views().begin() || static_cast<const std::byte*>(view) >= (--found)->first + found->second) {
        return Fail(ERROR_INVALID_ADDRESS);
    }
    ::munmap(const_cast<std::byte*>(found->first), found->second);
    Views().erase(found);
    return TRUE;
}

void* gaizior::MapWhole(HANDLE section, SIZE_T size) {
    const std::shared_ptr<NamedObject> named = NamedOf(section, Kind::Section);
    const std::optional<std::uint64_t> length = named ? SizeOf(*named) : std::nullopt;
    if (!length) {
        return nullptr;
    }
    if (*length != size) {
        return FailNull(*length < size ? ERROR_ACCESS_DENIED : ERROR_FILE_INVALID);
    }
    return ::MapViewOfFile(section, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, size);
}
