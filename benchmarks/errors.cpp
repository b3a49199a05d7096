#include "benchmarks/compare.h"
#include "benchmarks/subjects.h"
#include "gaizior/errors/error_stack.h"
#include "gaizior/errors/error_table.h"
#include "gaizior/errors/error_text.h"
#include "gaizior/errors/error_text_format.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <span>

#include <absl/container/flat_hash_map.h>

namespace benchmarks {
namespace {

/// Codes of the table in an order that no memory can foresee, again and again.
class Codes {
public:
    /// Each of them once.
    static Codes Shuffled(std::span<const ZRErrorRowT> rows) {
        Codes codes;
        for (const ZRErrorRowT& row : rows) {
            codes.m_codes.push_back(row.nCode);
        }
        std::shuffle(codes.m_codes.begin(), codes.m_codes.end(), std::mt19937(1));
        return codes;
    }
    /// So many that none learns them by heart.
    static Codes AtRandom(std::span<const ZRErrorRowT> rows) {
        std::mt19937 generator(1);
        std::uniform_int_distribution<std::size_t> index(0, rows.size() - 1);
        Codes codes;
        codes.m_codes.resize(1 << 16);
        std::ranges::generate(codes.m_codes, [&] { return rows[index(generator)].nCode; });
        return codes;
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

void StackEntry() {
    ZRErrorC::Stack("PlateC::LoadPlate(): ", ZRErrors::e_Phs_ClampNotClosed, "after 3 attempts");
}

void Texts(const char* operation, std::span<const ZRErrorRowT> rows, Codes codes) {
    absl::flat_hash_map<std::uint32_t, const char*> map;
    for (const ZRErrorRowT& row : rows) {
        map[row.nCode] = row.pText;
    }
    Compare(operation, Repeat([&] {
                const char* text = ZRErrToStr(codes.Next());
                Keep(text);
            }),
            {{"absl::flat_hash_map and snprintf", Repeat([&] {
                  const ZRErrors::ZRErrorT code = codes.Next();
                  Print(code, map.find(code)->second);
              }),
              0.5},
             {"linear search and snprintf", Repeat([&] {
                  const ZRErrors::ZRErrorT code = codes.Next();
                  Print(code, std::ranges::find(rows, code, &ZRErrorRowT::nCode)->pText);
              }),
              0.15}});
}

/// An entry bears its local time.
void StackedEntries() {
    const Batch withoutZone = Repeat(&StackEntry, [] {
        ZRErrorC::ClearStack();
        ::unsetenv("TZ");
        ::tzset();
    });
    const Batch withZone = Repeat(&StackEntry, [] {
        ZRErrorC::ClearStack();
        ::setenv("TZ", ":/etc/localtime", 1);
        ::tzset();
    });
    Compare("stacked entry, TZ not set", withoutZone, {{"the same with TZ set, same zone", withZone, 1.2}});
    withoutZone.prepare();
}

} // namespace

void Errors() {
    unsigned count = 0;
    const ZRErrorRowT* const first = ZRErrorRows(&count);
    const std::span rows(first, count);
    Texts("text of a code, every code in turn", rows, Codes::Shuffled(rows));
    Texts("text of a code at random", rows, Codes::AtRandom(rows));
    StackedEntries();
}

} // namespace benchmarks
