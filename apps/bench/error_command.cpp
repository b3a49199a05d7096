#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/job/suggest.h"
#include "gaizior/errors/error_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <optional>
