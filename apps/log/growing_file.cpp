#include "apps/log/growing_file.h"

#include <algorithm>
#include <fstream>

namespace apps {
namespace {

constexpr std::size_t kLongestLine = std::size_t{64} * 1024;
constexpr std::size_t kPiece = std::size_t{256} * 1024;
constexpr std::size_t kHead = 256; // of a log: with the time of its creation, to the millisecond
constexpr std::size_t kTail = 64;

/// @returns the bytes that are there, at most `size`; fewer at the end of the file
std::string ReadAt(std::istream& stream, std::uint64_t offset, std::size_t size) {
    std::string bytes(size, '\0');
    stream.seekg(static_cast<std::streamoff>(offset));
    stream.read(bytes.data(), static_cast<std::streamsize>(size));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return bytes;
}

} // namespace

bool GrowingFile::ReadLine(std::string& line) {
    for (;;) {
        const std::size_t end = m_pending.find('\n', m_nSearched);
        const std::size_t length = std::min(end, m_pending.size()) - m_nBegin;
        if (length >= kLongestLine || end != m_pending.npos) {
            const std::size_t taken = std::min(length, kLongestLine);
            line.assign(m_pending, m_nBegin, taken);
            m_nBegin += taken + (end == m_nBegin + taken ? 1 : 0);
            m_nSearched = m_nBegin;
            return true;
        }
        m_nSearched = m_pending.size();
        if (!ReadMore()) {
            return false;
        }
    }
}

bool GrowingFile::TakeRest(std::string& line) {
    line.assign(m_pending, m_nBegin);
    m_pending.clear();
    m_nBegin = m_nSearched = 0;
    return !line.empty();
}

bool GrowingFile::ReadMore() {
    std::ifstream stream(m_path, std::ios::binary);
    const bool isSame = stream && HoldsWhatWasRead(stream);
    const std::string piece = isSame ? ReadAt(stream, m_nOffset, kPiece) : std::string();
    m_bHasFailed = !isSame || stream.bad();
    m_pending.erase(0, m_nBegin);
    m_nSearched -= m_nBegin;
    m_nBegin = 0;
    m_pending += piece;
    Remember(piece);
    m_nOffset += piece.size();
    return !piece.empty();
}

void GrowingFile::Remember(std::string_view piece) {
    if (m_head.size() == m_nOffset) {
        m_head += piece.substr(0, kHead - std::min(kHead, m_head.size()));
    }
    m_tail += piece.substr(piece.size() - std::min(piece.size(), kTail));
    m_tail.erase(0, m_tail.size() - std::min(m_tail.size(), kTail));
}

GrowingFile::Change GrowingFile::Look() {
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(m_path, error);
    const auto lastWrite = error ? m_lastWrite : std::filesystem::last_write_time(m_path, error);
    if (error) {
        m_lastWrite = {};
        return Change::kGone;
    }
    if (size == m_nSize && lastWrite == m_lastWrite) {
        return Change::kNone;
    }
    m_nSize = size;
    m_lastWrite = lastWrite;
    if (m_nOffset > 0 && !StandsIn(m_path)) {
        m_lastWrite = {}; // to be looked at again
        return Change::kReplaced;
    }
    m_bHasFailed = false; // what has come is still to be read
    return Change::kMore;
}

bool GrowingFile::StandsIn(const std::filesystem::path& path) const {
    std::ifstream stream(path, std::ios::binary);
    return m_nOffset > 0 && stream && HoldsWhatWasRead(stream);
}

bool GrowingFile::HoldsWhatWasRead(std::istream& stream) const {
    return ReadAt(stream, 0, m_head.size()) == m_head &&
           ReadAt(stream, m_nOffset - m_tail.size(), m_tail.size()) == m_tail;
}

void GrowingFile::Rewind() {
    *this = GrowingFile(m_path);
}

} // namespace apps
