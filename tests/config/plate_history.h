#pragma once

#include "gaizior/config/history.h"

namespace gaizior::test {

/// A history as an application has one.
struct PlateHistory : ZRHistoryC {
    using ZRHistoryC::Create;
    using ZRHistoryC::GetFilePath;
    using ZRHistoryC::LogIt;
};

} // namespace gaizior::test
