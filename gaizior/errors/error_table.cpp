#include "gaizior/errors/error_row.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

namespace gaizior {
namespace {

constexpr ZRErrorRowT kRows[] = {
#define ZR_ERROR(code, name, text) {ZRErrors::name, sizeof(text) - 1, #name, text},
#define ZR_ERROR_UNNAMED(code, text) {static_cast<ZRErrors::ZRErrorT>(code), sizeof(text) - 1, nullptr, text},
#include "gaizior/errors/error_codes.inc"
#undef ZR_ERROR
#undef ZR_ERROR_UNNAMED
};
constexpr std::size_t kRowCount = std::size(kRows);

static_assert(kRowCount == 1657, "a row was added or lost");
static_assert(std::ranges::is_sorted(kRows, kRows + kRowCount - 1, {}, &ZRErrorRowT::nCode), "rows ascend");
static_assert(kRows[kRowCount - 1].nCode == ZRErrors::e_LastErrorCode, "the sentinel ends the table");

using Code = std::optional<ZRErrors::ZRErrorT>;
using Name = std::optional<std::string_view>;

constexpr Code CodeOf(const ZRErrorRowT& row) {
    return row.nCode;
}

constexpr Name NameOf(const ZRErrorRowT& row) {
    return row.pName ? Name(row.pName) : std::nullopt;
}

constexpr std::uint32_t Scatter(ZRErrors::ZRErrorT code) {
    return static_cast<std::uint32_t>(code) * 0x9E3779B1u >> 16;
}

constexpr std::uint32_t Scatter(std::string_view name) {
    std::uint32_t hash = 0x811C9DC5u;
    for (const char c : name) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x01000193u;
    }
    return hash ^ hash >> 16;
}

/// Finds rows by a key: a hash table with the rows' places, filled while compiling. A key that occurs twice, or a table
/// that is too small, does not compile. Rows without the key are left out.
template <auto kKeyOf, std::size_t kSlots>
class RowIndex {
public:
    consteval RowIndex() {
        for (std::uint16_t row = 0; row < kRowCount; ++row) {
            if (const auto key = kKeyOf(kRows[row])) {
                std::uint16_t& slot = m_slots[SlotOf(*key)];
                slot = slot == kFree ? row : throw "a key occurs twice";
            }
        }
    }

    constexpr const ZRErrorRowT* Find(auto key) const {
        const std::uint16_t row = m_slots[SlotOf(key)];
        return row == kFree ? nullptr : &kRows[row];
    }

private:
    static constexpr std::uint16_t kFree = 0xFFFF;

    /// The slot that holds the key, or the free one where it would stand.
    constexpr std::size_t SlotOf(auto key) const {
        std::size_t slot = Scatter(key) % kSlots;
        while (m_slots[slot] != kFree && kKeyOf(kRows[m_slots[slot]]) != key) {
            slot = (slot + 1) % kSlots;
        }
        return slot;
    }

    std::array<std::uint16_t, kSlots> m_slots = [] {
        std::array<std::uint16_t, kSlots> slots;
        slots.fill(kFree);
        return slots;
    }();
};

constexpr RowIndex<CodeOf, 4096> kByCode;
constexpr RowIndex<NameOf, 2048> kByName;

} // namespace

const ZRErrorRowT* FindErrorRow(ZRErrors::ZRErrorT code) {
    return kByCode.Find(code);
}

} // namespace gaizior

const ZRErrorRowT* ZRErrorRows(unsigned* count) {
    if (count) {
        *count = static_cast<unsigned>(gaizior::kRowCount);
    }
    return gaizior::kRows;
}

bool ZRErrorFromName(const char* name, ZRErrors::ZRErrorT* code) {
    const ZRErrorRowT* row = name ? gaizior::kByName.Find(std::string_view(name)) : nullptr;
    if (row && code) {
        *code = row->nCode;
    }
    return row != nullptr;
}
