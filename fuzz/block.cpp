// A channel's block in which another process has written anywhere between any two operations.

#include "gaizior/comms/message_pool.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using gaizior::MessagePool;

/// Reads numbers from the input; zeros behind its end.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}

    bool IsEmpty() const {
        return m_left == 0;
    }
    std::uint16_t Next() {
        std::uint16_t value = 0;
        const std::size_t size = m_left < sizeof(value) ? m_left : sizeof(value);
        std::memcpy(&value, m_data, size);
        m_data += size;
        m_left -= size;
        return value;
    }

private:
    const std::uint8_t* m_data;
    std::size_t m_left;
};

/// Nearly all of the block is text; what matters are the header and the fields behind each text.
void Damage(ZcChannel& block, Input& input) {
    const std::uint16_t where = input.Next();
    const std::uint16_t value = input.Next();
    auto* const bytes = reinterpret_cast<unsigned char*>(&block);
    std::size_t offset = where % offsetof(ZcChannel, slots);
    if (where & 0x8000) {
        offset = offsetof(ZcChannel, slots) + where % kZcSlotCount * sizeof(ZcMessageSlot) + kZcMessageSize - 2 +
                 (where >> 8) % 17;
    }
    std::memcpy(bytes + offset, &value, sizeof(value));
}

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto block = std::make_unique<ZcChannel>();
    MessagePool::Initialise(*block);
    Input input(data, size);
    while (!input.IsEmpty()) {
        MessagePool pool(*block);
        const std::uint16_t action = input.Next();
        const auto id = static_cast<std::uint16_t>(action >> 8 & 3);
        if (action % 4 == 0) {
            Damage(*block, input);
        } else if (action % 4 == 1) {
            const auto buffer = std::make_unique<char[]>(action % 7 + 1u);
            pool.Take(id, buffer.get(), action % 7 + 1u);
        } else {
            pool.Post("a message", id);
        }
    }
    MessagePool pool(*block);
    pool.Repair();
    Require(gaizior::Examine(*block).damage.empty());
    char buffer[kZcMessageSize];
    unsigned taken = 0;
    while (!pool.IsEmpty()) {
        const ZcMessageSlot& oldest = block->slots[block->start_of_list];
        Require(pool.Take(oldest.dest_id, buffer, sizeof(buffer)));
        ++taken;
    }
    Require(taken <= kZcSlotCount && pool.Report().View().size() < 200);
    return 0;
}
