#include "gaizior/values/guid.h"

#include "gaizior/errors/failure.h"
#include "gaizior/platform/uuid_call.h"

#include <array>
#include <cstddef>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

namespace gaizior {
namespace {

constexpr const char* kToString = "GuidC::ToString(): ";
constexpr const char* kFromStream = "GuidC::FromStream(): ";
constexpr const char* kIsValid = "GuidC::IsValid(): ";

static_assert(sizeof(GUID) == 16 && sizeof(GuidC) == 20 && std::is_standard_layout_v<GuidC>);

/// Text, braces and a NUL.
using TextBuffer = std::array<char, kUuidTextLength + 3>;
/// What the system is to read: room for one character more than it takes, and a NUL.
using ReadBuffer = std::array<char, kUuidTextLength + 2>;

CodeText TextOf(DWORD error) {
    return CodeText(FoldSystemError(error));
}

/// Writes the text into the buffer, ended by a NUL. @returns 0, or the code of what is logged then.
ZRErrors::ZRErrorT Format(const GUID& guid, bool braces, TextBuffer& buffer, std::string_view& written) {
    const std::size_t first = braces ? 1 : 0;
    const UuidTextErrors errors = UuidToText(guid, buffer.data() + first);
    if (errors.made == RPC_S_OUT_OF_MEMORY) {
        return Fail(kToString, ZRErrors::e_Memory_AllocationFailed, TextOf(errors.made));
    }
    if (errors.made != NO_ERROR) {
        return Fail(kToString, ZRErrors::e_Guid_Invalid, "UuidToString failed: ", TextOf(errors.made));
    }
    if (errors.freed != NO_ERROR) {
        LogError(kToString, "RpcStringFree failed: ", TextOf(errors.freed));
    }
    const std::size_t length = kUuidTextLength + 2 * first;
    if (braces) {
        buffer[0] = '{';
        buffer[length - 1] = '}';
    }
    buffer[length] = '\0';
    written = {buffer.data(), length};
    return ZRErrors::e_General_NoError;
}

/// Writes the text, padded to the width if the stream has one; without one a stream has a shorter way.
void Write(std::ostream& stream, std::string_view text) {
    if (stream.width() == 0) {
        stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    } else {
        stream << text;
    }
}

/// Copies the text without its braces, and no more of it than shows that it is too long.
ReadBuffer WithoutBraces(std::string_view text) {
    ReadBuffer copy{};
    std::size_t length = 0;
    for (const char character : text) {
        if (character != '{' && character != '}') {
            copy[length++] = character;
            if (length == copy.size() - 1) {
                break;
            }
        }
    }
    return copy;
}

/// Reads up to the first '}' behind a '{', or to the end.
std::string ReadBraced(std::istream& stream) {
    std::string text;
    bool isOpen = false;
    while (stream.peek() != std::istream::traits_type::eof()) {
        const auto character = static_cast<char>(stream.get());
        text += character != '\0' ? character : ' '; // a NUL would hide what follows
        isOpen = isOpen || character == '{';
        if (isOpen && character == '}') {
            break;
        }
    }
    return text;
}

} // namespace
} // namespace gaizior

using namespace gaizior;

GuidC::GuidC(const GUID& guid) : m_Guid(guid), m_bHasValue(1) {}

void GuidC::SetGUID(const GUID& guid) {
    m_Guid = guid;
    m_bHasValue = 1;
}

GuidC::operator GUID() const {
    return m_Guid;
}

ZRErrors::ZRErrorT GuidC::CreateGUID() {
    GUID created{};
    if (!CreateUuid(created)) {
        const ZRErrors::ZRErrorT error = LastSystemError();
        return Fail("GuidC::CreateGUID(): ", error, CodeText(error));
    }
    SetGUID(created);
    return ZRErrors::e_General_NoError;
}

int GuidC::IsValid() const {
    if (m_bHasValue == 0) {
        LogError(kIsValid, "this GUID is uninitialised: ", *this);
        return 0;
    }
    TextBuffer buffer{};
    std::string_view text;
    GUID read{};
    static_cast<void>(Format(m_Guid, true, buffer, text)); // a failure leaves a text that does not read
    if (FromString(buffer.data(), read) == ZRErrors::e_Guid_Invalid) {
        LogError(kIsValid, "this GUID is invalid: ", *this);
        return 0;
    }
    return 1;
}

ZRErrors::ZRErrorT GuidC::ToString(std::ostream& stream, bool braces) const {
    return ToString(stream, m_Guid, braces);
}

ZRErrors::ZRErrorT GuidC::ToString(std::ostream& stream, const GUID& guid, bool braces) {
    TextBuffer buffer;
    std::string_view text;
    const ZRErrors::ZRErrorT error = Format(guid, braces, buffer, text);
    if (error == ZRErrors::e_General_NoError) {
        Write(stream, text);
    }
    return error;
}

ZRErrors::ZRErrorT GuidC::FromString(const char* text) {
    GUID read{};
    const ZRErrors::ZRErrorT error = FromString(text, read);
    SetGUID(read);
    return error;
}

ZRErrors::ZRErrorT GuidC::FromString(const char* text, GUID& guid) {
    // The system would make zeros of a null text.
    GUID read{};
    const DWORD error = text ? UuidFromText(WithoutBraces(text).data(), read) : RPC_S_INVALID_STRING_UUID;
    if (error == NO_ERROR) {
        guid = read;
        return ZRErrors::e_General_NoError;
    }
    if (error == RPC_S_INVALID_STRING_UUID) {
        return Fail(kFromStream, ZRErrors::e_Guid_Invalid, "Invalid Uuid String: ", text);
    }
    return Fail(kFromStream, static_cast<ZRErrors::ZRErrorT>(error), "UuidFromString failed for: ", text,
                ", reason: ", TextOf(error));
}

std::ostream& operator<<(std::ostream& stream, const GUID& guid) {
    static_cast<void>(GuidC::ToString(stream, guid, true)); // a failure is logged
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const GuidC& guid) {
    return stream << static_cast<GUID>(guid);
}

ZRLogStreamC& operator<<(ZRLogStreamC& log, const GuidC& guid) {
    TextBuffer buffer;
    std::string_view text;
    if (log.IsValidDebugLevel() && Format(guid, true, buffer, text) == ZRErrors::e_General_NoError) {
        log << text;
    }
    return log;
}

std::istream& operator>>(std::istream& stream, GUID& guid) {
    GuidC read(guid);
    stream >> read;
    guid = read;
    return stream;
}

std::istream& operator>>(std::istream& stream, GuidC& guid) {
    try {
        const std::string text = ReadBraced(stream);
        if (text.empty() || guid.FromString(text.c_str()) != ZRErrors::e_General_NoError) {
            stream.setstate(std::ios_base::failbit);
        }
    } catch (const std::bad_alloc&) {
        stream.setstate(std::ios_base::badbit);
    }
    return stream;
}
