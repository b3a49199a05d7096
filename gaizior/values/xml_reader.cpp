#include "gaizior/values/xml_reader.h"

#include "gaizior/errors/failure.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace gaizior {
namespace {

constexpr std::string_view kTermination = "unexpected object termination while ";

constexpr auto kIsWhite = [](char c) { return c == '\t' || c == ' ' || c == '\n' || c == '\r'; };
constexpr auto kIsQuote = [](char c) { return c == '"'; };
constexpr auto kIsEqualsSign = [](char c) { return c == '='; };

std::string_view View(std::span<const char> text) {
    return {text.data(), text.size()};
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

/// The character of an entity behind its "&"; moves `text` behind the entity.
std::optional<char> DecodeEntity(std::string_view& text) {
    if (!text.starts_with('#')) {
        return DecodeName(text);
    }
    text.remove_prefix(1);
    return DecodeNumber(text);
}

/// Decodes the entities of a value. @returns whether all could be.
bool Decode(std::string_view text, std::string& value) {
    value.clear();
    for (std::size_t plain; (plain = text.find('&')) != std::string_view::npos;) {
        value.append(text, 0, plain);
        text.remove_prefix(plain + 1);
        const std::optional<char> character = DecodeEntity(text);
        if (!character) {
            return false;
        }
        value += *character;
    }
    value.append(text);
    return true;
}

} // namespace

XmlReader::XmlReader(std::istream& stream, const char* function) : m_pFunction(function) {
    stream.ignore(std::numeric_limits<std::streamsize>::max(), '<');
    std::getline(stream, m_element, '>');
    std::string more;
    while (stream.good() && !m_element.ends_with('/')) {
        std::getline(stream, more, '>');
        m_element.append(">").append(more);
    }
    m_bEnded = stream.good();
    m_rest = m_element;
    if (m_bEnded) {
        m_rest = m_rest.first(m_rest.size() - 1);
    }
}

/// Takes the text before the first character that ends it, which becomes a NUL; all of the rest when there is none.
template <typename Ends>
bool XmlReader::TakeUpTo(Ends ends, std::span<char>& text) {
    const auto end = std::ranges::find_if(m_rest, ends);
    const bool isEnded = end != m_rest.end();
    text = {m_rest.begin(), end};
    if (isEnded) {
        *end = '\0';
    }
    m_rest = m_rest.subspan(text.size() + (isEnded ? 1 : 0));
    return isEnded;
}

bool XmlReader::AtEnd() {
    m_rest = {std::ranges::find_if_not(m_rest, kIsWhite), m_rest.end()};
    return m_bEnded && m_rest.empty();
}

ZRErrors::ZRErrorT XmlReader::ReadObjectName(std::string_view& name) {
    AtEnd();
    std::span<char> text;
    const bool isWhole = TakeUpTo(kIsWhite, text);
    name = View(text);
    return isWhole ? ZRErrors::e_General_NoError
                   : Fail(m_pFunction, ZRErrors::e_Xml_ReadFailed, kTermination, "reading object name: ", name);
}

ZRErrors::ZRErrorT XmlReader::ReadParameter(const char*& name, const char*& value) {
    std::span<char> text;
    const bool isNamed = TakeUpTo(kIsEqualsSign, text);
    text = {text.begin(), std::remove_if(text.begin(), text.end(), kIsWhite)};
    if (!isNamed) {
        return Fail(m_pFunction, ZRErrors::e_Xml_ReadFailed, kTermination, "reading parameter name: ", View(text));
    }
    text.data()[text.size()] = '\0'; // at the equals sign or before it
    name = text.data();
    if (!TakeUpTo(kIsQuote, text)) {
        return Fail(m_pFunction, ZRErrors::e_Xml_SeekFailed, kTermination, "seeking parameter value.");
    }
    const bool isWhole = TakeUpTo(kIsQuote, text);
    const bool isPlain = std::ranges::find(text, '&') == text.end();
    if (!isWhole || (!isPlain && !Decode(View(text), m_value))) {
        return Fail(m_pFunction, ZRErrors::e_Xml_ReadFailed, kTermination, "reading parameter value: ", View(text));
    }
    value = isPlain ? text.data() : m_value.c_str();
    return ZRErrors::e_General_NoError;
}

} // namespace gaizior
