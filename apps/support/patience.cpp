#include "apps/support/patience.h"

#include <array>
#include <cstdio>
#include <utility>

namespace apps {
namespace {

constexpr ULONGLONG kHeldUp = 1000; // several times as long as anybody of ours waits between two looks

} // namespace

Patience::Patience(DWORD milliseconds, ULONGLONG now) : m_nMilliseconds(milliseconds), m_nBegin(now), m_nAsked(now) {}

void Patience::Renew(ULONGLONG now) {
    m_nBegin = now;
    m_nAsked = now;
}

bool Patience::IsExhausted(ULONGLONG now) {
    if (now - std::exchange(m_nAsked, now) >= kHeldUp) {
        Renew(now);
    }
    return now - m_nBegin >= m_nMilliseconds;
}

std::string Patience::Text() const {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g s", m_nMilliseconds / 1000.0);
    return text.data();
}

} // namespace apps
