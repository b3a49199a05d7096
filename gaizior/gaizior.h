#pragma once

/// Everything that the library offers, for those who want one include.

#include "gaizior/comms/channel.h"
#include "gaizior/comms/channel_status.h"
#include "gaizior/comms/comm_object.h"
#include "gaizior/comms/message.h"
#include "gaizior/comms/packet.h"
#include "gaizior/errors/error_codes.h"
#include "gaizior/errors/error_record.h"
#include "gaizior/errors/error_stack.h"
#include "gaizior/errors/error_table.h"
#include "gaizior/errors/error_text.h"
#include "gaizior/errors/exception.h"
#include "gaizior/logging/debug_print.h"
#include "gaizior/logging/log_stream.h"
#include "gaizior/threads/event.h"
#include "gaizior/threads/lock.h"
#include "gaizior/values/string.h"
#include "gaizior/values/text.h"
#include "gaizior/values/text_file.h"
#include "gaizior/values/time.h"
