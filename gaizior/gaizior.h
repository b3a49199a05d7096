#pragma once

/// @file
/// Everything that the library offers, for those who want one include.

/// @dir gaizior
/// The library: a folder for each subject, a header for each class or family of functions.

/// @dir gaizior/comms
/// The message channel between processes, its messages, and objects that threads share.

/// @dir gaizior/config
/// What a machine remembers: settings, histories and small files.

/// @dir gaizior/errors
/// Result codes with their messages, the error stack, and a failure in other forms.

/// @dir gaizior/logging
/// The log stream, the log file and the debug print.

/// @dir gaizior/platform
/// The calls of the operating system, and what declarations are marked with.

/// @dir gaizior/plates
/// Plates, on the screen too, and the engine's pixels and lines.

/// @dir gaizior/threads
/// Locks, events and threads.

/// @dir gaizior/ui
/// The little of a window framework that the library needs.

/// @dir gaizior/values
/// Texts, text files, GUIDs, times.

#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_status.h"
#include "gaizior/comms/channel_users.h"
#include "gaizior/comms/comm_object.h"
#include "gaizior/comms/message.h"
#include "gaizior/comms/packet.h"
#include "gaizior/config/file_utils.h"
#include "gaizior/config/history.h"
#include "gaizior/config/ini_file.h"
#include "gaizior/config/prefs.h"
#include "gaizior/config/read_cfg.h"
#include "gaizior/config/registry.h"
#include "gaizior/errors/error_codes.h"
#include "gaizior/errors/error_record.h"
#include "gaizior/errors/error_stack.h"
#include "gaizior/errors/error_table.h"
#include "gaizior/errors/error_text.h"
#include "gaizior/errors/exception.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/logging/log_file.h"
#include "gaizior/logging/log_stream.h"
#include "gaizior/logging/log_utils.h"
#include "gaizior/plates/machine_transform.h"
#include "gaizior/plates/plate.h"
#include "gaizior/plates/plate_details.h"
#include "gaizior/threads/critical_section.h"
#include "gaizior/threads/event.h"
#include "gaizior/threads/lock.h"
#include "gaizior/threads/thread.h"
#include "gaizior/ui/framework.h"
#include "gaizior/ui/language.h"
#include "gaizior/values/guid.h"
#include "gaizior/values/guid_encrypt.h"
#include "gaizior/values/string.h"
#include "gaizior/values/text.h"
#include "gaizior/values/text_file.h"
#include "gaizior/values/time.h"
#include "gaizior/version.h"
