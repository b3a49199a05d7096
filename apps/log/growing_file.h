#pragma once

#include <cstdint>
#include <filesystem>
#include <istream>
#include <string>

namespace apps {

/// Reads the lines of a file that others append to, replace and remove meanwhile. The file is open only while a piece
/// of it is read, so that it is in nobody's way.
class GrowingFile {
public:
    explicit GrowingFile(std::filesystem::path path) : m_path(std::move(path)) {}

    const std::filesystem::path& Path() const {
        return m_path;
    }

    /// The next line without its end; one that is too long comes in pieces of 64 KiB. @returns false at the end of the
    /// file, where a line that has no end yet is left, and where it cannot be read.
    bool ReadLine(std::string& line);
    /// The line without an end. @returns false when there is none.
    bool TakeRest(std::string& line);
    /// Whether the last attempt to read failed; so it does when the file is another one by now.
    bool HasFailed() const {
        return m_bHasFailed;
    }

    enum class Change { kNone, kMore, kReplaced, kGone };
    /// What has happened since the last look: lines may have come (kMore), or the file is another one, or shorter.
    Change Look();
    /// Whether what was read so far stands in another file too: this one was renamed, or copied.
    bool StandsIn(const std::filesystem::path& path) const;
    /// Goes on in a file that this one stands in.
    void MoveTo(std::filesystem::path path) {
        m_path = std::move(path);
    }
    /// Begins anew.
    void Rewind();

private:
    bool ReadMore();
    bool HoldsWhatWasRead(std::istream& stream) const;
    void Remember(std::string_view piece);

    std::filesystem::path m_path;
    std::uint64_t m_nOffset = 0; ///< bytes that were read
    std::string m_pending;       ///< of these what no line was made of, from m_nBegin on
    std::size_t m_nBegin = 0;
    std::size_t m_nSearched = 0; ///< holds no line's end up to here
    std::string m_head;          ///< the file's first bytes
    std::string m_tail;          ///< the last bytes before m_nOffset
    bool m_bHasFailed = false;
    std::uint64_t m_nSize = 0; ///< at the last look
    std::filesystem::file_time_type m_lastWrite;
};

} // namespace apps
