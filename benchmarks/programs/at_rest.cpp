// Opens the channel, logs a line and prints what memory the process has then.
#include "gaizior/comms/channel.h"
#include "gaizior/logging/log_stream.h"

#include <fstream>
#include <iostream>

int main() {
    ZRLogStreamC log([](unsigned, int, char*) {}, nullptr, nullptr, [] { return 1U; });
    if (::ZcOpenComms(256) != ZRErrors::e_General_NoError) {
        return 1;
    }
    log << ZRLevel(0) << "the channel of ID " << 256 << " is open" << std::endl;
    std::cout << std::ifstream("/proc/self/smaps_rollup").rdbuf();
    ::ZcCloseComms();
}
