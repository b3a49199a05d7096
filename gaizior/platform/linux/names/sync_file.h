#pragma once

#include "gaizior/platform/linux/names/robust_mutex.h"
#include "gaizior/platform/linux/names/shared_event.h"

#include <cstddef>
#include <type_traits>

namespace gaizior::platform {

/// What the file of a named event or mutex begins with. It is written last: a file without it is no such file yet.
struct SyncHeader {
    static constexpr char kMagic[16] = "gaizior object\0";
    static constexpr std::uint32_t kVersion = 1;

    char magic[16];
    std::uint32_t version;
    std::uint32_t size;
    std::uint32_t kind;
};

/// All of that file. Processes of different makes meet here: a change of it is a new version.
struct SyncFile {
    SyncHeader header;
    SharedEvent event;
    std::uint32_t reserved[7];
    RobustMutex mutex;
    unsigned char unused[64 - sizeof(RobustMutex)];
};
static_assert(std::is_standard_layout_v<SyncFile> && sizeof(SyncFile) == 128);
static_assert(offsetof(SyncFile, event) == 28 && offsetof(SyncFile, mutex) == 64);

/// Whether this is the file of an event or a mutex, of whichever make; then its header is read.
bool ReadHeader(int file, SyncHeader& header);

} // namespace gaizior::platform
