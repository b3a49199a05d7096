#pragma once

/// @file
/// Printing for C programs and for the channel, with a level and a callback of its own.

#include "gaizior/platform/export.h"
#include "gaizior/platform/printf_format.h"

/// Receives one formatted text, which is the callee's only until it returns; no end of line is added to it. Called on
/// the thread that prints, so it must be thread-safe. When it throws the exception is dropped, and the text goes to
/// standard error so that it is not lost.
using ZRDBCallbackT = void (*)(int level, int mode, const char* text);

extern "C" {

/// Hands a formatted text to the registered callback when `level` is at most the C level.
///
/// Without a callback, or while the C level is negative, nothing is formatted. A text is cut after 2,051 characters;
/// its numbers look as the process's C locale has them. What the callback itself prints goes to standard error. Keeps
/// errno and the last error. Any thread.
/// This level and callback have nothing to do with those of ZRLogStreamC; a line passes at its own level here.
GAIZIOR_API void ZRDBprintf(int level, int mode, const char* format, ...) GAIZIOR_PRINTF(3, 4);

/// Sets the C level (at first 0; negative: nothing is printed). @returns `level`. Any thread.
GAIZIOR_API int ZRDBSetLevel(int level);

/// @returns the C level. Any thread.
GAIZIOR_API int ZRDBGetLevel();

/// Installs the callback of ZRDBprintf, null for none (as at first). @returns `callback`. Any thread; a call that is
/// under way may still reach the callback before.
GAIZIOR_API ZRDBCallbackT ZRDBNewRegisterCallback(ZRDBCallbackT callback);
}
