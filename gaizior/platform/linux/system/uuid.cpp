#include "gaizior/platform/linux/files/retry.h"
#include "gaizior/platform/linux/system/last_error.h"
#include "gaizior/platform/uuid_call.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include <endian.h>
#include <sys/random.h>

namespace {

using gaizior::platform::FailErrno;
using gaizior::platform::Retry;

constexpr HRESULT kFailure = static_cast<HRESULT>(0x80004005); // an error that nothing else is said of
constexpr BYTE kNoDigit = 0xFF;
constexpr char kDigits[] = "0123456789abcdef";

/// The bytes in the order of their digits.
using Bytes = std::array<BYTE, sizeof(UUID)>;

/// Turns the three numbers from the machine's order of bytes to that of the digits, and back.
UUID Turned(UUID uuid) {
    uuid.Data1 = htobe32(uuid.Data1);
    uuid.Data2 = htobe16(uuid.Data2);
    uuid.Data3 = htobe16(uuid.Data3);
    return uuid;
}

Bytes ToBytes(const UUID& uuid) {
    return std::bit_cast<Bytes>(Turned(uuid));
}

UUID FromBytes(const Bytes& bytes) {
    return Turned(std::bit_cast<UUID>(bytes));
}

/// Where the digits of each byte stand in a text.
constexpr std::array<std::uint8_t, 16> kPlaces = {0, 2, 4, 6, 9, 11, 14, 16, 19, 21, 24, 26, 28, 30, 32, 34};

/// The two digits of each byte.
constexpr auto kDigitPairs = [] {
    std::array<std::array<char, 2>, 256> pairs{};
    for (std::size_t byte = 0; byte < pairs.size(); ++byte) {
        pairs[byte] = {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return pairs;
}();

/// The value of each character as a digit.
constexpr auto kValues = [] {
    std::array<BYTE, 256> values{};
    values.fill(kNoDigit);
    for (BYTE digit = 0; digit < 16; ++digit) {
        values[static_cast<unsigned char>(kDigits[digit])] = digit;
        values[static_cast<unsigned char>("0123456789ABCDEF"[digit])] = digit;
    }
    return values;
}();

/// Nothing is read behind the text's end.
std::optional<Bytes> Parse(const unsigned char* text) {
    Bytes bytes;
    const unsigned char* at = text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (at != text + kPlaces[i] && *at++ != '-') {
            return std::nullopt;
        }
        const BYTE high = kValues[at[0]];
        const BYTE low = high == kNoDigit ? kNoDigit : kValues[at[1]];
        if (low == kNoDigit) {
            return std::nullopt;
        }
        bytes[i] = static_cast<BYTE>(high << 4 | low);
        at += 2;
    }
    return *at == '\0' ? std::optional(bytes) : std::nullopt;
}

} // namespace

inline namespace gaizior_windows_api {

HRESULT CoCreateGuid(GUID* guid) {
    Bytes bytes;
    if (Retry([&] { return ::getrandom(bytes.data(), bytes.size(), 0); }) < 0) { // so few come all at once
        FailErrno();
        return kFailure;
    }
    bytes[6] = static_cast<BYTE>((bytes[6] & 0x0F) | 0x40); // version 4: random
    bytes[8] = static_cast<BYTE>((bytes[8] & 0x3F) | 0x80); // the variant that has these versions
    *guid = FromBytes(bytes);
    return 0;
}

RPC_STATUS UuidFromStringA(RPC_CSTR text, UUID* uuid) {
    const std::optional<Bytes> bytes = text ? Parse(text) : Bytes{};
    if (!bytes) {
        return RPC_S_INVALID_STRING_UUID;
    }
    *uuid = FromBytes(*bytes);
    return RPC_S_OK;
}

} // namespace gaizior_windows_api

namespace gaizior {

UuidTextErrors WriteUuidText(const GUID& guid, char* text) {
    const Bytes bytes = ToBytes(guid);
#pragma GCC unroll 16
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::memcpy(text + kPlaces[i], kDigitPairs[bytes[i]].data(), 2);
    }
    text[8] = text[13] = text[18] = text[23] = '-';
    return {};
}

} // namespace gaizior
