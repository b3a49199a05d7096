#include "gaizior/comms/message.h"

#include "gaizior/comms/packet.h"
#include "gaizior/comms/xml_reader.h"
#include "gaizior/errors/error_text.h"
#include "gaizior/logging/log_stream.h"

#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
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
    for (const char c : std::string_view(value ? value : "")) {
        AppendEscaped(text, c);
    }
    text += '"';
}

/// Reads a number as "%x" does: nothing is stored when there is none.
template <typename Number>
void ReadHexadecimal(const char* text, Number& number) {
    char* end = nullptr;
    const unsigned long long value = std::strtoull(text, &end, 16);
    if (end != text) {
        number = static_cast<Number>(value);
    }
}

} // namespace
} // namespace gaizior

using namespace gaizior;

// --- The texts -------------------------------------------------------------------------------------------------------

ZRCommMsgC::ZRCommMsgC(bool bXML) : m_nFormat(bXML ? 1 : 0) {}

ZRCommMsgC& ZRCommMsgC::operator=(const ZRCommMsgC& other) {
    Clone(other);
    return *this;
}

ZRCommMsgC::~ZRCommMsgC() {
    Clear();
}

ZRErrorT ZRCommMsgC::Clone(const ZRCommMsgC& other) {
    if (this == &other) {
        return ZRErrors::e_General_NoError;
    }
    // A message made as a copy still shares its texts with the other: those are not its own to free.
    if (m_pString == other.m_pString) {
        m_pString = nullptr;
    }
    if (m_pQualifier == other.m_pQualifier) {
        m_pQualifier = nullptr;
    }
    Clear();
    m_Type = other.m_Type;
    m_Code = other.m_Code;
    m_ID = other.m_ID;
    m_Val = other.m_Val;
    m_nFormat = other.m_nFormat;
    ZRErrorT error = SetMessageString(other.m_pString);
    if (error == ZRErrors::e_General_NoError) {
        error = SetQualifierString(other.m_pQualifier);
    }
    if (error != ZRErrors::e_General_NoError) {
        std::array<char, kErrorTextSize> text;
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log << ZRLevel(0) << ZRErrorMark << "ZRCommMsgC::Clone(): failed - " << FormatErrorText(error, text)
            << std::endl;
    }
    return error;
}

void ZRCommMsgC::Clear() {
    delete[] std::exchange(m_pString, nullptr);
    delete[] std::exchange(m_pQualifier, nullptr);
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

/// Replaces a stored text; the old one is freed last, since the new one may be a part of it.
ZRErrorT ZRCommMsgC::DuplicateString(const char* text, char** copy, std::uint16_t* length) {
    const std::size_t characters = text ? std::strlen(text) : 0;
    if (characters > kLongestText) {
        return ZRErrors::e_Buffer_TooSmall;
    }
    char* duplicate = nullptr;
    if (characters > 0) {
        duplicate = new (std::nothrow) char[characters + 1];
        if (!duplicate) {
            return ZRErrors::e_Memory_AllocationFailed;
        }
        std::memcpy(duplicate, text, characters + 1);
    }
    delete[] std::exchange(*copy, duplicate);
    *length = static_cast<std::uint16_t>(characters > 0 ? characters + 1 : 0);
    return ZRErrors::e_General_NoError;
}

// --- Writing ---------------------------------------------------------------------------------------------------------

std::ostream& operator<<(std::ostream& stream, ZRCommMsgC& message) {
    message.ToString(stream, 1);
    return stream;
}

ZRErrorT ZRCommMsgC::ToString(std::ostream& stream, int noTerminator) const {
    ZRErrorT error = ZRErrors::e_General_NoError;
    if (m_nFormat) {
        ToXMLString(stream);
    } else {
        error = ToQ2String();
    }
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

void ZRCommMsgC::ToXMLString(std::ostream& stream) const {
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
}

// --- Reading ---------------------------------------------------------------------------------------------------------

std::istream& operator>>(std::istream& stream, ZRCommMsgC& message) {
    if (!stream.rdbuf() || message.FromString(stream) != ZRErrors::e_General_NoError) {
        stream.setstate(std::ios_base::failbit);
    }
    return stream;
}

ZRErrorT ZRCommMsgC::FromString(std::istream& stream) {
    return m_nFormat ? FromXMLString(stream) : FromQ2String(stream);
}

ZRErrorT ZRCommMsgC::FromQ2String(std::istream& stream) {
    std::ostringstream all;
    all << stream.rdbuf();
    const std::string text = all.str() + std::string(2, '\0'); // ends a text of 16-bit units as well
    std::array<char, kFieldSize> string{};
    std::array<char, kFieldSize> qualifier{};
    ZRErrors::ZRMessagePacketT packet{m_Type,     m_Code,           m_ID,      m_Val, string.data(),
                                      kFieldSize, qualifier.data(), kFieldSize};
    const ZRErrorT error = ZRExtractMessagePacket(reinterpret_cast<const unsigned short*>(text.c_str()), packet);
    m_Type = packet.nType;
    m_Code = packet.nCode;
    m_ID = packet.nID;
    m_Val = packet.nVal;
    const ZRErrorT stringError = SetMessageString(string.data());
    const ZRErrorT qualifierError = SetQualifierString(qualifier.data());
    return error ? error : stringError ? stringError : qualifierError;
}

ZRErrorT ZRCommMsgC::FromXMLString(std::istream& stream) {
    XmlReader reader(stream);
    std::string name;
    if (const ZRErrorT error = reader.ReadObjectName(name)) {
        return error;
    }
    if (name != kObjectName) {
        LogReadFailure("Invalid comms object name, expected: \"" + std::string(kObjectName) + "\", read: \"" + name +
                       '"');
        return ZRErrors::e_Object_InvalidName;
    }
    while (!reader.AtEnd()) {
        std::string parameter;
        std::string value;
        ZRErrorT error = reader.ReadParameter(parameter, value);
        if (error == ZRErrors::e_General_NoError) {
            error = StoreParameter(parameter.c_str(), value.c_str());
        }
        if (error != ZRErrors::e_General_NoError) {
            return error;
        }
    }
    return ZRErrors::e_General_NoError;
}

ZRErrorT ZRCommMsgC::StoreParameter(const char* name, const char* value) {
    const std::string_view parameter(name);
    if (parameter == "m_Type") {
        m_Type = std::atoi(value); // in decimal although it is written in hexadecimal, a decision of this system
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
        ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
        log << ZRLevel(0) << ZRErrorMark << "ZRCommMsgC::StoreParameter(): "
            << "Invalid parameter:" << name << " = " << value << std::endl;
        return ZRErrors::e_Arguments_Bad;
    }
    return ZRErrors::e_General_NoError;
}
