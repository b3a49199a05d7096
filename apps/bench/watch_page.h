#pragma once

#include "apps/bench/screen.h"
#include "apps/bench/watch_model.h"

#include <cstddef>

namespace apps {

struct PageSize {
    std::size_t columns = 80;
    std::size_t rows = 24;
    bool hasUtf8 = true; ///< else the page is ASCII
};

/// What `bench watch` shows of the channel: who is there, the queues with a bar each, the imager and the last messages.
/// A small page gets what fits, at the cost of older messages first, then of long lists.
/// @returns at most as many rows as the page has, none of them wider
Page ComposePage(const Watched& watched, const PageSize& size);

} // namespace apps
