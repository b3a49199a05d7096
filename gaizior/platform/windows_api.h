#pragma once

/// @file
/// The operating-system calls, types and constants that the library is written against: Windows' own on Windows,
/// the same under the same names with the same behaviour on Linux. See docs/platform.md for what differs.

#include "gaizior/platform/export.h"

#ifdef _WIN32

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#else

#include "gaizior/platform/linux/api/console.h"
#include "gaizior/platform/linux/api/errors.h"
#include "gaizior/platform/linux/api/interlocked.h"
#include "gaizior/platform/linux/api/memory.h"
#include "gaizior/platform/linux/api/message_box.h"
#include "gaizior/platform/linux/api/objects.h"
#include "gaizior/platform/linux/api/processes.h"
#include "gaizior/platform/linux/api/profile.h"
#include "gaizior/platform/linux/api/registry.h"
#include "gaizior/platform/linux/api/string_table.h"
#include "gaizior/platform/linux/api/threads.h"
#include "gaizior/platform/linux/api/time.h"
#include "gaizior/platform/linux/api/types.h"
#include "gaizior/platform/linux/api/uuid.h"
#include "gaizior/platform/linux/api/window_host.h"

#endif
