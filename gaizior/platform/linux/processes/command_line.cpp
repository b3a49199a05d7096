#include "gaizior/platform/linux/processes/command_line.h"

#include <algorithm>

namespace gaizior::platform {
namespace {

constexpr std::string_view kBlanks = " \t";

std::string TakeProgram(std::string_view& rest) {
    std::string program;
    bool quoted = false;
    while (!rest.empty() && (quoted || kBlanks.find(rest.front()) == std::string_view::npos)) {
        if (rest.front() == '"') {
            quoted = !quoted;
        } else {
            program += rest.front();
        }
        rest.remove_prefix(1);
    }
    return program;
}

std::string TakeArgument(std::string_view& rest) {
    std::string argument;
    bool quoted = false;
    while (!rest.empty() && (quoted || kBlanks.find(rest.front()) == std::string_view::npos)) {
        const std::size_t backslashes = std::min(rest.find_first_not_of('\\'), rest.size());
        rest.remove_prefix(backslashes);
        if (!rest.starts_with('"')) {
            argument.append(backslashes, '\\');
            if (backslashes == 0) {
                argument += rest.front();
                rest.remove_prefix(1);
            }
            continue;
        }
        argument.append(backslashes / 2, '\\');
        const bool doubled = quoted && rest.starts_with("\"\"");
        if (backslashes % 2 != 0) {
            argument += '"';
            rest.remove_prefix(1);
        } else if (doubled) {
            argument += '"';
            rest.remove_prefix(2);
        } else {
            quoted = !quoted;
            rest.remove_prefix(1);
        }
    }
    return argument;
}

void SkipBlanks(std::string_view& rest) {
    rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
}

} // namespace

std::vector<std::string> SplitCommandLine(std::string_view line) {
    std::vector<std::string> words{TakeProgram(line)};
    for (SkipBlanks(line); !line.empty(); SkipBlanks(line)) {
        words.push_back(TakeArgument(line));
    }
    return words;
}

} // namespace gaizior::platform
