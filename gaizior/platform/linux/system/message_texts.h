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

/// The texts of the numbers that this layer can produce, in rising order, in Windows' English wording: a log reads the
/// same on both systems.
inline constexpr MessageText kMessageTexts[] = {
    {ERROR_SUCCESS, "The operation completed successfully."},
    {ERROR_INVALID_FUNCTION, "Incorrect function."},
    {ERROR_FILE_NOT_FOUND, "The system cannot find the file specified."},
    {ERROR_PATH_NOT_FOUND, "The system cannot find the path specified."},
    {ERROR_TOO_MANY_OPEN_FILES, "The system cannot open the file."},
    {ERROR_ACCESS_DENIED, "Access is denied."},
    {ERROR_INVALID_HANDLE, "The handle is invalid."},
    {ERROR_NOT_ENOUGH_MEMORY, "Not enough memory resources are available to process this command."},
    {ERROR_OUTOFMEMORY, "Not enough memory resources are available to complete this operation."},
    {ERROR_NOT_SAME_DEVICE, "The system cannot move the file to a different disk drive."},
    {ERROR_WRITE_PROTECT, "The media is write protected."},
    {ERROR_BAD_UNIT, "The system cannot find the device specified."},
    {ERROR_GEN_FAILURE, "A device attached to the system is not functioning."},
    {ERROR_SHARING_VIOLATION, "The process cannot access the file because it is being used by another process."},
    {ERROR_NOT_SUPPORTED, "The request is not supported."},
    {ERROR_FILE_EXISTS, "The file exists."},
    {ERROR_INVALID_PARAMETER, "The parameter is incorrect."},
    {ERROR_BROKEN_PIPE, "The pipe has been ended."},
    {ERROR_DISK_FULL, "There is not enough space on the disk."},
    {ERROR_CALL_NOT_IMPLEMENTED, "This function is not supported on this system."},
    {ERROR_INSUFFICIENT_BUFFER, "The data area passed to a system call is too small."},
    {ERROR_INVALID_NAME, "The filename, directory name, or volume label syntax is incorrect."},
    {ERROR_MOD_NOT_FOUND, "The specified module could not be found."},
    {ERROR_WAIT_NO_CHILDREN, "There are no child processes to wait for."},
    {ERROR_SEEK_ON_DEVICE, "The file pointer cannot be set on the specified device or file."},
    {ERROR_DIR_NOT_EMPTY, "The directory is not empty."},
    {ERROR_SIGNAL_REFUSED, "The recipient process has refused the signal."},
    {ERROR_BAD_PATHNAME, "The specified path is invalid."},
    {ERROR_BUSY, "The requested resource is in use."},
    {ERROR_ALREADY_EXISTS, "Cannot create a file when that file already exists."},
    {ERROR_BAD_EXE_FORMAT, "%1 is not a valid Win32 application."},
    {ERROR_FILENAME_EXCED_RANGE, "The filename or extension is too long."},
    {ERROR_FILE_TOO_LARGE, "The file size exceeds the limit allowed and cannot be saved."},
    {ERROR_MORE_DATA, "More data is available."},
    {WAIT_TIMEOUT, "The wait operation timed out."},
    {ERROR_NO_MORE_ITEMS, "No more data is available."},
    {ERROR_DIRECTORY, "The directory name is invalid."},
    {ERROR_NOT_OWNER, "Attempt to release mutex not owned by caller."},
    {ERROR_TOO_MANY_POSTS, "Too many posts were made to a semaphore."},
    {ERROR_MR_MID_NOT_FOUND, "The system cannot find message text for message number 0x%1 in the message file for %2."},
    {ERROR_INVALID_ADDRESS, "Attempt to access invalid address."},
    {ERROR_ARITHMETIC_OVERFLOW, "Arithmetic result exceeded 32 bits."},
    {ERROR_OPERATION_ABORTED,
     "The I/O operation has been aborted because of either a thread exit or an application request."},
    {ERROR_NOACCESS, "Invalid access to memory location."},
    {ERROR_FILE_INVALID,
     "The volume for a file has been externally altered so that the opened file is no longer valid."},
    {ERROR_BADDB, "The configuration registry database is corrupt."},
    {ERROR_KEY_DELETED, "Illegal operation attempted on a registry key that has been marked for deletion."},
    {ERROR_NO_UNICODE_TRANSLATION, "No mapping for the Unicode character exists in the target multi-byte code page."},
    {ERROR_IO_DEVICE, "The request could not be performed because of an I/O device error."},
    {ERROR_POSSIBLE_DEADLOCK, "A potential deadlock condition has been detected."},
    {ERROR_MAPPED_ALIGNMENT, "The base address or the file offset specified does not have the proper alignment."},
    {ERROR_TOO_MANY_LINKS, "An attempt was made to create more links on a file than the file system supports."},
    {ERROR_CANCELLED, "The operation was canceled by the user."},
    {ERROR_INVALID_WINDOW_HANDLE, "Invalid window handle."},
    {ERROR_CONTROL_ID_NOT_FOUND, "Control ID not found."},
    {ERROR_NO_SYSTEM_RESOURCES, "Insufficient system resources exist to complete the requested service."},
    {ERROR_TIMEOUT, "This operation returned because the timeout period expired."},
    {RPC_S_INVALID_STRING_UUID, "The string universal unique identifier (UUID) is invalid."},
    {ERROR_NOT_ENOUGH_QUOTA, "Not enough quota is available to process this command."},
    {ERROR_CANT_RESOLVE_FILENAME, "The name of the file cannot be resolved by the system."},
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
