#pragma once

#include "gaizior/errors/error_table.h"

namespace gaizior {

/// Finds the row of a code, null when the table has none. Any thread.
const ZRErrorRowT* FindErrorRow(ZRErrors::ZRErrorT code);

} // namespace gaizior
