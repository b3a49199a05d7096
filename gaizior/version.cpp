#include "gaizior/version.h"

const char* ZRGetVersion() {
    return GAIZIOR_VERSION;
}
