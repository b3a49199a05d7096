#include "gaizior/ui/labels.h"

#include "gaizior/platform/string_table.h"
#include "gaizior/ui/language.h"

#include <atomic>

namespace {

std::atomic<HMODULE> g_language{nullptr};

} // namespace

HMODULE ZRSetLanguageLibrary(HMODULE library) {
    return g_language.exchange(library);
}

namespace gaizior {

std::string Label(unsigned int number) {
    if (const HMODULE language = g_language.load()) {
        if (std::string text = StringTableText(language, number); !text.empty()) {
            return text;
        }
    }
    return StringTableText(nullptr, number);
}

} // namespace gaizior
