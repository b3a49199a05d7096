#include "gaizior/values/string.h"

#include "gaizior/values/ascii.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

namespace gaizior {
namespace {

std::size_t Clamped(int position) {
    return static_cast<std::size_t>(std::max(position, 0));
}

/// Positions of the standard library as ours: "not there" becomes -1.
int ToPosition(std::size_t found) {
    return found == std::string::npos ? -1 : static_cast<int>(found);
}

/// The text that the printf family makes; empty when it fails.
std::string Formatted(const char* format, std::va_list arguments) {
    std::array<char, 256> first;
    std::va_list again;
    va_copy(again, arguments);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has begun the list
    const int length = std::vsnprintf(first.data(), first.size(), format, arguments);
    std::string text(Clamped(length), '\0');
    if (text.size() < first.size()) {
        std::copy_n(first.data(), text.size(), text.data());
    } else if (std::vsnprintf(text.data(), text.size() + 1, format, again) != length) {
        text.clear();
    }
    va_end(again);
    return text;
}

ZRCString Concatenated(ZRCString left, const auto& right) {
    left += right;
    return left;
}

} // namespace
} // namespace gaizior

using gaizior::Clamped;
using gaizior::OrEmpty;
using gaizior::ToPosition;

ZRCString::ZRCString() = default;
ZRCString::ZRCString(const char* text) : m_text(OrEmpty(text)) {}
ZRCString::ZRCString(const ZRCString& other) = default;
ZRCString::~ZRCString() = default;

ZRCString& ZRCString::operator=(const ZRCString& other) = default;

ZRCString& ZRCString::operator=(char character) {
    m_text = character;
    return *this;
}

ZRCString& ZRCString::operator+=(const char* text) {
    m_text += OrEmpty(text);
    return *this;
}

ZRCString& ZRCString::operator+=(const ZRCString& other) {
    m_text += other.m_text;
    return *this;
}

ZRCString& ZRCString::operator+=(char character) {
    m_text += character;
    return *this;
}

ZRCString::operator const char*() const {
    return m_text.c_str();
}

int ZRCString::IsEmpty() const {
    return m_text.empty() ? 1 : 0;
}

void ZRCString::Empty() {
    m_text.clear();
}

int ZRCString::GetLength() const {
    return static_cast<int>(m_text.size());
}

int ZRCString::Find(char character) const {
    return Find(character, 0);
}

int ZRCString::Find(const char* text) const {
    return Find(text, 0);
}

int ZRCString::Find(char character, int start) const {
    return ToPosition(m_text.find(character, Clamped(start)));
}

int ZRCString::Find(const char* text, int start) const {
    return ToPosition(m_text.find(OrEmpty(text), Clamped(start)));
}

ZRCString ZRCString::Left(int count) const {
    return Mid(0, count);
}

ZRCString ZRCString::Right(int count) const {
    return Mid(std::max(GetLength() - std::max(count, 0), 0), count);
}

ZRCString ZRCString::Mid(int first, int count) const {
    ZRCString part;
    if (Clamped(first) < m_text.size()) {
        part.m_text = m_text.substr(Clamped(first), Clamped(count));
    }
    return part;
}

ZRCString ZRCString::Mid(int first) const {
    return Mid(first, 1); // one character and not the rest, on purpose
}

char ZRCString::GetAt(int position) const {
    return position >= 0 && position < GetLength() ? m_text[Clamped(position)] : '\0';
}

char ZRCString::operator[](int position) const {
    return GetAt(position);
}

bool ZRCString::operator==(const ZRCString& other) const {
    return m_text == other.m_text;
}

bool ZRCString::operator==(const char* other) const {
    return m_text == OrEmpty(other);
}

int ZRCString::Compare(const char* other) const {
    return m_text.compare(OrEmpty(other));
}

int ZRCString::CompareNoCase(const char* other) const {
    const std::string_view right = OrEmpty(other);
    const auto lower = [](char c) { return static_cast<unsigned char>(gaizior::ToLowerAscii(c)); };
    const auto order =
        std::lexicographical_compare_three_way(m_text.begin(), m_text.end(), right.begin(), right.end(),
                                               [lower](char a, char b) { return lower(a) <=> lower(b); });
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

void ZRCString::Format(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    FormatV(format, arguments);
    va_end(arguments);
}

void ZRCString::FormatV(const char* format, std::va_list arguments) {
    m_text = format ? gaizior::Formatted(format, arguments) : std::string();
}

ZRCString operator+(const ZRCString& left, const ZRCString& right) {
    return gaizior::Concatenated(left, right);
}

ZRCString operator+(const ZRCString& left, const char* right) {
    return gaizior::Concatenated(left, right);
}

ZRCString operator+(const char* left, const ZRCString& right) {
    return gaizior::Concatenated(left, right);
}

ZRCString operator+(const ZRCString& left, char right) {
    return gaizior::Concatenated(left, right);
}

ZRCString operator+(char left, const ZRCString& right) {
    return gaizior::Concatenated(ZRCString() = left, right);
}
