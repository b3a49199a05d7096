#include "gaizior/comms/xml_reader.h"

#include "gaizior/logging/log_stream.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace gaizior {
namespace {

constexpr int kEnd = std::char_traits<char>::eof();

bool IsWhite(int c) {
    return c == '\t' || c == ' ' || c == '\n' || c == '\r';
}

ZRErrors::ZRErrorT Fail(ZRErrors::ZRErrorT code, const std::string& what) {
    LogReadFailure(what);
    return code;
}

/// The character of a reference "#NUMBER;" behind its "&#"; moves `text` behind the semicolon.
/// Numbers are read in decimal although they are written in hexadecimal, a decision of this system.
std::optional<char> DecodeNumber(std::string_view& text) {
    std::uint32_t number = 0;
    std::size_t i = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        number = number * 10 + static_cast<std::uint32_t>(text[i] - '0');
        if (number >= 65536) {
            return std::nullopt;
        }
    }
    if (i == 0 || i == text.size() || text[i] != ';') {
        return std::nullopt;
    }
    text.remove_prefix(i + 1);
    return static_cast<char>(number & 0xFF);
}

/// The character of a name; the last is ">" itself and not "gt", a decision of this system.
std::optional<char> DecodeName(std::string_view& text) {
    struct Entity {
        std::string_view name;
        char character;
    };
    for (const Entity& entity : {Entity{"quot;", '"'}, {"amp;", '&'}, {"lt;", '<'}, {">;", '>'}}) {
        if (text.substr(0, entity.name.size()) == entity.name) {
            text.remove_prefix(entity.name.size());
            return entity.character;
        }
    }
    return std::nullopt;
}

} // namespace

void LogReadFailure(const std::string& what) {
    ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
    log << ZRLevel(0) << ZRErrorMark << "ZRCommMsgC::FromString(): " << what << std::endl;
}

void XmlReader::SkipWhite() {
    while (IsWhite(m_buffer.sgetc())) {
        m_buffer.sbumpc();
    }
}

/// The end of the element: "/>", consumed. A slash alone is put back.
bool XmlReader::EndsHere() {
    if (m_buffer.sgetc() != '/') {
        return false;
    }
    if (m_buffer.snextc() == '>') {
        m_buffer.sbumpc();
        return true;
    }
    m_buffer.sungetc();
    return false;
}

/// The next character; kEnd at the end of the element or the stream.
int XmlReader::NextInside() {
    return EndsHere() ? kEnd : m_buffer.sbumpc();
}

bool XmlReader::AtEnd() {
    SkipWhite();
    return EndsHere();
}

ZRErrors::ZRErrorT XmlReader::ReadObjectName(std::string& name) {
    int c = m_buffer.sbumpc();
    while (c != '<' && c != kEnd) {
        c = m_buffer.sbumpc();
    }
    SkipWhite();
    while ((c = NextInside()) != kEnd) {
        if (IsWhite(c)) {
            return ZRErrors::e_General_NoError;
        }
        name += static_cast<char>(c);
    }
    return Fail(ZRErrors::e_Xml_ReadFailed, "unexpected object termination while reading object name: " + name);
}

ZRErrors::ZRErrorT XmlReader::ReadParameter(std::string& name, std::string& value) {
    int c = NextInside();
    for (; c != '=' && c != kEnd; c = NextInside()) {
        if (!IsWhite(c)) {
            name += static_cast<char>(c);
        }
    }
    if (c == kEnd) {
        return Fail(ZRErrors::e_Xml_ReadFailed, "unexpected object termination while reading parameter name: " + name);
    }
    while (c != '"' && c != kEnd) {
        c = NextInside();
    }
    if (c == kEnd) {
        return Fail(ZRErrors::e_Xml_SeekFailed, "unexpected object termination while seeking parameter value.");
    }
    while ((c = NextInside()) != '"' && c != kEnd) {
        value += static_cast<char>(c);
    }
    if (c == kEnd || !DecodeEntities(value)) {
        return Fail(ZRErrors::e_Xml_ReadFailed,
                    "unexpected object termination while reading parameter value: " + value);
    }
    return ZRErrors::e_General_NoError;
}

bool DecodeEntities(std::string& value) {
    std::string_view rest = value;
    std::string decoded;
    while (!rest.empty()) {
        const char c = rest.front();
        rest.remove_prefix(1);
        if (c != '&') {
            decoded += c;
            continue;
        }
        const bool isNumber = !rest.empty() && rest.front() == '#';
        if (isNumber) {
            rest.remove_prefix(1);
        }
        const std::optional<char> character = isNumber ? DecodeNumber(rest) : DecodeName(rest);
        if (!character) {
            return false;
        }
        decoded += *character;
    }
    value = decoded;
    return true;
}

} // namespace gaizior
