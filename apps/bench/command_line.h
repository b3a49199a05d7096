#pragma once

#include "apps/support/failure.h"
#include "apps/support/process_events.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>

namespace apps {

/// What --help says of a command.
struct Help {
    const char* name;
    const char* summary;
    const char* examples; ///< ends with a line feed
};

/// bench's command line: its commands, and what is to be done once it is parsed. Each family of commands has a source
/// of its own, command_line_FAMILY.cpp, whose one function adds them.
struct CommandLine {
    CLI::App app{"Service tool for a platesetter's control system", "bench"};
    bool verbose = false;
    std::function<Outcome(const Interrupt&)> run;

    CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    template <typename Options>
    struct Added {
        CLI::App& command;
        Options& options; ///< where its words go; lives as long as the command line
    };

    /// Adds a command that is carried out by `function`, with its options and, where it takes one, the Interrupt.
    template <typename Options, typename Function>
    Added<Options> Add(CLI::App& parent, const Help& help, Function function) {
        const auto options = std::make_shared<Options>();
        CLI::App& command = AddNamed(parent, help);
        command.callback([=, this] {
            run = [=](const Interrupt& interrupt) -> Outcome {
                if constexpr (std::is_invocable_v<Function, Options&, const Interrupt&>) {
                    return function(*options, interrupt);
                } else {
                    return function(*options);
                }
            };
        });
        return {command, *options};
    }

    /// Adds a word that needs a command of its own behind it.
    CLI::App& AddGroup(const Help& help);

private:
    static CLI::App& AddNamed(CLI::App& parent, const Help& help);
};

void AddJobCommands(CommandLine& line);
void AddValueCommands(CommandLine& line);
void AddSettingsCommands(CommandLine& line);
void AddChannelCommands(CommandLine& line);
void AddRecordCommands(CommandLine& line); // what a machine remembers: logs and histories

// What several commands have.

/// A range whose name is fit for the help, and in which "nan" is not.
template <typename Number>
CLI::Validator Within(Number least, Number most) {
    const std::string name = CLI::detail::to_string(least) + ".." + CLI::detail::to_string(most);
    return CLI::Validator(
        [=](const std::string& text) {
            Number value{};
            const bool isWithin = CLI::detail::lexical_cast(text, value) && value >= least && value <= most;
            return isWithin ? std::string() : "Value " + text + " not in range " + name;
        },
        name);
}

void AddId(CLI::App& app, std::uint16_t& id, const char* help, int most = 65535);
void AddSeconds(CLI::App& app, const char* name, double& seconds, const char* help);
/// The same where the imager is waited for: without any time it never answers.
void AddTimeout(CLI::App& app, double& seconds, const char* help);
void AddJson(CLI::App& app, bool& json);

/// What is wrong with the command line, in one line.
std::string ExplainUsage(const CLI::App& app, const CLI::ParseError& error, int argc, char** argv);

} // namespace apps
