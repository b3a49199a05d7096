#include "apps/imager/records.h"
#include "apps/imager/server.h"
#include "apps/support/diagnostics.h"
#include "apps/support/process_events.h"
#include "apps/support/version.h"
#include "apps/support/within.h"
#include "gaizior/errors/folded_code.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>

namespace apps {
namespace {

constexpr const char* kFooter = R"(Takes commands over the message channel and answers each. Ends when it
is told to stop, on Ctrl-C and when its client's process has ended.
'bench image' starts one for a job, 'bench imager start' one that stays;
'bench imager' commands it.

Examples:
  imager                          serve ID 101
  imager --id 201 --speed 20      twenty times as fast as a real engine

Exit codes: 0 ended in order, 1 failed, 2 wrong options, 4 the channel's
            lock timed out)";

int PrintFailure(const Failure& failure, bool verbose) {
    std::fprintf(stderr, "imager: %s\n", failure.text.c_str());
    if (verbose) {
        PrintErrorStack();
    }
    return static_cast<int>(failure.exit);
}

int Run(ServerOptions options, DWORD clientProcess, bool verbose) {
    Records records(options.id, verbose);
    options.onExposure = [&](const Exposure& exposure) { records.Add(exposure); };
    const Interrupt interrupt;
    options.hInterrupt = interrupt.Event();
    gaizior::UniqueHandle hClient;
    if (clientProcess != 0) {
        hClient = gaizior::UniqueHandle(::OpenProcess(SYNCHRONIZE, FALSE, clientProcess));
        if (!hClient) {
            const ZRErrors::ZRErrorT code = gaizior::LastSystemError();
            return PrintFailure(Fail("Run(): ", code, Exit::kFailed,
                                     "the client's process " + std::to_string(clientProcess) +
                                         " cannot be watched: " + ErrorText(code)),
                                verbose);
        }
        options.hClientProcess = hClient.Get();
    }
    const Outcome failure = Server(options).Run();
    return failure ? PrintFailure(*failure, verbose) : static_cast<int>(Exit::kDone);
}

} // namespace
} // namespace apps

int main(int argc, char** argv) try {
    apps::ServerOptions options;
    DWORD clientProcess = 0;
    bool verbose = false;
    CLI::App app("The imaging process of a platesetter, with a simulated engine", "imager");
    app.footer(apps::kFooter);
    app.allow_windows_style_options(false);
    app.add_option("--id", options.id, "Communications ID to receive under (default 101)")
        ->check(apps::Within(2, 65535))
        ->type_name("ID");
    app.add_option("--client-id", options.clientId, "Greet this client when ready (without: nobody)")
        ->check(apps::Within(1, 65535))
        ->type_name("ID");
    app.add_option("--client-process", clientProcess, "End when this process has ended")->type_name("PID");
    app.add_option("--speed", options.speed, "Run N times as fast as a real engine (default 1)")
        ->check(apps::Within(0.01, 100000.0))
        ->type_name("N");
    // For tests and training: not in the help.
    const CLI::Option* hang = app.add_option("--hang", options.hang)->type_name("LOCK")->group("");
    app.add_flag("--verbose", verbose, "Tell every step on standard error");
    app.set_version_flag("--version", apps::VersionText("imager"), "Print the version and exit");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error);
        }
        std::fprintf(stderr, "imager: %s: see 'imager --help'\n", error.what());
        return static_cast<int>(apps::Exit::kUsage);
    }
    if (hang->count() > 0 && std::ranges::find(apps::kLockNames, options.hang) == apps::kLockNames.end()) {
        std::fprintf(stderr, "imager: there is no lock '%s' to hang in: --hang takes %s or %s\n", options.hang.c_str(),
                     apps::kLockNames[0], apps::kLockNames[1]);
        return static_cast<int>(apps::Exit::kUsage);
    }
    return apps::Run(options, clientProcess, verbose);
} catch (const std::exception& error) {
    std::fprintf(stderr, "imager: it cannot go on: %s\n", error.what());
    return static_cast<int>(apps::Exit::kFailed);
}
