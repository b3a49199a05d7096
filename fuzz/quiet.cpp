// What is refused is not worth a line each time.

#include "gaizior/logging/log_stream.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    ZRLogStrstreambufC::SetDBFn([](unsigned, int, char*) {});
    return 0;
}
