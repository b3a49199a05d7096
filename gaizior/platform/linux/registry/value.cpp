#include "gaizior/platform/linux/registry/value.h"

#include <charconv>
#include <system_error>

namespace gaizior::platform {
namespace {

constexpr std::string_view kMagic = "gaizior value 1";

/// Takes a blank and a number from the front of `text`.
template <class Number>
bool TakeNumber(std::string_view& text, Number& number) {
    if (!text.starts_with(' ')) {
        return false;
    }
    const auto [end, error] = std::from_chars(text.data() + 1, text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

} // namespace

std::string ToFileText(const Value& value) {
    std::string text(kMagic);
    for (const std::size_t number : {std::size_t{value.type}, value.name.size(), value.data.size()}) {
        text.append(1, ' ').append(std::to_string(number));
    }
    return text.append(1, '\n').append(value.name).append(1, '\n').append(value.data);
}

std::optional<Value> ReadFileText(std::string_view text) {
    if (!text.starts_with(kMagic)) {
        return std::nullopt;
    }
    text.remove_prefix(kMagic.size());
    Value value;
    std::size_t nameLength = 0;
    std::size_t dataLength = 0;
    if (!TakeNumber(text, value.type) || !TakeNumber(text, nameLength) || !TakeNumber(text, dataLength) ||
        nameLength > kLongestValueName || dataLength > kLargestData || text.size() != nameLength + dataLength + 2 ||
        text[0] != '\n' || text[nameLength + 1] != '\n') {
        return std::nullopt;
    }
    value.name = text.substr(1, nameLength);
    value.data = text.substr(nameLength + 2);
    return value;
}

} // namespace gaizior::platform
