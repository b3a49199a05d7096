#include "gaizior/config/read_cfg.h"

#include "gaizior/errors/failure.h"
#include "gaizior/errors/memory_guard.h"
#include "gaizior/platform/file_replacement.h"
#include "gaizior/platform/files.h"
#include "gaizior/platform/line_end.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <locale>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

namespace gaizior {
namespace {

constexpr const char* kOpenFileName = "ZRReadCfgC::OpenFileName(): ";
constexpr const char* kReadToken = "ZRReadCfgC::ReadToken(): ";
constexpr const char* kWriteToken = "ZRReadCfgC::WriteToken(): ";
constexpr const char* kCloseFile = "ZRReadCfgC::CloseFile(): ";
constexpr const char* kNotOpened = "File has not been opened!!";

constexpr std::size_t kLargestFile = std::size_t{1} << 30;
constexpr int kDigits = 6;

/// Whether each line feed has its carriage return. Only then can they be left out and be put back.
bool HasWindowsLineEnds(std::string_view contents) {
    std::size_t at = contents.find('\n');
    if (at == contents.npos) {
        return kLineEnd == kWindowsLineEnd;
    }
    for (; at != contents.npos; at = contents.find('\n', at + 1)) {
        if (at == 0 || contents[at - 1] != '\r') {
            return false;
        }
    }
    return true;
}

constexpr bool IsBlank(char character) {
    return character == ' ' || character == '\t' || character == '\n' || character == '\r' || character == '\0';
}

constexpr bool IsLetter(char character, char lower) {
    return (character | 0x20) == lower;
}

/// Whether what comes next, behind its sign, begins a decimal number. A NUL ends the text.
bool IsDecimal(const char* next) {
    next += *next == '-' || *next == '+';
    const bool isHexadecimal = next[0] == '0' && IsLetter(next[1], 'x');
    return (*next == '.' || (*next >= '0' && *next <= '9')) && !isHexadecimal;
}

/// A number beyond what a double holds: too large is none, too small is 0.
bool ReadExtreme(std::string_view text, double& value) {
    std::istringstream stream{std::string(text)};
    stream.imbue(std::locale::classic());
    return static_cast<bool>(stream >> value);
}

/// Reads as a stream reads a double, in the C locale. Moves `next` behind the number, which is stored, or fails.
/// @param end of the text, where a NUL stands.
bool ReadNumber(const char*& next, const char* end, double& value) {
    while (next != end && IsBlank(*next)) {
        ++next;
    }
    if (!IsDecimal(next)) {
        return false;
    }
    const char* const begin = next + (*next == '+');
    double number = 0;
    const auto [after, error] = std::from_chars(begin, end, number);
    const std::string_view text(begin, after);
    const bool isExponentCut = IsLetter(*after, 'e') && text.find_first_of("eE") == text.npos; // "1e", "1e+"
    if (error == std::errc::invalid_argument || isExponentCut ||
        (error == std::errc::result_out_of_range && !ReadExtreme(text, number))) {
        return false;
    }
    value = number;
    next = after;
    return true;
}

void AppendNumber(std::string& text, double value) {
    std::array<char, 32> digits;
    const auto result =
        std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::general, kDigits);
    text.append(digits.data(), result.ptr);
}

/// Where the contents go on behind a line that is put over the one at `position` and ends at `end`; npos: nowhere.
std::size_t FindRest(std::string_view contents, std::size_t position, std::size_t end) {
    constexpr std::string_view kLineEnds = "\n\r";
    const std::size_t oldEnd = contents.find_first_of(kLineEnds, position);
    return oldEnd != contents.npos && oldEnd + 1 == end ? end : contents.find_first_of(kLineEnds, end);
}

} // namespace
} // namespace gaizior

using gaizior::Fail;

ZRReadCfgC::ZRReadCfgC() = default;
ZRReadCfgC::ZRReadCfgC(const ZRReadCfgC& other) = default;
ZRReadCfgC& ZRReadCfgC::operator=(const ZRReadCfgC& other) = default;
ZRReadCfgC::~ZRReadCfgC() = default;

ZRErrors::ZRErrorT ZRReadCfgC::OpenFileName(const char* fileName) {
    gaizior::File file = gaizior::File::OpenToRead(fileName);
    if (!file) {
        return Fail(gaizior::kOpenFileName, ZRErrors::e_File_OpenFailed, "failed to open file: ", fileName);
    }
    std::string contents;
    if (!file.ReadToEnd(contents, gaizior::kLargestFile)) {
        return Fail(gaizior::kOpenFileName, ZRErrors::e_File_ReadFailed, "failed reading from file: ", fileName);
    }
    return gaizior::GuardMemory(gaizior::kOpenFileName, [&] {
        auto name = std::make_shared<const std::string>(fileName);
        const bool hasWindowsLineEnds = gaizior::HasWindowsLineEnds(contents);
        SetContents(hasWindowsLineEnds
                        ? gaizior::ReplaceLineEnds(contents, gaizior::kWindowsLineEnd, gaizior::kUnixLineEnd)
                        : std::move(contents));
        m_bWindowsLineEnds = hasWindowsLineEnds;
        m_pFileName.swap(name);
        return ZRErrors::e_General_NoError;
    });
}

ZRErrors::ZRErrorT ZRReadCfgC::ReadToken(const char* token, double* const values, unsigned int count,
                                         int continueSearch) {
    return _ReadToken(token, values, count, continueSearch);
}

ZRErrors::ZRErrorT ZRReadCfgC::WriteToken(const char* token, const double* const values, unsigned int count,
                                          int continueSearch) {
    return _WriteToken(token, values, count, continueSearch);
}

ZRErrors::ZRErrorT ZRReadCfgC::_ReadToken(const char* token, double* const values, unsigned int count,
                                          int continueSearch) {
    if (!m_pContents) {
        return Fail(gaizior::kReadToken, ZRErrors::e_File_OpenFailed, gaizior::kNotOpened);
    }
    if (!token || (!values && count > 0)) {
        return Fail(gaizior::kReadToken, ZRErrors::e_Arguments_Bad);
    }
    if (!continueSearch) {
        m_nReadPosition = 0;
    }
    const char* const found = Find(token, m_nReadPosition);
    if (!found) {
        return ZRErrors::e_File_EndOfFile;
    }
    const char* const begin = m_pContents->data();
    const char* next = found + std::strlen(token);
    m_nReadPosition = static_cast<unsigned int>(next - begin);
    return gaizior::GuardMemory(gaizior::kReadToken, [&] {
        for (unsigned int i = 0; i < count; ++i) {
            if (!gaizior::ReadNumber(next, begin + m_pContents->size(), values[i])) {
                return Fail(gaizior::kReadToken, ZRErrors::e_File_ReadFailed, "failed while reading object: ", i,
                            " of ", count, ", ", values[i]);
            }
        }
        m_nReadPosition = static_cast<unsigned int>(next - begin);
        return ZRErrors::e_General_NoError;
    });
}

ZRErrors::ZRErrorT ZRReadCfgC::_WriteToken(const char* token, const double* const values, unsigned int count,
                                           int continueSearch) {
    if (!m_pContents) {
        return Fail(gaizior::kWriteToken, ZRErrors::e_File_OpenFailed, gaizior::kNotOpened);
    }
    if (!token || (!values && count > 0) ||
        !std::all_of(values, values + count, [](double value) { return std::isfinite(value); })) {
        return Fail(gaizior::kWriteToken, ZRErrors::e_Arguments_Bad);
    }
    if (!continueSearch) {
        m_nWritePosition = 0;
    }
    return gaizior::GuardMemory(gaizior::kWriteToken, [&] {
        const std::string_view old = *m_pContents;
        const char* const found = Find(token, m_nWritePosition);
        const std::size_t position =
            found ? static_cast<std::size_t>(found - old.data()) : std::strlen(m_pContents->c_str());
        std::string contents(old.substr(0, position));
        contents.append(token) += '\t';
        for (unsigned int i = 0; i < count; ++i) {
            contents += ' ';
            gaizior::AppendNumber(contents, values[i]);
        }
        contents += '\n';
        const std::size_t end = contents.size();
        const std::size_t rest = found ? gaizior::FindRest(old, position, end) : old.npos;
        if (rest != old.npos) {
            contents += old.substr(rest);
        }
        SetContents(std::move(contents));
        m_nWritePosition = static_cast<unsigned int>(end);
        return ZRErrors::e_General_NoError;
    });
}

ZRErrors::ZRErrorT ZRReadCfgC::CloseFile(int writeBack) {
    if (!m_pFileName) {
        gaizior::LogError(gaizior::kCloseFile, "NULL == m_pFileName - nothing to close!!!: ");
        return ZRErrors::e_General_NoError;
    }
    const ZRErrors::ZRErrorT code =
        writeBack ? gaizior::GuardMemory(gaizior::kCloseFile, [&] { return Save(); }) : ZRErrors::e_General_NoError;
    m_pFileName.reset();
    m_pContents.reset();
    m_nLength = 0;
    return code;
}

/// The token from a position on; null where there is none.
const char* ZRReadCfgC::Find(const char* token, unsigned int position) const {
    return position < m_nLength ? std::strstr(m_pContents->c_str() + position, token) : nullptr;
}

void ZRReadCfgC::SetContents(std::string contents) {
    auto block = std::make_shared<const std::string>(std::move(contents));
    m_pContents.swap(block);
    m_nLength = static_cast<unsigned int>(m_pContents->size() + 1);
}

ZRErrors::ZRErrorT ZRReadCfgC::Save() const {
    const char* const name = m_pFileName->c_str();
    const std::string contents =
        gaizior::ReplaceLineEnds(m_pContents->c_str(), gaizior::kUnixLineEnd,
                                 m_bWindowsLineEnds ? gaizior::kWindowsLineEnd : gaizior::kUnixLineEnd);
    gaizior::FileReplacement file;
    if (!file.Open(name)) {
        return Fail(gaizior::kCloseFile, ZRErrors::e_File_OpenFailed, "failed to open file: ", name);
    }
    if (!(file.Write(contents) && file.Commit())) {
        return Fail(gaizior::kCloseFile, ZRErrors::e_File_WriteFailed, "failed writing to file: ", name);
    }
    return ZRErrors::e_General_NoError;
}
