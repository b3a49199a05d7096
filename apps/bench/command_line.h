#pragma once

#include "apps/support/failure.h"
#include "apps/support/process_events.h"
#include "apps/support/within.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

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

    /// Reads the words behind the program's name and sets `run`, which prints the help where that is asked for.
    /// @returns what is wrong with them, in one line.
    Outcome Parse(const std::vector<std::string>& words);

    /// What an empty command line is told: the commands by their families, and where to begin.
    std::string Brief() const;

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
    void AddFamily(const char* name, void (*add)(CommandLine&));
    void AddHelp();

    std::string m_families; ///< a line for each, with its commands
};

void AddJobCommands(CommandLine& line);
void AddValueCommands(CommandLine& line);
void AddSettingsCommands(CommandLine& line);
void AddChannelCommands(CommandLine& line);
void AddRecordCommands(CommandLine& line); // what a machine remembers: logs and histories

// What several commands have.

void AddId(CLI::App& app, std::uint16_t& id, const char* help, int most = 65535);
void AddSeconds(CLI::App& app, const char* name, double& seconds, const char* help);
/// The same where the imager is waited for: without any time it never answers.
void AddTimeout(CLI::App& app, double& seconds, const char* help);
void AddJson(CLI::App& app, bool& json);

} // namespace apps
