#include "gaizior/platform/windows_api.h"

// A language library that has two of the texts.
extern "C" __attribute__((visibility("default")))
const StringTableEntryT GaiziorStringTable[] = {{4106, "Breite"}, {4110, "positiv"}, {0, nullptr}};
