#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace apps {

/// Takes a text apart from its front. What is not there takes nothing.
class Scanner {
public:
    explicit Scanner(std::string_view text) : m_rest(text) {}

    bool Take(std::string_view text) {
        const bool isThere = m_rest.starts_with(text);
        m_rest.remove_prefix(isThere ? text.size() : 0);
        return isThere;
    }
    /// @returns whether there was one at least.
    bool TakeBlanks() {
        const std::size_t length = m_rest.size();
        m_rest.remove_prefix(std::min(m_rest.find_first_not_of(' '), length));
        return m_rest.size() < length;
    }
    /// A number of `least` to `most` digits and 32 bits; a longer one is none.
    std::optional<std::uint32_t> TakeNumber(std::size_t least, std::size_t most, int base = 10) {
        std::uint32_t number = 0;
        const char* const begin = m_rest.data();
        const auto [end, error] = std::from_chars(begin, begin + m_rest.size(), number, base);
        const auto digits = static_cast<std::size_t>(end - begin);
        if (error != std::errc() || digits < least || digits > most) {
            return std::nullopt;
        }
        m_rest.remove_prefix(digits);
        return number;
    }
    std::string_view Rest() const {
        return m_rest;
    }

private:
    std::string_view m_rest;
};

} // namespace apps
