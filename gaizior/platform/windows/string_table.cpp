#include "gaizior/platform/string_table.h"

namespace gaizior {
namespace {

/// The module that this code was linked into.
HMODULE OwnModule() {
    HMODULE module = nullptr;
    ::GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<const char*>(&StringTableText), &module);
    return module;
}

} // namespace

std::string StringTableText(HMODULE module, UINT number) {
    char text[1024];
    const int length = ::LoadStringA(module ? module : OwnModule(), number, text, sizeof(text));
    return {text, static_cast<std::size_t>(length)};
}

} // namespace gaizior
