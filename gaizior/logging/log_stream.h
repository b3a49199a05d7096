#pragma once

/// @file
/// The log stream and the hooks of the process that take its lines.

#include "gaizior/logging/strstream.h"
#include "gaizior/platform/export.h"
#include "gaizior/platform/printf_format.h"

#include <array>
#include <atomic>
#include <concepts>
#include <cstddef>
#include <iomanip>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

/// A process-wide hook of the log stream: takes a line, the log file's new name or the new level, or answers the level.
/// Hooks are called on the thread that logs, so they must be thread-safe. Errno and the last error stay as they were.
/// What a hook throws is dropped: the line of a debug-print hook that threw goes to standard error, and where the
/// get-level hook threw every line passes. A hook that logs is not called again from within: lines that the debug-print
/// hook logs go to standard error, those that the get-level hook logs all pass.
/// @{
using ZRDebugPrintHookT = void (*)(unsigned level, int mode, char* text);
using ZRSetLogNameHookT = void (*)(char* name);
using ZRSetLevelHookT = void (*)(unsigned level);
using ZRGetLevelHookT = unsigned (*)();
/// @}

/// The buffer of a log stream: collects a line and hands it, whole, to the debug-print hook. As short lines stand in
/// the object it is not to be moved as the base that it has. One thread at a time may use an object; the hooks are the
/// process's and any thread may install them.
class GAIZIOR_API ZRLogStrstreambufC : public std::strstreambuf {
public:
    /// Begins a line of message level 0 and mode 1.
    ZRLogStrstreambufC() : std::strstreambuf(&AllocateLine, &FreeLine) {}
    /// Copies take the message level and the mode, never the text.
    /// @{
    ZRLogStrstreambufC(const ZRLogStrstreambufC& other) : ZRLogStrstreambufC() {
        *this = other;
    }
    ZRLogStrstreambufC& operator=(const ZRLogStrstreambufC& other) {
        m_nMessageLevel = other.m_nMessageLevel;
        m_nMode = other.m_nMode;
        return *this;
    }
    /// @}
    ~ZRLogStrstreambufC() override {
        if (pbase() == m_szLine.data()) {
            setg(nullptr, nullptr, nullptr); // the base frees what it finds here
        }
    }

    /// Freezes the line and gives it away, as the base does. @returns the text, which is the caller's until it
    /// unfreezes the buffer, or the line is delivered; null when there is none, or no memory.
    char* str() {
        return pbase() == m_szLine.data() && !LeaveLine() ? nullptr : std::strstreambuf::str();
    }

    /// Sets the level of the line being built (lower is more important, 0 errors). @returns the level before.
    unsigned SetMessageLevel(unsigned level) {
        return std::exchange(m_nMessageLevel, level);
    }
    /// Sets the mode that the hook receives with the next line; every delivered line sets it back to 1.
    /// @returns the mode before.
    unsigned SetMode(unsigned mode) {
        return std::exchange(m_nMode, mode);
    }

    /// @returns the get-level hook's answer; without a hook the message level plus one, so that every line passes.
    unsigned GetDebugLevel() const;
    /// Asks the set-level hook, if there is one, for `level`. @returns GetDebugLevel() as it was before.
    unsigned SetDebugLevel(unsigned level);
    /// @returns whether the line being built is delivered: its level is below GetDebugLevel().
    bool IsValidDebugLevel() const {
        return IsLevelEnabled(m_nMessageLevel);
    }
    /// @returns whether a line of `level` would be delivered; costs one level query and no stream. Any thread.
    static bool IsLevelEnabled(unsigned level) {
        const std::atomic<unsigned>* const variable = s_pDebugLevel.load(std::memory_order_acquire);
        return variable ? level < variable->load(std::memory_order_relaxed) : AskWhetherEnabled(level);
    }
    /// Hands the log file's new name to the set-log-name hook, if there is one.
    void SetLogFileName(char* const name);

    /// Installs a process-wide hook. Null leaves the installed one: a hook can be replaced but never removed.
    /// @{
    static void SetDBFn(ZRDebugPrintHookT hook);
    static void SetDBSetLogNameFn(ZRSetLogNameHookT hook);
    static void SetDBSetLevelFn(ZRSetLevelHookT hook);
    static void SetDBGetLevelFn(ZRGetLevelHookT hook);
    /// @}
    /// The same for a hook that answers what stands in `variable`, which must outlive all logging: lines are compared
    /// with the variable and do not ask the hook, which makes a suppressed line several times cheaper.
    static void SetDBGetLevelFn(ZRGetLevelHookT hook, const std::atomic<unsigned>& variable);
    /// Stores the installed hook, or null, into the caller's variable.
    /// @{
    static void GetDBFn(ZRDebugPrintHookT& hook);
    static void GetDBSetLogNameFn(ZRSetLogNameHookT& hook);
    static void GetDBSetLevelFn(ZRSetLevelHookT& hook);
    static void GetDBGetLevelFn(ZRGetLevelHookT& hook);
    /// @}

protected:
    /// Delivers the text, if there is any, and begins the next line.
    /// @returns what the base returns.
    int sync() override;
    /// Makes room for the line and takes a character into it. @returns end-of-file when there is no memory.
    int_type overflow(int_type character) override;
    /// Adds to the line; a short way past the virtual xsputn.
    void Append(std::string_view text) {
        if (!pbase()) {
            BeginLine();
        }
        if (text.size() <= static_cast<std::size_t>(epptr() - pptr())) {
            std::char_traits<char>::copy(pptr(), text.data(), text.size());
            pbump(static_cast<int>(text.size()));
        } else {
            sputn(text.data(), static_cast<std::streamsize>(text.size()));
        }
    }

private:
    static void* AllocateLine(std::size_t size);
    static void FreeLine(void* line);
    static bool AskWhetherEnabled(unsigned level);
    void BeginLine() {
        char* const begin = m_szLine.data();
        setp(begin, begin + m_szLine.size());
        setg(begin, begin, begin);
    }
    bool LeaveLine();
    void Deliver();

    /// Where the get-level hook's answer stands; null when only the hook knows.
    static std::atomic<const std::atomic<unsigned>*> s_pDebugLevel;

    unsigned m_nMessageLevel = 0;
    unsigned m_nMode = 1;
    std::array<char, 256> m_szLine; ///< where a line begins; a longer one is moved to memory of its own
};

/// Sets the message level of the log stream that it is inserted into, whether or not that level passes.
/// On another ostream it does nothing.
class ZRLevel {
public:
    /// @param level lower is more important; 0 is for errors.
    explicit constexpr ZRLevel(unsigned level) : m_nLevel(level) {}
    /// @returns the level.
    constexpr unsigned Get() const {
        return m_nLevel;
    }

private:
    unsigned m_nLevel;
};

/// Sets the message level of the log stream whose ostream this is; see ZRLevel.
GAIZIOR_API std::ostream& operator<<(std::ostream& stream, ZRLevel level);

/// Writes the mark that tells a line's severity: " ERROR: ", " INFO: ", " WARNING: ".
/// @{
GAIZIOR_API std::ostream& ZRErrorMark(std::ostream& stream);
GAIZIOR_API std::ostream& ZRInfoMark(std::ostream& stream);
GAIZIOR_API std::ostream& ZRWarningMark(std::ostream& stream);
/// @}

namespace gaizior {

/// The manipulators with an argument of `<iomanip>`, whose types the standard leaves unnamed.
template <class T>
concept StreamManipulator =
    std::same_as<T, decltype(std::setw(0))> || std::same_as<T, decltype(std::setprecision(0))> ||
    std::same_as<T, decltype(std::setfill(' '))> || std::same_as<T, decltype(std::setbase(0))> ||
    std::same_as<T, decltype(std::setiosflags(std::ios_base::fmtflags{}))> ||
    std::same_as<T, decltype(std::resetiosflags(std::ios_base::fmtflags{}))>;

} // namespace gaizior

/// A short-lived output stream for one diagnostic line (or several): made on the stack, filled, destroyed.
///
///     ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
///     log << ZRLevel(0) << ZRErrorMark << "ZRFooC::Bar(): " << "what happened" << std::endl;
///
/// Nothing is formatted for a line whose level does not pass. Inserted numbers look the same whatever the process's
/// locale is; those of Format are printf's, with the C locale's point. Logging keeps errno and the last error and never
/// throws. An object belongs to one thread.
class GAIZIOR_API ZRLogStreamC : public ZRLogStrstreambufC {
public:
    /// Begins a line of message level 0 and mode 1, and installs each hook that is not null for the whole process.
    ZRLogStreamC(ZRDebugPrintHookT debugPrint, ZRSetLogNameHookT setLogName, ZRSetLevelHookT setLevel,
                 ZRGetLevelHookT getLevel) {
        if (debugPrint || setLogName || setLevel || getLevel) {
            SetHooks(debugPrint, setLogName, setLevel, getLevel);
        }
    }
    /// Copies take the message level and the mode, never the text.
    /// @{
    ZRLogStreamC(const ZRLogStreamC& other) : ZRLogStrstreambufC(other) {}
    ZRLogStreamC& operator=(const ZRLogStreamC& other) {
        ZRLogStrstreambufC::operator=(other);
        return *this;
    }
    /// @}
    /// Delivers an unfinished line with an end of line added.
    ~ZRLogStreamC() override {
        if (pptr() != pbase()) {
            EndLine();
        }
    }

    /// Stores the four installed hooks, or nulls.
    void GetHooks(ZRDebugPrintHookT& debugPrint, ZRSetLogNameHookT& setLogName, ZRSetLevelHookT& setLevel,
                  ZRGetLevelHookT& getLevel) const;
    /// The stream's ostream, made on the first call; it is the stream's. Writing to it asks for no level.
    /// Throws std::bad_alloc when it cannot be made.
    std::ostream& GetOstream();
    /// @returns the stream as the buffer that it is.
    ZRLogStrstreambufC& GetBuffer();
    /// @returns what a new stream's buffer answers: the present debug level, 1 without a hook. Any thread.
    static unsigned GetDebugLevel();
    /// Delivers what has been written so far.
    void flush();

    /// Sets the message level and, when it passes, delivers one line of the given mode: the text of the printf format,
    /// cut after 32,767 characters, and an end of line.
    void Format(unsigned level, unsigned mode, const char* format, ...) GAIZIOR_PRINTF(4, 5);

    /// Inserts when the level passes. A null text counts as empty.
    /// @{
    ZRLogStreamC& operator<<(const char* text) {
        return IsValidDebugLevel() ? Insert(text ? std::string_view(text) : std::string_view()) : *this;
    }
    ZRLogStreamC& operator<<(std::string_view text) {
        return IsValidDebugLevel() ? Insert(text) : *this;
    }
    ZRLogStreamC& operator<<(char character) {
        return IsValidDebugLevel() ? Insert(character) : *this;
    }
    ZRLogStreamC& operator<<(bool value) {
        return IsValidDebugLevel() ? Insert(value) : *this;
    }
    ZRLogStreamC& operator<<(int value) {
        return IsValidDebugLevel() ? Insert(value) : *this;
    }
    ZRLogStreamC& operator<<(unsigned int value) {
        return IsValidDebugLevel() ? Insert(value) : *this;
    }
    ZRLogStreamC& operator<<(long value) {
        return IsValidDebugLevel() ? Insert(value) : *this;
    }
    ZRLogStreamC& operator<<(unsigned long value) {
        return IsValidDebugLevel() ? Insert(value) : *this;
    }
    ZRLogStreamC& operator<<(long long value) {
        return IsValidDebugLevel() ? Insert(value) : *this;
    }
    ZRLogStreamC& operator<<(unsigned long long value) {
        return IsValidDebugLevel() ? Insert(value) : *this;
    }
    ZRLogStreamC& operator<<(double value) {
        return IsValidDebugLevel() ? Insert(value) : *this;
    }
    ZRLogStreamC& operator<<(const void* pointer) {
        return IsValidDebugLevel() ? Insert(pointer) : *this;
    }
    ZRLogStreamC& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
        return IsValidDebugLevel() ? Insert(manipulator) : *this;
    }
    ZRLogStreamC& operator<<(std::ios& (*manipulator)(std::ios&)) {
        return IsValidDebugLevel() ? Insert(manipulator) : *this;
    }
    ZRLogStreamC& operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
        return IsValidDebugLevel() ? Insert(manipulator) : *this;
    }
    template <gaizior::StreamManipulator Manipulator>
    ZRLogStreamC& operator<<(Manipulator manipulator) {
        if (std::ostream* const stream = IsValidDebugLevel() ? TryOstream() : nullptr) {
            *stream << manipulator;
        }
        return *this;
    }
    /// @}
    /// Sets the message level, whether or not that level passes.
    ZRLogStreamC& operator<<(ZRLevel level) {
        SetMessageLevel(level.Get());
        return *this;
    }

private:
    static void SetHooks(ZRDebugPrintHookT debugPrint, ZRSetLogNameHookT setLogName, ZRSetLevelHookT setLevel,
                         ZRGetLevelHookT getLevel);
    template <class T>
    ZRLogStreamC& Insert(T value);
    template <class T>
    bool PutPlain(T value);
    bool PutManipulator(std::ostream& (*manipulator)(std::ostream&));
    void EndLine();
    /// The ostream; null when memory does not suffice for it.
    std::ostream* TryOstream();

    std::unique_ptr<std::ostream> m_pOstream;
};
