#include "gaizior/config/history.h"

#include "gaizior/config/file_utils.h"
#include "gaizior/errors/failure.h"
#include "gaizior/errors/memory_guard.h"
#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/file_lock.h"
#include "gaizior/platform/file_replacement.h"
#include "gaizior/platform/files.h"
#include "gaizior/platform/line_end.h"
#include "gaizior/platform/timing.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <streambuf>
#include <string_view>
#include <utility>

namespace gaizior {
namespace {

constexpr const char* kCreate = "ZRHistoryC::Create(): ";
constexpr const char* kLogIt = "ZRHistoryC::LogIt(): ";
constexpr const char* kTruncateLog = "ZRHistoryC::TruncateLog(): ";

constexpr unsigned kFormat = 1;
constexpr unsigned kTraceLevel = 15;
constexpr unsigned long kNoLimit = 0xFFFFFFFF;
constexpr DWORD kLockTimeout = 60'000;
constexpr std::size_t kLargestFile = std::size_t{1} << 30;

constexpr int kEnd = std::char_traits<char>::eof();
/// As many characters of a line tell what it is.
constexpr std::size_t kTelling = 3;

// --- Stamps ----------------------------------------------------------------------------------------------------------

std::string DateAndTime(char between) {
    const SYSTEMTIME now = LocalNow();
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%02u/%02u/%04u%c%02u:%02u:%02u", now.wMonth, now.wDay, now.wYear, between,
                  now.wHour, now.wMinute, now.wSecond);
    return text.data();
}

std::string Header(const char* columnHeadings) {
    std::array<char, 16> format{};
    std::snprintf(format.data(), format.size(), "0x%08x\n", kFormat);
    return format.data() + ("First created: (mm/dd/yyyy): " + DateAndTime(' ')) + "\ndate\ttime\t" +
           OrEmpty(columnHeadings) + "\n\n";
}

/// Text as the system's text files have it.
std::string AsFileText(const std::string& text) {
    return ReplaceLineEnds(text, kUnixLineEnd, kLineEnd);
}

// --- Scanning --------------------------------------------------------------------------------------------------------

/// Reaches the characters that a buffer holds ready, so that none of them costs a virtual call.
struct Ready : std::streambuf {
    static std::string_view Characters(const std::streambuf& buffer) {
        return {(buffer.*&Ready::gptr)(), (buffer.*&Ready::egptr)()};
    }
    static void Skip(std::streambuf& buffer, std::size_t count) {
        (buffer.*&Ready::gbump)(static_cast<int>(count));
    }
};

constexpr bool IsLineEnd(int character) {
    return character == '\r' || character == '\n';
}

/// @returns the position of the first line end; the text's size where there is none.
std::size_t FindLineEnd(std::string_view text) {
    constexpr std::size_t kPart = 512; // of another line end than the file's nothing is found, each time
    for (std::size_t begin = 0; begin < text.size(); begin += kPart) {
        std::string_view part = text.substr(begin, kPart);
        part = part.substr(0, part.find('\n'));
        part = part.substr(0, part.find('\r'));
        if (begin + part.size() < text.size() && part.size() < kPart) {
            return begin + part.size();
        }
    }
    return text.size();
}

bool Put(std::streambuf* out, std::string_view text) {
    const auto size = static_cast<std::streamsize>(text.size());
    return !out || out->sputn(text.data(), size) == size;
}

/// Passes what is left of a line. @returns whether it could be copied.
bool PassLine(std::streambuf& in, std::streambuf* out) {
    while (in.sgetc() != kEnd) {
        const std::string_view ready = Ready::Characters(in);
        const std::size_t length = FindLineEnd(ready);
        if (!Put(out, ready.substr(0, length))) {
            return false;
        }
        Ready::Skip(in, length);
        if (length < ready.size()) {
            break;
        }
    }
    return true;
}

/// Puts characters back in front of what is still to be read, beyond the buffer's edge too.
bool PutBack(std::streambuf& in, std::string_view text) {
    return std::all_of(text.rbegin(), text.rend(), [&](char character) { return in.sputbackc(character) != kEnd; });
}

enum class Step { Done, Found, Failed, Unknown };

/// Passes a line that the buffer holds up to its end, at its beginning or (`state` 3) behind it; finds the data line.
Step PassReadyLine(std::streambuf& in, std::streambuf* out, bool isBehindLineEnd, unsigned& state) {
    const std::string_view ready = Ready::Characters(in);
    const bool isDataLine = ready.size() >= kTelling && ready[2] == '/' && !IsLineEnd(ready[0]) && !IsLineEnd(ready[1]);
    if (state == 0 && isBehindLineEnd && isDataLine) {
        state = kTelling - 1;
        return Step::Found;
    }
    const std::size_t length = FindLineEnd(ready);
    if (length == ready.size()) {
        return Step::Unknown;
    }
    const bool isShort = state == 0 && length < kTelling; // then the line end alone is passed
    if (!Put(out, isShort ? ready.substr(length, 1) : ready.substr(0, length + 1))) {
        return Step::Failed;
    }
    Ready::Skip(in, length + 1);
    state = 0;
    return Step::Done;
}

/// Moves to the next data line: see SeekToData. @param out takes what is passed; null for nothing.
ZRErrors::ZRErrorT Scan(std::streambuf& in, std::streambuf* out, unsigned& state) {
    std::array<char, kTelling> held{};
    std::size_t count = 0;
    bool isBehindLineEnd = false;
    if (state == kTelling - 1) {
        state = kTelling; // the data line that was found is passed
    }
    for (;;) {
        if (count == 0 && (state == 0 || state == kTelling)) {
            const Step step = PassReadyLine(in, out, isBehindLineEnd, state);
            if (step == Step::Done) {
                isBehindLineEnd = true;
                continue;
            }
            if (step != Step::Unknown) {
                return step == Step::Found ? ZRErrors::e_General_NoError : ZRErrors::e_File_WriteFailed;
            }
        }
        // One at a time at a buffer's edge, and where the text ends.
        if (state >= kTelling && !PassLine(in, out)) {
            return ZRErrors::e_File_WriteFailed;
        }
        const int character = in.sbumpc();
        if (character == kEnd) {
            return ZRErrors::e_File_EndOfFile;
        }
        const char byte = std::char_traits<char>::to_char_type(character);
        std::string_view passed(&byte, 1);
        if (IsLineEnd(character)) {
            isBehindLineEnd = true;
            state = 0;
            count = 0;
        } else if (state < kTelling) { // else a growing stream had more behind its end
            held[count++] = byte;
            passed = {held.data(), ++state == kTelling ? count : 0};
            if (state == kTelling && byte == '/' && isBehindLineEnd) {
                state = kTelling - 1;
                return PutBack(in, passed) ? ZRErrors::e_General_NoError : ZRErrors::e_File_ReadFailed;
            }
            count = state == kTelling ? 0 : count;
        }
        if (!Put(out, passed)) {
            return ZRErrors::e_File_WriteFailed;
        }
    }
}

/// Reads a text in memory.
class Source : public std::streambuf {
public:
    explicit Source(std::string& text, std::size_t position = 0) {
        setg(text.data(), text.data() + position, text.data() + text.size());
    }
    std::string_view Rest() const {
        return {gptr(), egptr()};
    }
};

/// Takes up to `size` characters.
class Sink : public std::streambuf {
public:
    explicit Sink(std::size_t size) : m_characters(std::make_unique_for_overwrite<char[]>(size)) {
        setp(m_characters.get(), m_characters.get() + size);
    }
    std::string_view Taken() const {
        return {pbase(), pptr()};
    }

private:
    std::unique_ptr<char[]> m_characters;
};

// --- The file --------------------------------------------------------------------------------------------------------

/// Fails, and tells what the call that has just failed left in the last error.
template <class... Pieces>
[[nodiscard]] ZRErrors::ZRErrorT FailForReason(const char* function, ZRErrors::ZRErrorT code, const Pieces&... what) {
    return Fail(function, code, what..., ", reason: ", CodeText(LastSystemError()));
}

/// Whether there is a file; a link that leads nowhere is none.
bool IsThere(const char* path) {
    if (File::OpenToRead(path)) {
        return true;
    }
    const DWORD reason = ::GetLastError();
    return reason != ERROR_FILE_NOT_FOUND && reason != ERROR_PATH_NOT_FOUND && ZRFileUtilsC::FileExists(path);
}

/// Makes a history without lines. One that another process has made meanwhile is as good.
ZRErrors::ZRErrorT MakeFile(const char* path, const char* columnHeadings) {
    FileReplacement file;
    if (!file.Open(path)) {
        return FailForReason(kCreate, ZRErrors::e_File_OpenFailed, "failed to open file:", path);
    }
    if (!(file.Write(AsFileText(Header(columnHeadings))) && file.Commit(false)) &&
        ::GetLastError() != ERROR_FILE_EXISTS) {
        return FailForReason(kCreate, ZRErrors::e_File_WriteFailed, "failed writing to: ", path);
    }
    return ZRErrors::e_General_NoError;
}

/// @param writeError receives what the writing failed with, 0 when it did not.
ZRErrors::ZRErrorT Append(const char* path, const std::string& line, ZRErrors::ZRErrorT& writeError) {
    File file = File::OpenToAppend(path);
    if (!file) {
        return FailForReason(kLogIt, ZRErrors::e_File_OpenFailed, "failed to open file:", path);
    }
    writeError = file.Write(line) ? ZRErrors::e_General_NoError : LastSystemError();
    CrashPoint();
    return ZRErrors::e_General_NoError;
}

} // namespace
} // namespace gaizior

using gaizior::Fail;
using gaizior::FailForReason;

/// A stream of the scanner's kind over a buffer.
class ZRHistoryC::TextStream : public std::fstream {
public:
    explicit TextStream(std::streambuf& buffer) {
        std::ios::rdbuf(&buffer);
    }
};

ZRHistoryC::ZRHistoryC() = default;
ZRHistoryC::ZRHistoryC(const ZRHistoryC& other)
    : m_strFilePath(other.m_strFilePath), m_nScanState(other.m_nScanState), m_nMaxLines(other.m_nMaxLines) {}
ZRHistoryC::~ZRHistoryC() = default;

ZRHistoryC::HistoryEnumeratorC ZRHistoryC::GetEnumerator() {
    return HistoryEnumeratorC(GetFilePath());
}

const char* ZRHistoryC::GetFilePath() {
    ZRCriticalSectionC::ZRCriticalSectionUserC user(&m_CS);
    if (user.EnterCriticalSection("ZRHistoryC::GetFilePath(): ", gaizior::kNoLimit) || m_strFilePath.IsEmpty()) {
        return ""; // and not the text that Create is going to change
    }
    return m_strFilePath;
}

ZRErrors::ZRErrorT ZRHistoryC::Create(const char* path, const char* columnHeadings, unsigned int maxLines) {
    ZRCriticalSectionC::ZRCriticalSectionUserC user(&m_CS);
    if (const auto error = user.EnterCriticalSection(gaizior::kCreate, gaizior::kNoLimit)) {
        return error;
    }
    if (!m_strFilePath.IsEmpty()) {
        return ZRErrors::e_General_NoError;
    }
    return gaizior::GuardMemory(gaizior::kCreate, [&] {
        m_strFilePath = path;
        m_nMaxLines = maxLines;
        return gaizior::IsThere(path) ? ZRErrors::e_General_NoError : gaizior::MakeFile(path, columnHeadings);
    });
}

ZRErrors::ZRErrorT ZRHistoryC::LogIt(const char* text) {
    ZRCriticalSectionC::ZRCriticalSectionUserC user(&m_CS);
    if (const auto error = user.EnterCriticalSection(gaizior::kLogIt, gaizior::kNoLimit)) {
        return error;
    }
    if (m_strFilePath.IsEmpty()) {
        return Fail(gaizior::kLogIt, ZRErrors::e_File_InvalidName);
    }
    return gaizior::GuardMemory(gaizior::kLogIt, [&] {
        const std::string line = gaizior::DateAndTime('\t') + '\t' + gaizior::OrEmpty(text) + '\n';
        gaizior::FileLock lock; // a line that another process appends must not fall to this one's cut
        const bool isLocked = lock.Acquire(m_strFilePath, gaizior::kLockTimeout);
        const ZRErrors::ZRErrorT lockError = isLocked ? ZRErrors::e_General_NoError : gaizior::LastSystemError();
        ZRErrors::ZRErrorT writeError = ZRErrors::e_General_NoError;
        if (const auto error = gaizior::Append(m_strFilePath, gaizior::AsFileText(line), writeError)) {
            return error;
        }
        if (isLocked) { // the line is there, whether the old ones can be cut off or not
            gaizior::GuardMemory(gaizior::kTruncateLog, [this] { return TruncateLog(); });
        } else {
            gaizior::LogError(gaizior::kLogIt, "old lines stay, failed to lock: ", m_strFilePath,
                              ", reason: ", gaizior::CodeText(lockError));
        }
        return writeError ? Fail(gaizior::kLogIt, ZRErrors::e_File_WriteFailed, "failed writing to: ", m_strFilePath,
                                 ", reason: ", gaizior::CodeText(writeError))
                          : ZRErrors::e_General_NoError;
    });
}

ZRErrors::ZRErrorT ZRHistoryC::TruncateLog() {
    if (m_strFilePath.IsEmpty()) {
        return Fail(gaizior::kTruncateLog, ZRErrors::e_File_InvalidName);
    }
    std::string contents;
    {
        gaizior::File file = gaizior::File::OpenToRead(m_strFilePath);
        if (!file) {
            return FailForReason(gaizior::kTruncateLog, ZRErrors::e_File_OpenFailed,
                                 "failed to open file:", m_strFilePath);
        }
        if (!file.ReadToEnd(contents, gaizior::kLargestFile)) {
            return FailForReason(gaizior::kTruncateLog, ZRErrors::e_File_ReadFailed,
                                 "ERROR counting lines in:", m_strFilePath);
        }
    }
    const unsigned int count = CountDataLines(contents);
    gaizior::LogAt(gaizior::kTraceLevel, gaizior::kTruncateLog, "Data lines in file:", count);
    return count > m_nMaxLines ? KeepNewest(contents, count) : ZRErrors::e_General_NoError;
}

unsigned int ZRHistoryC::CountDataLines(std::string& contents) {
    gaizior::Source source(contents);
    TextStream in(source);
    unsigned int count = 0;
    SeekToData();
    while (SeekToData(in, in, m_nScanState, 0) == ZRErrors::e_General_NoError) { // the lock is held
        ++count;
    }
    return count; // in memory nothing but the end ends it
}

/// Copies header and newest lines, as many as are to stay of `count`.
ZRErrors::ZRErrorT ZRHistoryC::CopyNewest(std::string& contents, unsigned int count, std::fstream& out) {
    gaizior::Source source(contents);
    TextStream in(source);
    SeekToData();
    ZRErrors::ZRErrorT code = SeekToData(in, out, 1);
    for (; code == ZRErrors::e_General_NoError && m_nMaxLines < count; --count) {
        code = SeekToData(in);
    }
    while (code == ZRErrors::e_General_NoError) {
        code = SeekToData(in, out, m_nScanState, 1); // the lock is held
    }
    return code == ZRErrors::e_File_EndOfFile ? ZRErrors::e_General_NoError : code;
}

ZRErrors::ZRErrorT ZRHistoryC::KeepNewest(std::string& contents, unsigned int count) {
    gaizior::Sink kept(contents.size());
    TextStream out(kept);
    gaizior::FileReplacement file;
    if (!file.Open(m_strFilePath)) {
        return FailForReason(gaizior::kTruncateLog, ZRErrors::e_File_OpenFailed, "failed to open file:", m_strFilePath,
                             ", to replace it");
    }
    const std::string temporary = file.TemporaryPath();
    ZRErrors::ZRErrorT code = CopyNewest(contents, count, out), reason = code;
    if (code == ZRErrors::e_General_NoError && !file.Write(kept.Taken())) {
        code = ZRErrors::e_File_WriteFailed;
        reason = gaizior::LastSystemError();
    }
    if (code != ZRErrors::e_General_NoError) {
        return Fail(gaizior::kTruncateLog, code, "Failed copying data lines from file:", m_strFilePath,
                    ", to: ", temporary, ", reason: ", gaizior::CodeText(reason));
    }
    return file.Commit() ? code
                         : FailForReason(gaizior::kTruncateLog, ZRErrors::e_File_CopyFailed,
                                         "Failed copying file: ", temporary, ", to: ", m_strFilePath);
}

ZRErrors::ZRErrorT ZRHistoryC::SeekToData() {
    ZRCriticalSectionC::ZRCriticalSectionUserC user(&m_CS);
    const auto error = user.EnterCriticalSection("ZRHistoryC::SeekToData(): ", gaizior::kNoLimit);
    if (error == 0) {
        m_nScanState = 0;
    }
    return error;
}

ZRErrors::ZRErrorT ZRHistoryC::SeekToData(std::fstream& in) {
    return SeekToData(in, in, 0);
}

ZRErrors::ZRErrorT ZRHistoryC::SeekToData(std::fstream& in, std::fstream& out, int copy) {
    ZRCriticalSectionC::ZRCriticalSectionUserC user(&m_CS);
    if (const auto error = user.EnterCriticalSection("ZRHistoryC::SeekToData(): ", gaizior::kNoLimit)) {
        return error;
    }
    return SeekToData(in, out, m_nScanState, copy);
}

ZRErrors::ZRErrorT ZRHistoryC::SeekToData(std::fstream& in, std::fstream& out, unsigned int& state, int copy) {
    if (in.eof()) {
        return ZRErrors::e_File_EndOfFile;
    }
    if (!in) {
        return ZRErrors::e_File_ReadFailed;
    }
    if (!out) {
        return ZRErrors::e_File_WriteFailed;
    }
    const ZRErrors::ZRErrorT code = gaizior::Scan(*in.std::ios::rdbuf(), copy ? out.std::ios::rdbuf() : nullptr, state);
    if (code == ZRErrors::e_File_EndOfFile) {
        in.setstate(std::ios::eofbit);
    } else if (code == ZRErrors::e_File_ReadFailed) {
        in.setstate(std::ios::badbit);
    } else if (code == ZRErrors::e_File_WriteFailed) {
        out.setstate(std::ios::badbit);
    }
    return code;
}

// --- Reading ---------------------------------------------------------------------------------------------------------

ZRHistoryC::HistoryEnumeratorC::HistoryEnumeratorC(const HistoryEnumeratorC& other) = default;
ZRHistoryC::HistoryEnumeratorC& ZRHistoryC::HistoryEnumeratorC::operator=(const HistoryEnumeratorC& other) = default;
ZRHistoryC::HistoryEnumeratorC::~HistoryEnumeratorC() = default;

ZRHistoryC::HistoryEnumeratorC::HistoryEnumeratorC(const char* path) {
    constexpr const char* kFunction = "ZRHistoryC::HistoryEnumeratorC::HistoryEnumeratorC(): ";
    m_nError = gaizior::GuardMemory(kFunction, [&]() -> ZRErrors::ZRErrorT {
        gaizior::File file = gaizior::File::OpenToRead(path);
        if (!file) {
            gaizior::LogError(kFunction, "failed to open file:", path);
            return ZRErrors::e_File_EndOfFile;
        }
        auto contents = std::make_shared<std::string>();
        if (!file.ReadToEnd(*contents, gaizior::kLargestFile)) {
            return Fail(kFunction, ZRErrors::e_File_ReadFailed, "failed reading from: ", path);
        }
        m_pContents = std::move(contents);
        return ZRErrors::e_File_EndOfFile;
    });
}

ZRErrors::ZRErrorT ZRHistoryC::HistoryEnumeratorC::NextElement(ZRCString& line) {
    line.Empty();
    if (!m_pContents) {
        return std::exchange(m_nError, ZRErrors::e_File_EndOfFile);
    }
    return gaizior::GuardMemory("ZRHistoryC::HistoryEnumeratorC::NextElement(): ", [&] { return ReadLine(line); });
}

ZRErrors::ZRErrorT ZRHistoryC::HistoryEnumeratorC::ReadLine(ZRCString& line) {
    gaizior::Source source(*m_pContents, m_nPosition);
    unsigned int state = 0;
    if (const auto error = gaizior::Scan(source, nullptr, state)) {
        SetEnded();
        return error;
    }
    const std::string_view rest = source.Rest();
    const std::string_view found = rest.substr(0, gaizior::FindLineEnd(rest));
    line = std::string(found).c_str();
    m_nPosition = m_pContents->size() - rest.size() + found.size(); // at the line end, which the next scan needs
    if (found.size() == rest.size()) {
        SetEnded();
    }
    return ZRErrors::e_General_NoError;
}

void ZRHistoryC::HistoryEnumeratorC::SetEnded() {
    m_pContents = nullptr;
    m_nError = ZRErrors::e_File_EndOfFile;
}
