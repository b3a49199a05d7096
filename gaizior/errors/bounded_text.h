#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace gaizior {

/// Composes a text in the caller's buffer: ended by a NUL at all times, cut where the buffer ends. An empty buffer is
/// left alone.
class BoundedText {
public:
    explicit BoundedText(std::span<char> buffer) : m_buffer(buffer) {
        Terminate();
    }

    void Append(std::string_view text) {
        const std::size_t room = m_buffer.empty() ? 0 : m_buffer.size() - 1 - m_nLength;
        const std::size_t count = std::min(room, text.size());
        if (count != 0) {
            std::memcpy(m_buffer.data() + m_nLength, text.data(), count);
            m_nLength += count;
            Terminate();
        }
    }

    /// As "%d" writes it.
    void AppendDecimal(std::uint32_t number) {
        const bool negative = static_cast<std::int32_t>(number) < 0;
        Append(negative ? "-" : "");
        AppendDigits(negative ? 0 - number : number, 10);
    }

    /// As "%X" writes it.
    void AppendHexadecimal(std::uint32_t number) {
        AppendDigits(number, 16);
    }

    std::string_view View() const {
        return {m_buffer.data(), m_nLength};
    }

private:
    void Terminate() {
        if (!m_buffer.empty()) {
            m_buffer[m_nLength] = '\0';
        }
    }

    void AppendDigits(std::uint32_t number, std::uint32_t base) {
        std::array<char, 10> digits;
        std::size_t first = digits.size();
        do {
            digits[--first] = "0123456789ABCDEF"[number % base];
            number /= base;
        } while (number != 0);
        Append(std::string_view(digits.data(), digits.size()).substr(first));
    }

    std::span<char> m_buffer;
    std::size_t m_nLength = 0;
};

} // namespace gaizior
