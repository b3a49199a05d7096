#include "gaizior/values/key_stream.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>

namespace gaizior {
namespace {

constexpr std::uint32_t kConstants[] = {0x61707865, 0x3320646E, 0x79622D32, 0x6B206574};
constexpr std::size_t kKeyPlace = 4;
constexpr std::size_t kCounterPlace = 12;
constexpr std::size_t kSaltPlace = 13;
constexpr int kDoubleRounds = 10;

static_assert(std::endian::native == std::endian::little, "words are bytes, the lowest first");

} // namespace

KeyStream::KeyStream(const GUID& key, const Salt& salt) {
    std::ranges::copy(kConstants, m_state.begin());
    std::memcpy(&m_state[kKeyPlace], &key, sizeof(key));
    std::memcpy(&m_state[kKeyPlace + sizeof(key) / 4], &key, sizeof(key));
    std::memcpy(&m_state[kSaltPlace], salt.data(), salt.size());
}

void KeyStream::Apply(std::span<char> bytes) {
    for (char& byte : bytes) {
        if (m_nUsed == sizeof(m_block)) {
            NextBlock();
        }
        byte = static_cast<char>(byte ^ static_cast<char>(m_block[m_nUsed / 4] >> m_nUsed % 4 * 8));
        ++m_nUsed;
    }
}

void KeyStream::NextBlock() {
    m_block = m_state;
    const auto mix = [this](std::size_t to, std::size_t from, std::size_t with, int bits) {
        m_block[to] += m_block[from];
        m_block[with] = std::rotl(m_block[with] ^ m_block[to], bits);
    };
    const auto quarterRound = [&](std::size_t a, std::size_t b, std::size_t c, std::size_t d) {
        mix(a, b, d, 16);
        mix(c, d, b, 12);
        mix(a, b, d, 8);
        mix(c, d, b, 7);
    };
    for (int round = 0; round < kDoubleRounds; ++round) {
        for (std::size_t column = 0; column < 4; ++column) {
            quarterRound(column, column + 4, column + 8, column + 12);
        }
        for (std::size_t diagonal = 0; diagonal < 4; ++diagonal) {
            quarterRound(diagonal, 4 + (diagonal + 1) % 4, 8 + (diagonal + 2) % 4, 12 + (diagonal + 3) % 4);
        }
    }
    std::ranges::transform(m_block, m_state, m_block.begin(), std::plus());
    ++m_state[kCounterPlace];
    m_nUsed = 0;
}

} // namespace gaizior
