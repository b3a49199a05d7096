#pragma once

/// @file
/// Identifiers that no two things share.

#include "gaizior/errors/error_codes.h"
#include "gaizior/logging/log_stream.h"
#include "gaizior/platform/export.h"
#include "gaizior/platform/windows_api.h"

#include <cstdint>
#include <istream>
#include <ostream>

/// An identifier that no two things share: the platform's GUID, and whether it has been given a value.
///
///     GuidC job;
///     if (job.CreateGUID() == ZRErrors::e_General_NoError) {
///         std::cout << job << '\n'; // {0c1d5b1e-8d4c-4f7e-9a51-6b1f0a3c2d77}
///     }
///
/// A text is 32 hexadecimal digits in groups of 8, 4, 4, 4 and 12 with hyphens between them, written in lower case,
/// read in either. Braces are dropped wherever they stand. Failures are logged and returned, not put on the error
/// stack. An object that nobody changes may be read by any thread.
class GAIZIOR_API GuidC {
public:
    /// Zeros that are no value yet.
    GuidC() = default;
    /// A value.
    GuidC(const GUID& guid);

    /// Gives the object this value.
    void SetGUID(const GUID& guid);
    /// @returns the 16 bytes; zeros without a value.
    operator GUID() const;

    /// Gives the object a new value from the system, of random bits.
    /// @returns 0; a system error with bit 29 set when the system makes none: the object stays as it was.
    ZRErrors::ZRErrorT CreateGUID();

    /// @returns 0 without a value and for one whose text is refused as no GUID's, which is logged; else 1. A value of
    ///   zeros is valid: so is what a FromString that failed leaves.
    int IsValid() const;

    /// Writes the text, which the stream pads to its width as a whole, between braces when `braces` is set.
    /// @returns 0; 2001 e_Memory_AllocationFailed without memory for the text and 9400 e_Guid_Invalid when the system
    ///   refuses to make it: nothing is written then. What becomes of the text the stream tells.
    /// @{
    ZRErrors::ZRErrorT ToString(std::ostream& stream, bool braces) const;
    static ZRErrors::ZRErrorT ToString(std::ostream& stream, const GUID& guid, bool braces);
    /// @}

    /// Gives the object the value of a text; zeros when the text is refused, a decision of this system, which are a
    /// value like any other.
    /// @returns 0; 9400 e_Guid_Invalid for a null text and for what is no such text; another system error, as it is,
    ///   when the system cannot read it.
    ZRErrors::ZRErrorT FromString(const char* text);

protected:
    /// Reads the text into `guid`, which stays as it was when the text is refused. @returns the same codes.
    static ZRErrors::ZRErrorT FromString(const char* text, GUID& guid);

private:
    GUID m_Guid{};
    std::int32_t m_bHasValue = 0;
};

/// Write the text in braces, as ToString does.
/// @{
GAIZIOR_API std::ostream& operator<<(std::ostream& stream, const GUID& guid);
GAIZIOR_API std::ostream& operator<<(std::ostream& stream, const GuidC& guid);
/// @}
/// The same, unless the level of the stream's line is suppressed.
GAIZIOR_API ZRLogStreamC& operator<<(ZRLogStreamC& log, const GuidC& guid);

/// Read up to the first '}' behind a '{', or to the end, and make a value of all of it: nothing before the '{' is
/// skipped. Sets failbit when the text is refused (the value is zeros then) or there was nothing to read (it stays as
/// it was, and nothing is logged); eofbit when the end was met; badbit when memory did not suffice for the text.
/// @{
GAIZIOR_API std::istream& operator>>(std::istream& stream, GUID& guid);
GAIZIOR_API std::istream& operator>>(std::istream& stream, GuidC& guid);
/// @}
