#include "gaizior/platform/string_table.h"

namespace gaizior {

const StringTableEntryT g_stringTable[] = {
#define LABEL(number, text) {number, text},
#include "gaizior/ui/label_texts.inc"
#undef LABEL
    {0, nullptr}};

} // namespace gaizior
