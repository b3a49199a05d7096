// Files that are no histories, and some that nearly are.

#include "gaizior/config/history.h"

#include "fuzz/scratch_file.h"

#include <cstdlib>
#include <cstring>

namespace {

void Expect(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

struct History : ZRHistoryC {
    History(const char* path, unsigned lines) {
        Expect(Create(path, nullptr, lines) == ZRErrors::e_General_NoError);
    }
    using ZRHistoryC::LogIt;

    unsigned CountLines() {
        HistoryEnumeratorC enumerator = GetEnumerator();
        ZRCString line;
        unsigned count = 0;
        while (enumerator.NextElement(line) == ZRErrors::e_General_NoError) {
            const char* const text = line;
            Expect(std::strpbrk(text, "\r\n") == nullptr && (line.GetLength() < 3 || text[2] == '/'));
            ++count;
        }
        return count;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchFile s_file("history");
    constexpr unsigned kMany = 1'000'000;
    const char* const path = s_file.With(data, size);
    History history(path, kMany);
    const unsigned before = history.CountLines();
    Expect(history.LogIt("a line") == ZRErrors::e_General_NoError);
    const unsigned after = history.CountLines();
    Expect(after == before || after == before + 1); // it may join a last line, and even make it a data line
    if (size % 16 == 0) {                           // it takes long
        History shorter(path, before / 2);
        Expect(shorter.LogIt("a line") == ZRErrors::e_General_NoError && shorter.CountLines() == before / 2);
    }
    return 0;
}
