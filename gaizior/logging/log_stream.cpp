#include "gaizior/logging/log_stream.h"

#include "gaizior/logging/hook_call.h"
#include "gaizior/platform/thread_local.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <locale>
#include <new>
#include <utility>

namespace {

constexpr std::size_t kFormatSize = 32768;
constexpr std::string_view kErrorMark = " ERROR: ";
constexpr std::string_view kInfoMark = " INFO: ";
constexpr std::string_view kWarningMark = " WARNING: ";

constinit std::atomic<ZRDebugPrintHookT> g_debugPrint{nullptr};
constinit std::atomic<ZRSetLogNameHookT> g_setLogName{nullptr};
constinit std::atomic<ZRSetLevelHookT> g_setLevel{nullptr};
constinit std::atomic<ZRGetLevelHookT> g_getLevel{nullptr};

/// Which hooks the calling thread is in.
struct HooksEntered {
    bool m_bDebugPrint = false;
    bool m_bSetLogName = false;
    bool m_bSetLevel = false;
    bool m_bGetLevel = false;
};
GAIZIOR_REACHED_WITHOUT_A_CALL constinit thread_local HooksEntered t_entered;

template <class Hook>
void Install(std::atomic<Hook>& slot, Hook hook) {
    if (hook) {
        slot.store(hook, std::memory_order_release);
    }
}

template <class Hook>
Hook Installed(const std::atomic<Hook>& slot) {
    return slot.load(std::memory_order_acquire);
}

/// Asks the get-level hook. @returns whether it answered into `level`; if not, every line passes.
bool AskLevel(unsigned& level) {
    const ZRGetLevelHookT hook = Installed(g_getLevel);
    return hook && gaizior::CallHook(t_entered.m_bGetLevel, [&] { level = hook(); });
}

} // namespace

constinit std::atomic<const std::atomic<unsigned>*> ZRLogStrstreambufC::s_pDebugLevel{nullptr};

// --- The buffer ------------------------------------------------------------------------------------------------------

unsigned ZRLogStrstreambufC::GetDebugLevel() const {
    unsigned level = m_nMessageLevel + 1;
    AskLevel(level);
    return level;
}

unsigned ZRLogStrstreambufC::SetDebugLevel(unsigned level) {
    const unsigned before = GetDebugLevel();
    if (const ZRSetLevelHookT hook = Installed(g_setLevel)) {
        gaizior::CallHook(t_entered.m_bSetLevel, [&] { hook(level); });
    }
    return before;
}

bool ZRLogStrstreambufC::AskWhetherEnabled(unsigned level) {
    unsigned debugLevel = 0;
    return !AskLevel(debugLevel) || level < debugLevel;
}

void ZRLogStrstreambufC::SetLogFileName(char* const name) {
    if (const ZRSetLogNameHookT hook = Installed(g_setLogName)) {
        gaizior::CallHook(t_entered.m_bSetLogName, [&] { hook(name); });
    }
}

void ZRLogStrstreambufC::SetDBFn(ZRDebugPrintHookT hook) {
    Install(g_debugPrint, hook);
}

void ZRLogStrstreambufC::SetDBSetLogNameFn(ZRSetLogNameHookT hook) {
    Install(g_setLogName, hook);
}

void ZRLogStrstreambufC::SetDBSetLevelFn(ZRSetLevelHookT hook) {
    Install(g_setLevel, hook);
}

void ZRLogStrstreambufC::SetDBGetLevelFn(ZRGetLevelHookT hook) {
    if (hook) {
        s_pDebugLevel.store(nullptr, std::memory_order_release);
        Install(g_getLevel, hook);
    }
}

void ZRLogStrstreambufC::SetDBGetLevelFn(ZRGetLevelHookT hook, const std::atomic<unsigned>& variable) {
    if (hook) {
        Install(g_getLevel, hook);
        s_pDebugLevel.store(&variable, std::memory_order_release);
    }
}

void ZRLogStrstreambufC::GetDBFn(ZRDebugPrintHookT& hook) {
    hook = Installed(g_debugPrint);
}

void ZRLogStrstreambufC::GetDBSetLogNameFn(ZRSetLogNameHookT& hook) {
    hook = Installed(g_setLogName);
}

void ZRLogStrstreambufC::GetDBSetLevelFn(ZRSetLevelHookT& hook) {
    hook = Installed(g_setLevel);
}

void ZRLogStrstreambufC::GetDBGetLevelFn(ZRGetLevelHookT& hook) {
    hook = Installed(g_getLevel);
}

/// The base asks for a small piece at construction, which a suppressed line must not pay for: it gets none, and the
/// line begins in the object when there is a character to keep.
void* ZRLogStrstreambufC::AllocateLine(std::size_t size) {
    if (size < sizeof m_szLine) {
        return nullptr;
    }
    const int before = errno;
    void* const line = std::malloc(size);
    errno = before;
    return line;
}

void ZRLogStrstreambufC::FreeLine(void* line) {
    std::free(line);
}

int ZRLogStrstreambufC::sync() {
    if (pptr() != pbase()) {
        Deliver();
    }
    m_nMode = 1;
    return std::strstreambuf::sync();
}

void ZRLogStrstreambufC::Deliver() {
    freeze(false); // whoever looked at the text with str() froze it
    if (traits_type::eq_int_type(sputc('\0'), traits_type::eof())) {
        *(pptr() - 1) = '\0'; // out of memory: the line's last character gives way
    }
    char* const text = pbase();
    if (*text != '\0') {
        const ZRDebugPrintHookT hook = Installed(g_debugPrint);
        const bool taken = hook && gaizior::CallHook(t_entered.m_bDebugPrint,
                                                     [&] { hook(m_nMessageLevel, static_cast<int>(m_nMode), text); });
        if (!taken) {
            gaizior::PrintToStandardError(text);
        }
    }
    setp(pbase(), epptr());
}

ZRLogStrstreambufC::int_type ZRLogStrstreambufC::overflow(int_type character) {
    if (!pbase()) {
        BeginLine();
    } else if (pbase() == m_szLine.data() && pptr() == epptr() && !LeaveLine()) {
        return traits_type::eof();
    }
    return std::strstreambuf::overflow(character);
}

/// Moves the line to memory of its own, where the base makes room for more. @returns false when there is none.
bool ZRLogStrstreambufC::LeaveLine() {
    const std::size_t size = 2 * m_szLine.size();
    char* const line = static_cast<char*>(AllocateLine(size));
    if (!line) {
        return false;
    }
    const auto used = pptr() - pbase();
    std::copy_n(pbase(), used, line);
    setp(line, line + size);
    pbump(static_cast<int>(used));
    setg(line, line, line);
    return true;
}

// --- Manipulators ----------------------------------------------------------------------------------------------------

std::ostream& operator<<(std::ostream& stream, ZRLevel level) {
    if (auto* const buffer = dynamic_cast<ZRLogStrstreambufC*>(stream.rdbuf())) {
        buffer->SetMessageLevel(level.Get());
    }
    return stream;
}

std::ostream& ZRErrorMark(std::ostream& stream) {
    return stream << kErrorMark;
}

std::ostream& ZRInfoMark(std::ostream& stream) {
    return stream << kInfoMark;
}

std::ostream& ZRWarningMark(std::ostream& stream) {
    return stream << kWarningMark;
}

// --- The stream ------------------------------------------------------------------------------------------------------

void ZRLogStreamC::SetHooks(ZRDebugPrintHookT debugPrint, ZRSetLogNameHookT setLogName, ZRSetLevelHookT setLevel,
                            ZRGetLevelHookT getLevel) {
    SetDBFn(debugPrint);
    SetDBSetLogNameFn(setLogName);
    SetDBSetLevelFn(setLevel);
    SetDBGetLevelFn(getLevel);
}

void ZRLogStreamC::GetHooks(ZRDebugPrintHookT& debugPrint, ZRSetLogNameHookT& setLogName, ZRSetLevelHookT& setLevel,
                            ZRGetLevelHookT& getLevel) const {
    GetDBFn(debugPrint);
    GetDBSetLogNameFn(setLogName);
    GetDBSetLevelFn(setLevel);
    GetDBGetLevelFn(getLevel);
}

std::ostream& ZRLogStreamC::GetOstream() {
    if (!m_pOstream) {
        const gaizior::ErrorKeeper keeper;
        m_pOstream = std::make_unique<std::ostream>(this);
        if (m_pOstream->getloc() != std::locale::classic()) {
            m_pOstream->imbue(std::locale::classic());
        }
    }
    return *m_pOstream;
}

ZRLogStrstreambufC& ZRLogStreamC::GetBuffer() {
    return *this;
}

unsigned ZRLogStreamC::GetDebugLevel() {
    return ZRLogStreamC(nullptr, nullptr, nullptr, nullptr).GetBuffer().GetDebugLevel();
}

void ZRLogStreamC::flush() {
    if (m_pOstream) {
        m_pOstream->flush();
    } else if (pbase()) {
        pubsync();
    }
}

void ZRLogStreamC::Format(unsigned level, unsigned mode, const char* format, ...) {
    SetMessageLevel(level);
    if (!IsValidDebugLevel()) {
        return;
    }
    SetMode(mode);
    const gaizior::ErrorKeeper keeper;
    char text[kFormatSize];
    std::va_list arguments;
    va_start(arguments, format);
    gaizior::FormatBounded(text, sizeof text, format, arguments);
    va_end(arguments);
    Append(text);
    EndLine();
}

// An ostream costs more than the rest of the line. Plain texts and numbers need none as long as nobody has asked for
// one, and so nobody can have changed a format: they go into the buffer as an untouched ostream would put them.

template <class T>
ZRLogStreamC& ZRLogStreamC::Insert(T value) {
    if (m_pOstream || !PutPlain(value)) {
        if (std::ostream* const stream = TryOstream()) {
            const gaizior::ErrorKeeper keeper;
            *stream << value;
        }
    }
    return *this;
}

/// @returns false, and does nothing, for what takes an ostream: pointers, formats, what is no number (of which not
/// every system shows the sign).
template <class T>
bool ZRLogStreamC::PutPlain(T value) {
    if constexpr (std::same_as<T, std::string_view>) {
        Append(value);
    } else if constexpr (std::same_as<T, char>) {
        sputc(value);
    } else if constexpr (std::same_as<T, bool>) {
        sputc(value ? '1' : '0');
    } else if constexpr (std::integral<T>) {
        char digits[std::numeric_limits<T>::digits10 + 3];
        Append(std::string_view(digits, std::to_chars(std::begin(digits), std::end(digits), value).ptr));
    } else if constexpr (std::same_as<T, double>) {
        if (std::isnan(value)) {
            return false;
        }
        char digits[24];
        const auto end = std::to_chars(std::begin(digits), std::end(digits), value, std::chars_format::general, 6);
        Append(std::string_view(digits, end.ptr));
    } else if constexpr (std::same_as<T, std::ostream& (*)(std::ostream&)>) {
        return PutManipulator(value);
    } else {
        return false;
    }
    return true;
}

bool ZRLogStreamC::PutManipulator(std::ostream& (*manipulator)(std::ostream&)) {
    if (manipulator == &std::endl<char, std::char_traits<char>>) {
        EndLine();
    } else if (manipulator == &ZRErrorMark) {
        Append(kErrorMark);
    } else if (manipulator == &ZRInfoMark) {
        Append(kInfoMark);
    } else if (manipulator == &ZRWarningMark) {
        Append(kWarningMark);
    } else {
        return false;
    }
    return true;
}

void ZRLogStreamC::EndLine() {
    sputc('\n');
    pubsync();
}

template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(std::string_view);
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(char);
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(bool);
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(int);
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(unsigned int);
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(long);
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(unsigned long);
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(long long);
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(unsigned long long);
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(double);
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(const void*);
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(std::ostream& (*)(std::ostream&));
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(std::ios& (*)(std::ios&));
template GAIZIOR_API ZRLogStreamC& ZRLogStreamC::Insert(std::ios_base& (*)(std::ios_base&));

std::ostream* ZRLogStreamC::TryOstream() {
    try {
        return &GetOstream();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
