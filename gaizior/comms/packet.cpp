#include "gaizior/comms/packet.h"

#include "gaizior/errors/failure.h"
#include "gaizior/values/ascii.h"
#include "gaizior/values/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <string_view>

namespace gaizior {
namespace {

using ZRErrors::ZRErrorT;

constexpr char kSeparator = ';';
constexpr std::size_t kSeparators = 5;
constexpr std::size_t kWorkingCopySize = 1028;

/// Appends fields to a buffer and keeps it terminated. Room is counted without the NUL.
class PacketWriter {
public:
    PacketWriter(char* buffer, std::size_t size) : m_pEnd(buffer), m_nLeft(size) {
        *m_pEnd = 0;
    }

    bool AppendNumber(std::int32_t value) {
        char digits[16];
        char* const end = std::to_chars(digits, digits + sizeof(digits) - 1, value).ptr;
        *end = kSeparator;
        return Append({digits, static_cast<std::size_t>(end + 1 - digits)});
    }

    bool AppendText(const char* text, std::string_view separator) {
        const std::string_view field = OrEmpty(text);
        return field.size() + separator.size() <= m_nLeft && Append(field) && Append(separator);
    }

private:
    bool Append(std::string_view text) {
        if (text.size() > m_nLeft) {
            return false;
        }
        m_pEnd += text.copy(m_pEnd, text.size());
        m_nLeft -= text.size();
        *m_pEnd = 0;
        return true;
    }

    char* m_pEnd;
    std::size_t m_nLeft;
};

ZRErrorT Create(std::initializer_list<long> numbers, const char* string, const char* qualifier, char* buffer,
                std::size_t size) {
    if (!buffer || size == 0) {
        return ZRErrors::e_Buffer_TooSmall;
    }
    PacketWriter writer(buffer, size);
    for (const long number : numbers) {
        if (!writer.AppendNumber(static_cast<std::int32_t>(number))) {
            return ZRErrors::e_Buffer_TooSmall;
        }
    }
    const bool stringFits = writer.AppendText(string, ";");
    const bool qualifierFits = writer.AppendText(qualifier, "");
    return stringFits && qualifierFits ? ZRErrors::e_General_NoError : ZRErrors::e_Buffer_Overflowed;
}

/// A packet text taken apart in a zeroed copy of its own.
class PacketReader {
public:
    ZRErrorT Load(const void* text, std::size_t unitLimit);
    /// The next number as "%d" reads it; nothing behind one that did not convert.
    std::int32_t NextNumber();
    /// Ends the string before the qualifier; the numbers are read before, since without separators it may end in them.
    void EndString();
    std::string_view String() const {
        return FieldAt(m_starts[kSeparators - 2]);
    }
    std::string_view Qualifier() const {
        return FieldAt(m_starts[kSeparators - 1]);
    }

private:
    ZRErrorT CopyUnits(const unsigned char* units, std::size_t limit);
    ZRErrorT CopyBytes(const char* text);
    void Split();
    std::string_view FieldAt(std::size_t start) const {
        return m_text.data() + start;
    }

    std::array<char, kWorkingCopySize> m_text{};
    std::array<std::size_t, kSeparators> m_starts{}; ///< of the fields 2 to 6
    const char* m_pNumber = nullptr;
};

ZRErrorT PacketReader::Load(const void* text, std::size_t unitLimit) {
    // Byte by byte: an 8-bit text may be shorter than a unit and lie anywhere.
    const auto* bytes = static_cast<const unsigned char*>(text);
    ZRErrorT error = ZRErrors::e_General_NoError;
    if (bytes[0] == 0xFE && bytes[1] == 0xFF) {
        return ZRErrors::e_Text_ReverseByteOrderMark;
    }
    if (bytes[0] == 0xFF && bytes[1] == 0xFE) {
        error = CopyUnits(bytes + 2, unitLimit);
    } else {
        error = CopyBytes(static_cast<const char*>(text));
    }
    if (error == ZRErrors::e_General_NoError) {
        Split();
    }
    return error;
}

ZRErrorT PacketReader::CopyUnits(const unsigned char* units, std::size_t limit) {
    if (*units == 0) {
        return ZRErrors::e_General_NoError; // the 8-bit text FF FE ends here, and memory may end with it
    }
    const std::optional<std::size_t> length = UnitsToAscii(m_text.data(), m_text.size() - 1, units, m_text.size());
    if (!length) {
        return ZRErrors::e_Name_NotAscii;
    }
    return *length <= std::min(limit, m_text.size() - 1) ? ZRErrors::e_General_NoError : ZRErrors::e_Buffer_TooSmall;
}

ZRErrorT PacketReader::CopyBytes(const char* text) {
    const std::size_t length = ::strnlen(text, m_text.size());
    if (length == m_text.size()) {
        return ZRErrors::e_Buffer_TooSmall;
    }
    std::memcpy(m_text.data(), text, length);
    return ZRErrors::e_General_NoError;
}

/// A field whose separator is missing starts at the code of the text's last character, a decision of this system; a
/// well-formed packet has them all.
void PacketReader::Split() {
    const std::size_t length = std::strlen(m_text.data());
    m_starts.fill(length > 0 ? static_cast<unsigned char>(m_text[length - 1]) : 0u);
    std::size_t found = 0;
    for (std::size_t i = 0; i < length && found < kSeparators; ++i) {
        if (m_text[i] == kSeparator) {
            m_text[i] = ' ';
            m_starts[found++] = i + 1;
        }
    }
    m_pNumber = m_text.data();
}

void PacketReader::EndString() {
    if (const std::size_t qualifier = m_starts[kSeparators - 1]; qualifier > 0) {
        m_text[qualifier - 1] = 0;
    }
}

std::int32_t PacketReader::NextNumber() {
    const std::optional<std::uint32_t> number = m_pNumber ? ReadNumber(m_pNumber, 10) : std::nullopt;
    if (!number) {
        m_pNumber = nullptr;
    }
    return static_cast<std::int32_t>(number.value_or(0));
}

/// Copies a field with its NUL. @returns whether it fits.
bool CopyField(std::string_view field, char* buffer, std::size_t size) {
    if (field.size() >= size || !buffer) {
        return field.size() < size;
    }
    buffer[field.copy(buffer, field.size())] = 0;
    return true;
}

template <typename Target>
void Store(Target* target, std::int32_t value) {
    if (target) {
        *target = static_cast<Target>(value);
    }
}

template <typename Number, typename Id>
ZRErrorT Extract(const void* text, Number* type, Number* code, Id* id, Number* value, char* string,
                 std::size_t stringSize, char* qualifier, std::size_t qualifierSize) {
    PacketReader reader;
    const ZRErrorT error = text ? reader.Load(text, stringSize) : ZRErrors::e_Arguments_Bad;
    CopyField("", string, stringSize); // only now: the text may lie in these buffers
    CopyField("", qualifier, qualifierSize);
    if (error != ZRErrors::e_General_NoError) {
        return error;
    }
    Store(type, reader.NextNumber());
    Store(code, reader.NextNumber());
    Store(id, reader.NextNumber());
    Store(value, reader.NextNumber());
    reader.EndString();
    const bool fits =
        CopyField(reader.String(), string, stringSize) && CopyField(reader.Qualifier(), qualifier, qualifierSize);
    return fits ? ZRErrors::e_General_NoError : ZRErrors::e_Buffer_TooSmall;
}

} // namespace
} // namespace gaizior

using namespace gaizior;

ZRErrors::ZRErrorT ZRCreateMessage(long type, long code, unsigned short id, long val, const char* string,
                                   const char* qualifier, char* buffer, unsigned short bufferSize) {
    const ZRErrorT error = Create({type, code, id, val}, string, qualifier, buffer, bufferSize);
    return error == ZRErrors::e_General_NoError ? error : Fail("ZRCreateMessage(): ", error);
}

ZRErrors::ZRErrorT ZRCreateMessageFromPacket(const ZRErrors::ZRMessagePacketT& packet, char* buffer,
                                             unsigned short bufferSize) {
    return ZRCreateMessage(packet.nType, packet.nCode, packet.nID, packet.nVal, packet.pString, packet.pQualifier,
                           buffer, bufferSize);
}

ZRErrors::ZRErrorT ZRExtractMessage(const unsigned short* text, long* type, long* code, unsigned short* id, long* val,
                                    char* string, unsigned short stringSize, char* qualifier,
                                    unsigned short qualifierSize) {
    const ZRErrorT error = Extract(text, type, code, id, val, string, stringSize, qualifier, qualifierSize);
    return error == ZRErrors::e_General_NoError ? error : Fail("ZRExtractMessage(): ", error);
}

ZRErrors::ZRErrorT ZRExtractMessagePacket(const unsigned short* text, ZRErrors::ZRMessagePacketT& packet) {
    const ZRErrorT error = Extract(text, &packet.nType, &packet.nCode, &packet.nID, &packet.nVal, packet.pString,
                                   packet.nStringSize, packet.pQualifier, packet.nQualifierSize);
    return error == ZRErrors::e_General_NoError ? error : Fail("ZRExtractMessagePacket(): ", error);
}

ZRLogStreamC& operator<<(ZRLogStreamC& log, const ZRErrors::ZRMessagePacketT& packet) {
    // Field by field: the texts may be long, and the stream's number format has no say in a packet.
    char numbers[64];
    Create({packet.nType, packet.nCode, packet.nID, packet.nVal}, "", "", numbers, sizeof(numbers) - 1);
    numbers[std::strlen(numbers) - 1] = 0; // the empty string's separator
    return log << static_cast<const char*>(numbers) << packet.pString << kSeparator << packet.pQualifier;
}
