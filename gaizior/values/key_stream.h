#pragma once

#include "gaizior/platform/windows_api.h"

#include <array>
#include <cstdint>
#include <span>

namespace gaizior {

/// Bytes that a key and a salt give, and nothing else: ChaCha20's, the GUID being both halves of its key.
class KeyStream {
public:
    using Salt = std::array<char, 12>;

    KeyStream(const GUID& key, const Salt& salt);

    /// Combines the bytes with the next ones of the stream; done twice from the same place, they are as before.
    void Apply(std::span<char> bytes);

private:
    static constexpr std::size_t kWords = 16;

    void NextBlock();

    std::array<std::uint32_t, kWords> m_state{};
    std::array<std::uint32_t, kWords> m_block{};
    std::size_t m_nUsed = sizeof(m_block); // bytes of the block
};

} // namespace gaizior
