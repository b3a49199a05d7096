#pragma once

#include "benchmarks/scratch_folder.h"

namespace benchmarks {

/// A folder of its own for the named objects that are made while it is there; it takes with it what is left in it.
class SharedFolder : public ScratchFolder {
public:
    SharedFolder() : ScratchFolder("/dev/shm") {
        ::setenv("GAIZIOR_SHM_DIR", Path().c_str(), 1);
    }
};

} // namespace benchmarks
