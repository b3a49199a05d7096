#pragma once

#include "gaizior/platform/windows_api.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace gaizior::platform {

struct MessageText {
    DWORD number;
    std::string_view text; // without the "\r\n" that ends every one
};

/// The texts of the numbers that this layer can produce, in rising order: word for word what FormatMessageA gives on
/// the system that the Windows build is tested on, so that a log reads the same on both.
inline constexpr MessageText kMessageTexts[] = {
    {ERROR_SUCCESS, "Success."},
    {ERROR_INVALID_FUNCTION, "Invalid function."},
    {ERROR_FILE_NOT_FOUND, "File not found."},
    {ERROR_PATH_NOT_FOUND, "Path not found."},
    {ERROR_TOO_MANY_OPEN_FILES, "Too many open files."},
    {ERROR_ACCESS_DENIED, "Access denied."},
    {ERROR_INVALID_HANDLE, "Invalid handle."},
    {ERROR_NOT_ENOUGH_MEMORY, "Not enough memory."},
    {ERROR_NOT_SAME_DEVICE, "Not same device."},
    {ERROR_WRITE_PROTECT, "Write protected."},
    {ERROR_BAD_UNIT, "Bad unit."},
    {ERROR_GEN_FAILURE, "General failure."},
    {ERROR_SHARING_VIOLATION, "Sharing violation."},
    {ERROR_NOT_SUPPORTED, "Request not supported."},
    {ERROR_INVALID_PARAMETER, "Invalid parameter."},
    {ERROR_BROKEN_PIPE, "Broken pipe."},
    {ERROR_DISK_FULL, "Disk full."},
    {ERROR_CALL_NOT_IMPLEMENTED, "Call not implemented."},
    {ERROR_INSUFFICIENT_BUFFER, "Insufficient buffer."},
    {ERROR_INVALID_NAME, "Invalid name."},
    {ERROR_MOD_NOT_FOUND, "Module not found."},
    {ERROR_WAIT_NO_CHILDREN, "No children to wait for."},
    {ERROR_SEEK_ON_DEVICE, "Seek error."},
    {ERROR_DIR_NOT_EMPTY, "Directory is not empty."},
    {ERROR_BUSY, "Resource in use."},
    {ERROR_ALREADY_EXISTS, "File already exists."},
    {ERROR_BAD_EXE_FORMAT, "Bad EXE format for %1."},
    {ERROR_FILENAME_EXCED_RANGE, "File name is too long."},
    {WAIT_TIMEOUT, "The wait operation timed out."},
    {ERROR_DIRECTORY, "Directory name invalid."},
    {ERROR_NOT_OWNER, "Mutex not owned by caller."},
    {ERROR_TOO_MANY_POSTS, "Too many posts to semaphore."},
    {ERROR_MR_MID_NOT_FOUND, "Message 0x%1 not found in file %2."},
    {ERROR_INVALID_ADDRESS, "Invalid address."},
    {ERROR_ARITHMETIC_OVERFLOW, "Arithmetic overflow."},
    {ERROR_OPERATION_ABORTED, "I/O operation aborted."},
    {ERROR_NOACCESS, "No access to memory location."},
    {ERROR_FILE_INVALID, "File invalid."},
    {ERROR_NO_UNICODE_TRANSLATION, "No Unicode translation."},
    {ERROR_IO_DEVICE, "I/O device error."},
    {ERROR_POSSIBLE_DEADLOCK, "Possible deadlock."},
    {ERROR_TOO_MANY_LINKS, "Too many links."},
    {ERROR_CANCELLED, "Operation canceled by user."},
    {ERROR_NO_SYSTEM_RESOURCES, "No system resources."},
    {ERROR_TIMEOUT, "Timeout."},
    {ERROR_NOT_ENOUGH_QUOTA, "Not enough quota."},
    {ERROR_CANT_RESOLVE_FILENAME, "The filename cannot be resolved."},
};

static_assert(std::ranges::adjacent_find(kMessageTexts, std::ranges::greater_equal{}, &MessageText::number) ==
                  std::end(kMessageTexts),
              "the look-up is a binary search");

/// The text of a number; empty when it has none.
constexpr std::string_view FindMessageText(DWORD number) {
    const auto* found = std::ranges::lower_bound(kMessageTexts, number, {}, &MessageText::number);
    return found != std::end(kMessageTexts) && found->number == number ? found->text : std::string_view();
}

} // namespace gaizior::platform
