#pragma once

#include <cstdint>
#include <span>

namespace apps {

// What is known of codes beside their texts. The texts are constant; null stands for none.

/// Codes that have the same in common, from the first to the last.
struct CodeRange {
    std::uint32_t first;
    std::uint32_t last;
    const char* text;
};

/// Which part of the machine has codes about there.
const char* OriginOf(std::uint32_t code);

/// The device that a code of the table concerns.
const char* DeviceOf(std::uint32_t code);

/// What a service engineer does next.
const char* NextStepFor(std::uint32_t code);

/// All that NextStepFor knows.
std::span<const CodeRange> NextSteps();

} // namespace apps
