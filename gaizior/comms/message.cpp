#include "gaizior/comms/message.h"

#include "gaizior/comms/packet.h"
#include "gaizior/errors/failure.h"
#include "gaizior/values/ascii.h"
#include "gaizior/values/number_text.h"
#include "gaizior/values/xml_reader.h"

#include <array>
#include <atomic>
#include <charconv>
#include <iterator>
#include <new>
#include <sstream>
#include <string_view>
#include <utility>

namespace gaizior {
namespace {

using ZRErrors::ZRErrorT;

constexpr std::string_view kObjectName = "ZRCommMsgC";
constexpr std::size_t kLongestText = 65534;
constexpr std::size_t kPacketSize = 256;
constexpr std::uint16_t kFieldSize = 2048;

/// A stored text follows the number of messages that share it.
using Sharers = std::atomic<std::uint32_t>;

Sharers& SharersOf(char* text) {
    return *std::launder(reinterpret_cast<Sharers*>(text - sizeof(Sharers)));
}

/// @returns a copy of the text with its NUL, for one message; null when memory runs out.
char* NewText(std::string_view text) {
    void* const block = ::operator new(sizeof(Sharers) + text.size() + 1, std::nothrow);
    if (!block) {
        return nullptr;
    }
    new (block) Sharers(1);
    char* const copy = static_cast<char*>(block) + sizeof(Sharers);
    copy[text.copy(copy, text.size())] = '\0';
    return copy;
}

char* ShareText(char* text) {
    if (text) {
        SharersOf(text).fetch_add(1, std::memory_order_relaxed);
    }
    return text;
}

void GiveUpText(char* text) {
    if (text && SharersOf(text).fetch_sub(1, std::memory_order_acq_rel) == 1) {
        ::operator delete(text - sizeof(Sharers));
    }
}

void AppendHexadecimal(std::string& text, std::uint32_t value) {
    char digits[8];
    text.append(digits, std::to_chars(std::begin(digits), std::end(digits), value, 16).ptr);
}

void AppendNumber(std::string& text, std::string_view name, std::uint32_t value) {
    text.append(" ").append(name).append("=\"");
    AppendHexadecimal(text, value);
    text += '"';
}

/// Characters beyond plain ASCII become references; bytes from 128 count as negative numbers.
void AppendEscaped(std::string& text, char c) {
    switch (c) {
    case '"':
        text += "&quot;";
        return;
    case '&':
        text += "&amp;";
        return;
    case '<':
        text += "&lt;";
        return;
    case '>':
        text += "&gt;";
        return;
    default:
        break;
    }
    if (c >= ' ' && c <= '~') {
        text += c;
        return;
    }
    text += "&#";
    AppendHexadecimal(text, static_cast<std::uint32_t>(static_cast<std::int32_t>(static_cast<signed char>(c))));
    text += ';';
}

void AppendText(std::string& text, std::string_view name, const char* value) {
    text.append(" ").append(name).append("=\"");
    for (const char c : OrEmpty(value)) {
        AppendEscaped(text, c);
    }
    text += '"';
}

/// Stores a number that is written in hexadecimal; nothing when there is none.
template <typename Number>
void ReadHexadecimal(const char* text, Number& number) {
    if (const std::optional<std::uint32_t> value = ReadNumber(text, 16)) {
        number = static_cast<Number>(*value);
    }
}

} // namespace
} // namespace gaizior

using namespace gaizior;

// --- The texts -------------------------------------------------------------------------------------------------------

ZRCommMsgC::ZRCommMsgC(bool bXML) : m_nFormat(bXML ? 1 : 0) {}

ZRCommMsgC::ZRCommMsgC(const ZRCommMsgC& other)
    : m_Type(other.m_Type), m_Code(other.m_Code), m_ID(other.m_ID), m_Val(other.m_Val),
      m_nStringLength(other.m_nStringLength), m_nQualifierLength(other.m_nQualifierLength),
      m_pString(ShareText(other.m_pString)), m_pQualifier(ShareText(other.m_pQualifier)), m_nFormat(other.m_nFormat) {}

ZRCommMsgC& ZRCommMsgC::operator=(const ZRCommMsgC& other) {
    if (this != &other) {
        Clone(other);
    }
    return *this;
}

ZRCommMsgC::~ZRCommMsgC() {
    Clear();
}

ZRErrorT ZRCommMsgC::Clone(const ZRCommMsgC& other) {
    ZRCommMsgC copy(other); // shares the texts until they are duplicated
    ZRErrorT error = copy.SetMessageString(other.m_pString);
    if (error == ZRErrors::e_General_NoError) {
        error = copy.SetQualifierString(other.m_pQualifier);
    }
    if (error != ZRErrors::e_General_NoError) {
        return Fail("ZRCommMsgC::Clone(): ", error, "failed - ", CodeText(error));
    }
    m_Type = copy.m_Type;
    m_Code = copy.m_Code;
    m_ID = copy.m_ID;
    m_Val = copy.m_Val;
    m_nStringLength = copy.m_nStringLength;
    m_nQualifierLength = copy.m_nQualifierLength;
    std::swap(m_pString, copy.m_pString);
    std::swap(m_pQualifier, copy.m_pQualifier);
    m_nFormat = copy.m_nFormat;
    return ZRErrors::e_General_NoError;
}

void ZRCommMsgC::Clear() {
    GiveUpText(std::exchange(m_pString, nullptr));
    GiveUpText(std::exchange(m_pQualifier, nullptr));
    m_nStringLength = 0;
    m_nQualifierLength = 0;
}

int ZRCommMsgC::SetFormat(int format) {
    return std::exchange(m_nFormat, format);
}

ZRErrorT ZRCommMsgC::SetMessageString(const char* text) {
    return DuplicateString(text, &m_pString, &m_nStringLength);
}

ZRErrorT ZRCommMsgC::SetQualifierString(const char* text) {
    return DuplicateString(text, &m_pQualifier, &m_nQualifierLength);
}

const char* ZRCommMsgC::GetMessageString() const {
    return m_pString;
}

const char* ZRCommMsgC::GetQualifierString() const {
    return m_pQualifier;
}

/// Replaces a stored text; the old one is given up last, since the new one may be a part of it.
ZRErrorT ZRCommMsgC::DuplicateString(const char* text, char** copy, std::uint16_t* length) {
    constexpr const char* kFunction = "ZRCommMsgC::DuplicateString(): ";
    const std::string_view characters = OrEmpty(text);
    if (characters.size() > kLongestText) {
        return Fail(kFunction, ZRErrors::e_Buffer_TooSmall);
    }
    char* const duplicate = characters.empty() ? nullptr : NewText(characters);
    if (!duplicate && !characters.empty()) {
        return Fail(kFunction, ZRErrors::e_Memory_AllocationFailed);
    }
    GiveUpText(std::exchange(*copy, duplicate));
    *length = static_cast<std::uint16_t>(duplicate ? characters.size() + 1 : 0);
    return ZRErrors::e_General_NoError;
}

// --- Writing ---------------------------------------------------------------------------------------------------------

std::ostream& operator<<(std::ostream& stream, ZRCommMsgC& message) {
    message.ToString(stream, 1);
    return stream;
}

ZRErrorT ZRCommMsgC::ToString(std::ostream& stream, int noTerminator) const {
    const ZRErrorT error = m_nFormat ? ToXMLString(stream) : ToQ2String();
    if (noTerminator == 0) {
        stream.put('\0');
    }
    return error;
}

/// Only tells whether the packet text can be made; see operator<<.
ZRErrorT ZRCommMsgC::ToQ2String() const {
    char text[kPacketSize + 1]; // the NUL may stand behind the size
    return ZRCreateMessage(m_Type, m_Code, m_ID, m_Val, m_pString, m_pQualifier, text, kPacketSize);
}

ZRErrorT ZRCommMsgC::ToXMLString(std::ostream& stream) const {
    std::string text("<");
    text.reserve(128u + m_nStringLength + m_nQualifierLength);
    text.append(kObjectName);
    AppendNumber(text, "m_Type", static_cast<std::uint32_t>(m_Type));
    AppendNumber(text, "m_Code", static_cast<std::uint32_t>(m_Code));
    AppendNumber(text, "m_ID", m_ID);
    AppendNumber(text, "m_Val", static_cast<std::uint32_t>(m_Val));
    AppendText(text, "m_pString", m_pString);
    AppendText(text, "m_pQualifier", m_pQualifier);
    text.append(" />");
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    stream << std::hex; // a decision of this system: hosts find the stream as the writer left it
    return stream ? ZRErrors::e_General_NoError : Fail("ZRCommMsgC::ToString(): ", ZRErrors::e_Xml_WriteFailed);
}

// --- Reading ---------------------------------------------------------------------------------------------------------

std::istream& operator>>(std::istream& stream, ZRCommMsgC& message) {
    // White space before an element may be all there is: the end of the stream then, and no failure to be logged.
    const bool keepsWhite = message.m_nFormat == 0;
    const std::istream::sentry ready(stream, keepsWhite);
    if (ready && message.FromString(stream) != ZRErrors::e_General_NoError) {
        stream.setstate(std::ios_base::failbit);
    }
    return stream;
}

ZRErrorT ZRCommMsgC::FromString(std::istream& stream) {
    return m_nFormat ? FromXMLString(stream) : FromQ2String(stream);
}

ZRErrorT ZRCommMsgC::FromQ2String(std::istream& stream) {
    std::ostringstream all;
    if (stream.good()) {
        all << stream.rdbuf();
    }
    std::string text = all.str();
    stream.setstate(text.empty() ? std::ios_base::eofbit | std::ios_base::failbit : std::ios_base::eofbit);
    if (text.empty()) {
        return ZRErrors::e_General_NoError;
    }
    text.append(2, '\0'); // ends a text of 16-bit units as well
    std::array<char, kFieldSize> string{};
    std::array<char, kFieldSize> qualifier{};
    ZRErrors::ZRMessagePacketT packet{m_Type,     m_Code,           m_ID,      m_Val, string.data(),
                                      kFieldSize, qualifier.data(), kFieldSize};
    const ZRErrorT error = ZRExtractMessagePacket(text.c_str(), packet);
    m_Type = packet.nType;
    m_Code = packet.nCode;
    m_ID = packet.nID;
    m_Val = packet.nVal;
    const ZRErrorT stringError = SetMessageString(string.data());
    const ZRErrorT qualifierError = SetQualifierString(qualifier.data());
    return error ? error : stringError ? stringError : qualifierError;
}

ZRErrorT ZRCommMsgC::FromXMLString(std::istream& stream) {
    constexpr const char* kFunction = "ZRCommMsgC::FromString(): ";
    XmlReader reader(stream, kFunction);
    std::string_view object;
    ZRErrorT error = reader.ReadObjectName(object);
    if (error == ZRErrors::e_General_NoError && object != kObjectName) {
        error = Fail(kFunction, ZRErrors::e_Object_InvalidName, "Invalid comms object name, expected: \"", kObjectName,
                     "\", read: \"", object, "\"");
    }
    while (error == ZRErrors::e_General_NoError && !reader.AtEnd()) {
        const char* name = nullptr;
        const char* value = nullptr;
        error = reader.ReadParameter(name, value);
        if (error == ZRErrors::e_General_NoError) {
            error = StoreParameter(name, value);
        }
    }
    return error;
}

ZRErrorT ZRCommMsgC::StoreParameter(const char* name, const char* value) {
    const std::string_view parameter(name);
    if (parameter == "m_Type") {
        // in decimal although it is written in hexadecimal, a decision of this system
        m_Type = static_cast<std::int32_t>(ReadNumber(value, 10).value_or(0));
    } else if (parameter == "m_Code") {
        ReadHexadecimal(value, m_Code);
    } else if (parameter == "m_ID") {
        ReadHexadecimal(value, m_ID);
    } else if (parameter == "m_Val") {
        ReadHexadecimal(value, m_Val);
    } else if (parameter == "m_pString") {
        return SetMessageString(value);
    } else if (parameter == "m_pQualifier") {
        return SetQualifierString(value);
    } else {
        return Fail("ZRCommMsgC::StoreParameter(): ", ZRErrors::e_Arguments_Bad, "Invalid parameter:", name, " = ",
                    value);
    }
    return ZRErrors::e_General_NoError;
}
