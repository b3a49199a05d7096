#include "gaizior/logging/log_stream.h"

#include "gaizior/logging/hook_call.h"

#include <atomic>
#include <charconv>
#include <concepts>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <locale>
#include <new>
#include <optional>
#include <utility>

namespace {

constexpr std::size_t kFirstLineSize = 256;
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
constinit thread_local HooksEntered t_entered;

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

/// The get-level hook's answer; nothing when there is none to be had, and then every line passes.
std::optional<unsigned> AskLevel() {
    const ZRGetLevelHookT hook = Installed(g_getLevel);
    unsigned level = 0;
    if (hook && gaizior::CallHook(t_entered.m_bGetLevel, [&] { level = hook(); })) {
        return level;
    }
    return std::nullopt;
}

bool Passes(unsigned level) {
    const std::optional<unsigned> debugLevel = AskLevel();
    return !debugLevel || level < *debugLevel;
}

/// The base asks for a small piece at construction, which a suppressed line must not pay for: it gets none, and
/// overflow() takes the first piece when there is a character to keep.
void* AllocateLine(std::size_t size) {
    const gaizior::ErrorKeeper keeper;
    return size < kFirstLineSize ? nullptr : std::malloc(size);
}

} // namespace

// --- The buffer ------------------------------------------------------------------------------------------------------

ZRLogStrstreambufC::ZRLogStrstreambufC() : std::strstreambuf(&AllocateLine, &std::free) {}

ZRLogStrstreambufC::ZRLogStrstreambufC(const ZRLogStrstreambufC& other)
    : std::strstreambuf(&AllocateLine, &std::free), m_nMessageLevel(other.m_nMessageLevel), m_nMode(other.m_nMode) {}

ZRLogStrstreambufC& ZRLogStrstreambufC::operator=(const ZRLogStrstreambufC& other) {
    m_nMessageLevel = other.m_nMessageLevel;
    m_nMode = other.m_nMode;
    return *this;
}

ZRLogStrstreambufC::~ZRLogStrstreambufC() = default;

unsigned ZRLogStrstreambufC::SetMessageLevel(unsigned level) {
    return std::exchange(m_nMessageLevel, level);
}

unsigned ZRLogStrstreambufC::SetMode(unsigned mode) {
    return std::exchange(m_nMode, mode);
}

unsigned ZRLogStrstreambufC::GetDebugLevel() const {
    return AskLevel().value_or(m_nMessageLevel + 1);
}

unsigned ZRLogStrstreambufC::SetDebugLevel(unsigned level) {
    const unsigned before = GetDebugLevel();
    if (const ZRSetLevelHookT hook = Installed(g_setLevel)) {
        gaizior::CallHook(t_entered.m_bSetLevel, [&] { hook(level); });
    }
    return before;
}

bool ZRLogStrstreambufC::IsValidDebugLevel() const {
    return Passes(m_nMessageLevel);
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
    Install(g_getLevel, hook);
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

int ZRLogStrstreambufC::sync() {
    if (pcount() > 0) {
        Deliver();
    }
    m_nMode = 1;
    return std::strstreambuf::sync();
}

void ZRLogStrstreambufC::Deliver() {
    if (traits_type::eq_int_type(sputc('\0'), traits_type::eof())) {
        *(pptr() - 1) = '\0'; // out of memory: the line's last character gives way
    }
    char* const text = str();
    if (*text != '\0') {
        const ZRDebugPrintHookT hook = Installed(g_debugPrint);
        const bool taken = hook && gaizior::CallHook(t_entered.m_bDebugPrint,
                                                     [&] { hook(m_nMessageLevel, static_cast<int>(m_nMode), text); });
        if (!taken) {
            gaizior::PrintToStandardError(text);
        }
    }
    freeze(false);
    setp(pbase(), epptr());
}

ZRLogStrstreambufC::int_type ZRLogStrstreambufC::overflow(int_type character) {
    if (!pbase()) {
        if (char* const line = static_cast<char*>(AllocateLine(kFirstLineSize))) {
            setp(line, line + kFirstLineSize);
            setg(line, line, line);
        }
    }
    return std::strstreambuf::overflow(character);
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

// --- Insertion without an ostream ------------------------------------------------------------------------------------

// An ostream costs more than the rest of the line. Plain texts and numbers need none as long as nobody has asked for
// one, and so nobody can have changed a format: they go into the buffer as an untouched ostream would put them.
// PutPlain returns whether it could do so.

namespace {

bool PutPlain(std::streambuf& buffer, std::string_view text) {
    buffer.sputn(text.data(), static_cast<std::streamsize>(text.size()));
    return true;
}

bool PutPlain(std::streambuf& buffer, char character) {
    buffer.sputc(character);
    return true;
}

template <std::integral T>
bool PutPlain(std::streambuf& buffer, T value) {
    char digits[std::numeric_limits<T>::digits10 + 3];
    const char* const end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    return PutPlain(buffer, std::string_view(digits, end));
}

bool PutPlain(std::streambuf& buffer, bool value) {
    return PutPlain(buffer, value ? '1' : '0');
}

bool PutEndOfLine(std::streambuf& buffer) {
    buffer.sputc('\n');
    buffer.pubsync();
    return true;
}

bool PutPlain(std::streambuf& buffer, std::ostream& (*manipulator)(std::ostream&)) {
    if (manipulator == &std::endl<char, std::char_traits<char>>) {
        return PutEndOfLine(buffer);
    }
    if (manipulator == &ZRErrorMark) {
        return PutPlain(buffer, kErrorMark);
    }
    if (manipulator == &ZRWarningMark) {
        return PutPlain(buffer, kWarningMark);
    }
    return manipulator == &ZRInfoMark && PutPlain(buffer, kInfoMark);
}

/// What only an ostream can do: real numbers, pointers, formats.
template <class T>
bool PutPlain(std::streambuf&, T) {
    return false;
}

} // namespace

// --- The stream ------------------------------------------------------------------------------------------------------

ZRLogStreamC::ZRLogStreamC(ZRDebugPrintHookT debugPrint, ZRSetLogNameHookT setLogName, ZRSetLevelHookT setLevel,
                           ZRGetLevelHookT getLevel) {
    SetDBFn(debugPrint);
    SetDBSetLogNameFn(setLogName);
    SetDBSetLevelFn(setLevel);
    SetDBGetLevelFn(getLevel);
}

ZRLogStreamC::ZRLogStreamC(const ZRLogStreamC& other) : ZRLogStrstreambufC(other) {}

ZRLogStreamC& ZRLogStreamC::operator=(const ZRLogStreamC& other) {
    ZRLogStrstreambufC::operator=(other);
    return *this;
}

ZRLogStreamC::~ZRLogStreamC() {
    if (pcount() > 0) {
        PutEndOfLine(*this);
    }
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

bool ZRLogStreamC::IsLevelEnabled(unsigned level) {
    return Passes(level);
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
    PutPlain(*this, std::string_view(text));
    PutEndOfLine(*this);
}

ZRLogStreamC& ZRLogStreamC::operator<<(const char* text) {
    return Insert(text ? std::string_view(text) : std::string_view());
}

ZRLogStreamC& ZRLogStreamC::operator<<(std::string_view text) {
    return Insert(text);
}

ZRLogStreamC& ZRLogStreamC::operator<<(char character) {
    return Insert(character);
}

ZRLogStreamC& ZRLogStreamC::operator<<(bool value) {
    return Insert(value);
}

ZRLogStreamC& ZRLogStreamC::operator<<(int value) {
    return Insert(value);
}

ZRLogStreamC& ZRLogStreamC::operator<<(unsigned int value) {
    return Insert(value);
}

ZRLogStreamC& ZRLogStreamC::operator<<(long value) {
    return Insert(value);
}

ZRLogStreamC& ZRLogStreamC::operator<<(unsigned long value) {
    return Insert(value);
}

ZRLogStreamC& ZRLogStreamC::operator<<(long long value) {
    return Insert(value);
}

ZRLogStreamC& ZRLogStreamC::operator<<(unsigned long long value) {
    return Insert(value);
}

ZRLogStreamC& ZRLogStreamC::operator<<(double value) {
    return Insert(value);
}

ZRLogStreamC& ZRLogStreamC::operator<<(const void* pointer) {
    return Insert(pointer);
}

ZRLogStreamC& ZRLogStreamC::operator<<(std::ostream& (*manipulator)(std::ostream&)) {
    return Insert(manipulator);
}

ZRLogStreamC& ZRLogStreamC::operator<<(std::ios& (*manipulator)(std::ios&)) {
    return Insert(manipulator);
}

ZRLogStreamC& ZRLogStreamC::operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
    return Insert(manipulator);
}

ZRLogStreamC& ZRLogStreamC::operator<<(ZRLevel level) {
    SetMessageLevel(level.Get());
    return *this;
}

template <class T>
ZRLogStreamC& ZRLogStreamC::Insert(T value) {
    if (IsValidDebugLevel() && (m_pOstream || !PutPlain(*this, value))) {
        if (std::ostream* const stream = TryOstream()) {
            const gaizior::ErrorKeeper keeper;
            *stream << value;
        }
    }
    return *this;
}

std::ostream* ZRLogStreamC::TryOstream() {
    try {
        return &GetOstream();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
