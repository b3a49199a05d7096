#include "benchmarks/compare.h"
#include "benchmarks/subjects.h"
#include "gaizior/errors/error_table.h"
#include "gaizior/errors/error_text.h"
#include "gaizior/errors/error_text_format.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <random>
#include <span>

#include <absl/container/flat_hash_map.h>

namespace benchmarks {
namespace {

/// All codes of the table in an order that no memory can foresee, again and again.
class Codes {
public:
    explicit Codes(std::span<const ZRErrorRowT> rows) {
        for (const ZRErrorRowT& row : rows) {
            m_codes.push_back(row.nCode);
        }
        std::shuffle(m_codes.begin(), m_codes.end(), std::mt19937(1));
    }
    ZRErrors::ZRErrorT Next() {
        m_next = m_next + 1 == m_codes.size() ? 0 : m_next + 1;
        return m_codes[m_next];
    }

private:
    std::vector<ZRErrors::ZRErrorT> m_codes;
    std::size_t m_next = 0;
};

char g_buffer[gaizior::kErrorTextSize];

void Print(ZRErrors::ZRErrorT code, const char* text) {
    std::snprintf(g_buffer, sizeof(g_buffer), "%s: %d", text, static_cast<int>(code));
    Keep(g_buffer);
}

} // namespace

void Errors() {
    unsigned count = 0;
    const ZRErrorRowT* const first = ZRErrorRows(&count);
    const std::span rows(first, count);
    absl::flat_hash_map<std::uint32_t, const char*> map;
    for (const ZRErrorRowT& row : rows) {
        map[row.nCode] = row.pText;
    }
    Codes codes(rows);
    Compare("text of a code, every code in turn", Repeat([&] {
                const char* text = ZRErrToStr(codes.Next());
                Keep(text);
            }),
            {{"absl::flat_hash_map, snprintf", Repeat([&] {
                  const ZRErrors::ZRErrorT code = codes.Next();
                  Print(code, map.find(code)->second);
              }),
              0.5},
             {"linear search, snprintf", Repeat([&] {
                  const ZRErrors::ZRErrorT code = codes.Next();
                  Print(code, std::ranges::find(rows, code, &ZRErrorRowT::nCode)->pText);
              }),
              0.15}});
}

} // namespace benchmarks
