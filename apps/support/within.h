#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <type_traits>

namespace apps {

/// Checks that an option's value is a number from `least` to `most`; "nan" is none. The name is fit for the help.
template <typename Number>
CLI::Validator Within(Number least, Number most) {
    const std::string from = CLI::detail::to_string(least);
    const std::string to = CLI::detail::to_string(most);
    return CLI::Validator(
        [=](const std::string& text) {
            Number value{};
            const bool isWithin = CLI::detail::lexical_cast(text, value) && value >= least && value <= most;
            const char* const kind = std::is_integral_v<Number> ? "whole number" : "number";
            return isWithin ? std::string() : "'" + text + "' is no " + kind + " from " + from + " to " + to;
        },
        from + ".." + to);
}

} // namespace apps
