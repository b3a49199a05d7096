#pragma once

/// @file
/// The stack of failures.

#include "gaizior/errors/error_codes.h"
#include "gaizior/errors/list_link.h"
#include "gaizior/platform/export.h"
#include "gaizior/platform/windows_api.h"

#include <atomic>
#include <string>

/// One recorded failure, and the process's one stack of them: where a failing operation tells what went wrong and why,
/// for a caller far above to print.
///
/// Any thread may record at any time, and meanwhile others may ask IsEmpty and print the stack with ToString. Whoever
/// clears it must know that nobody walks it. Whoever follows its links from GetStack must know that nobody records
/// either: they are plain pointers. The stack's lock is waited for at most 60 s, then its owner is taken for stuck: the
/// failure is logged, the work is done.
///
/// A ZRErrorC* serves as an opaque handle. The library owns the entries on the stack; the caller owns those that Error
/// returned and gives them back with DisposeHandle, also after Stack has copied them.
class GAIZIOR_API ZRErrorC : public ZRListLinkC {
public:
    /// The handle for "no error", and what the stack is while it is empty.
    static ZRErrorC* const NoError;
    /// What Error returns when there is no memory for an entry.
    static ZRErrorC* const ErrCreateZRErr;

    constexpr ZRErrorC() = default;
    /// Copies share both texts and the links, unlike Clone: only one of the two may be destroyed.
    /// @{
    ZRErrorC(const ZRErrorC&) = default;
    ZRErrorC& operator=(const ZRErrorC&) = default;
    /// @}
    ~ZRErrorC() override;

    /// Makes an entry that is not on the stack. The texts are copied, null stays null; a text that there is no memory
    /// for becomes null. `log` 1 also writes a line to the log.
    /// @returns the entry, the caller's to dispose of, or ErrCreateZRErr.
    static ZRErrorC* Error(const char* function, ZRErrors::ZRErrorT code, const char* reason, int log);

    /// Makes an entry and puts it on the stack. `function` is by convention "ClassName::Method(): ".
    /// @returns 0, not `code`; 0x800 e_ErrorHandle_CreateFailed when there is no memory for it.
    static ZRErrors::ZRErrorT Stack(const char* function, ZRErrors::ZRErrorT code, const char* reason);

    /// Puts copies of a chain's entries on the stack, except of those that are there already. The chain stays the
    /// caller's. A sentinel or null does nothing.
    /// @returns 0; 0x7D1 e_Memory_AllocationFailed, logged, when there is no memory for a copy: the entries before it
    ///          are on the stack.
    static ZRErrors::ZRErrorT Stack(ZRErrorC* chain);

    /// Destroys the stack's entries.
    static void ClearStack();
    /// @returns whether nothing is on the stack.
    static int IsEmpty();
    /// @returns whether the handle is null or NoError.
    static int IsEmpty(ZRErrorC* const handle);
    /// @returns the oldest entry, the stack's, or NoError; m_pNext leads to younger ones.
    static ZRErrorC* GetStack();
    /// Destroys an entry and all that follow it. Null and the sentinels are left alone.
    static void DisposeHandle(ZRErrorC* handle);

    /// @returns the entry as a handle; it stays whose it was.
    ZRErrorC* ToHandle();
    /// @returns the entry of a handle, which must not be null.
    static ZRErrorC& ToError(ZRErrorC* handle);

    /// @returns the code that the entry was made with.
    ZRErrors::ZRErrorT GetError() const;
    /// @returns the local time (not UTC) at which the entry was made.
    FILETIME GetErrorTime() const;
    /// Makes this entry a copy of `source` with texts of its own. Links stay, and whether it is on the stack. The texts
    /// before are freed, except where they are `source`'s: a plain copy may be cloned into from the entry that it was
    /// copied from, and then no longer shares; from any other, it frees what that entry still has.
    void Clone(ZRErrorC& source);

    /// One line for this entry, or for each entry of the stack from the oldest on; clears the stack then, if asked to.
    /// @returns a text that the caller gives back to FreeString; null, logged and nothing cleared, when there is no
    ///          memory for it.
    virtual char* ToString(bool thisOnly, bool clear);
    /// Releases a text of ToString's; null is left alone.
    static void FreeString(char* text);

protected:
    /// Sets time, code and copies of the texts.
    void Initialise(const char* function, ZRErrors::ZRErrorT code, const char* reason);

    static std::atomic<ZRErrorC*> m_pStack; ///< the oldest entry, or NoError
    static std::atomic<HANDLE> m_hMutex;    ///< the stack's lock; null before the first entry

private:
    static char* CopyString(const char* text);
    static void ReplaceText(char*& text, const char* source);
    static const char* SafeString(const char* text);
    static FILETIME GetTime();
    static void MakeMutex();
    static void AddToStack(ZRErrorC* entry);
    static ZRErrors::ZRErrorT LockStack();
    static ZRErrors::ZRErrorT UnlockStack();
    ZRErrorC* GetNext();
    void AppendTo(std::string& text);

    char* m_pFunction = nullptr;
    ZRErrors::ZRErrorT m_nCode = ZRErrors::e_General_NoError;
    char* m_pReason = nullptr;
    FILETIME m_Time = {};
    bool m_bOnStack = false;
};
