#include "gaizior/ui/labels.h"

#include "gaizior/platform/fork.h"
#include "gaizior/platform/string_table.h"
#include "gaizior/ui/language.h"

#include <utility>

namespace {

gaizior::Mutex g_lock; // held while a text is copied, so that a library that has been replaced may be unloaded
const gaizior::KeepAcrossFork g_keepLock(g_lock);
HMODULE g_language GAIZIOR_GUARDED_BY(g_lock) = nullptr;

} // namespace

HMODULE ZRSetLanguageLibrary(HMODULE library) {
    const gaizior::MutexLock lock(g_lock);
    return std::exchange(g_language, library);
}

namespace gaizior {

std::string Label(unsigned int number) {
    const MutexLock lock(g_lock);
    std::string text = g_language ? StringTableText(g_language, number) : std::string();
    return text.empty() ? StringTableText(nullptr, number) : text;
}

} // namespace gaizior
