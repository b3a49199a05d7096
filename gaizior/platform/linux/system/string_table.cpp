#include "gaizior/platform/string_table.h"

#include <cstring>

#include <dlfcn.h>

namespace gaizior {

std::string StringTableText(HMODULE module, UINT number) {
    constexpr std::size_t kLongestText = 1023;
    const auto* entry =
        module ? static_cast<const StringTableEntryT*>(::dlsym(module, "GaiziorStringTable")) : g_stringTable;
    for (; entry && entry->text; ++entry) {
        if (entry->number == number) {
            return {entry->text, ::strnlen(entry->text, kLongestText)};
        }
    }
    return {};
}

} // namespace gaizior
