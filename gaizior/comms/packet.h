#pragma once

/// @file
/// The packet text of a message: type, code, ID, value, string, qualifier.
///
/// The first five are each followed by a semicolon, the numbers are signed decimal of 32 bits. Nothing is escaped: the
/// string must hold no semicolon, the qualifier may. All functions may be called from any thread; each logs its
/// failures.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

#include <concepts>
#include <cstdint>

class ZRLogStreamC;

namespace ZRErrors {

/// A message between caller-owned buffers.
struct ZRMessagePacketT {
    std::int32_t nType = 0;           ///< what kind of message it is; applications agree on the numbers
    std::int32_t nCode = 0;           ///< which one of that kind
    std::uint16_t nID = 0;            ///< communications ID of the sender
    std::int32_t nVal = 0;            ///< the message's number
    char* pString = nullptr;          ///< creation reads a NUL-terminated text, null counts as empty
    std::uint16_t nStringSize = 0;    ///< capacity of pString for extraction
    char* pQualifier = nullptr;       ///< as pString
    std::uint16_t nQualifierSize = 0; ///< capacity of pQualifier for extraction
};

} // namespace ZRErrors

extern "C" {

/// Writes a packet text into `buffer` of `bufferSize` bytes. A text may fill them exactly: its NUL then stands in the
/// byte behind them, a decision of this system; callers give one less than they have. Null texts count as empty.
/// @returns 0; e_Buffer_TooSmall without a buffer or when a number does not fit; e_Buffer_Overflowed when the string or
///   the qualifier does not fit: it is left out, the other is still written.
GAIZIOR_API ZRErrors::ZRErrorT ZRCreateMessage(long type, long code, unsigned short id, long val, const char* string,
                                               const char* qualifier, char* buffer, unsigned short bufferSize);

/// The same with a record's fields; its sizes are ignored.
GAIZIOR_API ZRErrors::ZRErrorT ZRCreateMessageFromPacket(const ZRErrors::ZRMessagePacketT& packet, char* buffer,
                                                         unsigned short bufferSize);

/// Reads a packet text: 8-bit characters up to a NUL, at any address; or, behind the bytes FF FE, 16-bit units of plain
/// ASCII.
///
/// Whatever the bytes are, nothing outside text and buffers is touched. Numbers are read as the C library's "%d"
/// does; those that do not convert are 0, those that do not fit keep their lower 32 bits, the ID its lower 16.
/// Any result pointer may be null. Behind the bytes FF FE a text ends with a zero unit: end bytes from elsewhere, which
/// may begin so too, with three NULs. The two bytes and one NUL are a whole 8-bit text, so there a first unit whose low
/// byte is zero ends the text as well, whatever its high byte. After a failure a buffer whose text was not reached or
/// does not fit holds "". A field whose separator is missing starts at the character code of the text's last character,
/// in a copy that is zero behind the text: a decision of this system.
/// @returns 0; e_Buffer_TooSmall when the text is longer than 1,027 characters, or the string or qualifier does not
/// fit;
///   e_Text_ReverseByteOrderMark for a text that begins with FE FF; e_Name_NotAscii for units of 128 and more;
///   e_Arguments_Bad for a null text.
GAIZIOR_API ZRErrors::ZRErrorT ZRExtractMessage(const unsigned short* text, long* type, long* code, unsigned short* id,
                                                long* val, char* string, unsigned short stringSize, char* qualifier,
                                                unsigned short qualifierSize);

/// The same into a record's fields and buffers.
GAIZIOR_API ZRErrors::ZRErrorT ZRExtractMessagePacket(const unsigned short* text, ZRErrors::ZRMessagePacketT& packet);
}

/// The same for a text of bytes, which needs no cast then. Templates, so that a null literal means the functions above.
/// @{
template <std::same_as<char> Char>
ZRErrors::ZRErrorT ZRExtractMessage(const Char* text, long* type, long* code, unsigned short* id, long* val,
                                    char* string, unsigned short stringSize, char* qualifier,
                                    unsigned short qualifierSize) {
    return ZRExtractMessage(reinterpret_cast<const unsigned short*>(text), type, code, id, val, string, stringSize,
                            qualifier, qualifierSize);
}
template <std::same_as<char> Char>
ZRErrors::ZRErrorT ZRExtractMessagePacket(const Char* text, ZRErrors::ZRMessagePacketT& packet) {
    return ZRExtractMessagePacket(reinterpret_cast<const unsigned short*>(text), packet);
}
/// @}

/// Writes the packet text of a record, however long its texts are.
GAIZIOR_API ZRLogStreamC& operator<<(ZRLogStreamC& log, const ZRErrors::ZRMessagePacketT& packet);
