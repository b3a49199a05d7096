#pragma once

/// @file
/// The channel seen and mended from outside, for service tools.

#include "gaizior/comms/channel_block.h"
#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

#include <memory>

/// What an examination of a channel's block found.
struct ZcFindingsT {
    unsigned short nQueued;               ///< messages reached by following the list from its start
    unsigned short anOrder[kZcSlotCount]; ///< their slots, oldest first
    unsigned short nTaken;                ///< slots that are marked as taken
    char szDamage[256];                   ///< what is wrong, in words; empty when the block is consistent
};

/// Who has the channel's mutex. What the system does not tell is 0 or empty.
struct ZcHolderT {
    int bHeld;             ///< 1 while a thread holds it, else 0
    int bAbandoned;        ///< 1 when its last owner died and nobody has taken it over yet, else 0
    unsigned int nProcess; ///< the owner's process
    unsigned int nThread;  ///< and thread
    long long nSince;      ///< when it was taken, in ms since 1970 UTC
    char szProgram[64];    ///< the process's program, without its path
};

extern "C" {

/// Copies the machine's block into `block` under its mutex without taking part in the channel: no ID is registered and
/// nothing is purged. Waits up to `timeoutMs` for the mutex. When that came from an owner that had died the block was
/// put in order first: what was found and done is then told in `report` of `size` bytes, cut to fit; else it is empty.
/// Null asks for none. Any thread.
/// @returns 0
///   - e_Resource_AllocationFailed when no process has the channel open (ZcGetCommsOSError tells 2), or when its mutex
///     or event cannot be opened
///   - e_File_MappingFailed when the block is just going or cannot be mapped
///   - e_Object_BadMagic when the block, which is copied all the same, is not a channel's
///   - e_Command_TimedOut; e_Command_Aborted when a wait failed or `block` is null
GAIZIOR_API ZRErrors::ZRErrorT ZcSnapshot(ZcChannel* block, unsigned long timeoutMs, char* report = nullptr,
                                          unsigned long size = 0);

/// Checks a copy of a block and lists what is queued in it. No index in the block is trusted. Any thread.
/// @returns 0 when it is consistent
///   - e_Object_InvalidData when it is damaged; `findings` then holds what could be found
///   - e_Command_Aborted when an argument is null
GAIZIOR_API ZRErrors::ZRErrorT ZcExamine(const ZcChannel* block, ZcFindingsT* findings);

/// Tells who has the machine's channel locked at this moment, without waiting for the mutex or taking it. Any thread.
/// @returns 0
///   - e_Resource_AllocationFailed when no process has the channel open (ZcGetCommsOSError tells 2), or when its mutex
///     cannot be opened
///   - e_Command_Aborted when the system cannot tell or `holder` is null
GAIZIOR_API ZRErrors::ZRErrorT ZcQueryHolder(ZcHolderT* holder);

/// Puts the machine's block in order if it is damaged; a consistent one stays as it is, byte for byte. Waits up to
/// `timeoutMs` for the mutex. What was found and done, and what the takeover from a dead owner found, is told in
/// `report` of `size` bytes, cut to fit; else it is empty. Any thread.
/// @returns as ZcSnapshot, and e_Command_Aborted when `report` is null or `size` is 0. A block that is not a channel's
///   stays as it is.
GAIZIOR_API ZRErrors::ZRErrorT ZcRepair(char* report, unsigned long size, unsigned long timeoutMs);

/// Takes the oldest messages for an ID out of the machine's block without taking part in the channel: for an ID that
/// nobody has any more, since whoever has it loses them. Any thread.
/// @param id whose messages
/// @param timeoutMs how long to wait for the mutex, in ms; 0xFFFFFFFF and more wait for ever
/// @param messages room for `count` texts, NUL-terminated; the caller's. Null with a count of 0.
/// @param count the most to take, 0 to 4294967295; kZcSlotCount are all that there can be
/// @param taken receives how many there were; 0 after a failure
/// @returns as ZcRepair; e_Command_Aborted also when `taken` is null, or `messages` is and `count` is not 0
GAIZIOR_API ZRErrors::ZRErrorT ZcPurge(unsigned short id, unsigned long timeoutMs, char (*messages)[kZcMessageSize],
                                       unsigned int count, unsigned int* taken);
}

/// Looks at the machine's block time and again at little cost: it keeps the channel's objects from one look to the
/// next, and all viewers of the machine let go of them at the same time, a twentieth of every second. So who looks
/// often notices within a second that all who had the channel open have closed it, however many look. Until the next
/// look, or its end, a viewer may keep a block that nobody else has. For one thread at a time.
class GAIZIOR_API ZcViewerC {
public:
    /// Throws std::bad_alloc.
    ZcViewerC();
    ZcViewerC(const ZcViewerC&) = delete;
    ZcViewerC& operator=(const ZcViewerC&) = delete;
    ~ZcViewerC();

    /// Does and returns what ZcSnapshot does.
    ZRErrors::ZRErrorT Snapshot(ZcChannel* block, unsigned long timeoutMs, char* report = nullptr,
                                unsigned long size = 0);
    /// @returns the handle of the channel's event, which is set while there may be messages, to be waited for until the
    ///   next look; the viewer's. Null where the last look kept nothing: then there is only time to wait for.
    void* GetEvent() const;

private:
    struct KeptT;

    std::unique_ptr<KeptT> m_pKept;
};
