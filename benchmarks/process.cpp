#include "benchmarks/compare.h"
#include "benchmarks/results.h"
#include "benchmarks/shared_folder.h"
#include "benchmarks/subjects.h"
#include "gaizior/comms/channel_block.h"
#include "gaizior/platform/linux/objects/object.h"
#include "gaizior/threads/critical_section.h"
#include "gaizior/threads/thread.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <link.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace benchmarks {
namespace {

/// Runs a program to its end, what it prints going to a file.
class Program {
public:
    explicit Program(const char* name, const char* output = "/dev/null")
        : m_path(std::string(BENCHMARKS_PROGRAMS "/") + name) {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, output, O_WRONLY | O_CREAT, 0600);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() {
        ::posix_spawn_file_actions_destroy(&m_actions);
    }

    void Run() {
        pid_t child = 0;
        char* const arguments[] = {m_path.data(), nullptr};
        if (const int error = ::posix_spawn(&child, m_path.c_str(), &m_actions, nullptr, arguments, environ)) {
            throw std::system_error(error, std::generic_category(), m_path);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        if (WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) {
            throw Interrupted{SIGINT}; // by the terminal, which meant all of us
        }
        if (status != 0) {
            throw std::runtime_error(m_path + " has failed");
        }
    }

private:
    std::string m_path;
    posix_spawn_file_actions_t m_actions;
};

void Start() {
    Program ours("one_text");
    Program plain("one_line");
    Program streams("one_line_streams");
    Compare("start and end of a program that calls one function", Repeat([&] { ours.Run(); }),
            {{"a program that prints a line with puts", Repeat([&] { plain.Run(); }), 0},
             {"a program that prints a line with std::cout", Repeat([&] { streams.Run(); }), 0}});
}

std::string Bytes(std::size_t bytes) {
    return std::to_string(bytes) + " bytes";
}

std::string Kibibytes(std::size_t bytes) {
    return std::to_string((bytes + 512) / 1024) + " KiB";
}

void SetLibrarySizes() {
    struct Sizes {
        std::size_t constant = 0;
        std::size_t data = 0;
        std::size_t zero = 0;
    } sizes;
    const auto add = [](dl_phdr_info* object, std::size_t, void* result) {
        if (std::string_view(object->dlpi_name).find("/libgaizior.so") == std::string_view::npos) {
            return 0;
        }
        for (int i = 0; i < object->dlpi_phnum; ++i) {
            const ElfW(Phdr)& segment = object->dlpi_phdr[i];
            if (segment.p_type == PT_LOAD) {
                auto& sum = *static_cast<Sizes*>(result);
                ((segment.p_flags & PF_W) != 0 ? sum.data : sum.constant) += segment.p_filesz;
                sum.zero += segment.p_memsz - segment.p_filesz;
            }
        }
        return 1;
    };
    ::dl_iterate_phdr(add, &sizes);
    Results& results = Results::All();
    results.SetFigure("the library's code and constants", Kibibytes(sizes.constant));
    results.SetFigure("the library's data", Kibibytes(sizes.data));
    results.SetFigure("the library's memory that is zero at first", Kibibytes(sizes.zero));
}

struct Thread : ZRThreadC {
    Thread() : ZRThreadC("thread", nullptr, 1000, 0) {}
    ZRErrors::ZRErrorT run() override {
        return ZRErrors::e_General_NoError;
    }
};

/// With all that it has on the heap, but for its handles. The second of two rounds finds their places made.
std::size_t SizeOfThread() {
    constexpr std::size_t kCount = 100;
    std::size_t size = 0;
    for (int round = 0; round < 2; ++round) {
        std::vector<std::unique_ptr<Thread>> threads(kCount);
        const std::size_t before = ::mallinfo2().uordblks;
        std::ranges::generate(threads, [] { return std::make_unique<Thread>(); });
        size = (::mallinfo2().uordblks - before) / kCount;
    }
    return size;
}

void SetObjectSizes() {
    Results& results = Results::All();
    results.SetFigure("the channel's shared block", Kibibytes(sizeof(ZcChannel)));
    results.SetFigure("what is behind a handle, as an event", Bytes(sizeof(gaizior::platform::Object)));
    results.SetFigure("a critical section", Bytes(sizeof(ZRCriticalSectionC)));
    results.SetFigure("a thread that is not started", Bytes(SizeOfThread()));
}

void SetMemoryAtRest() {
    SharedFolder folder;
    const std::string output = folder.Path() + "/memory";
    Program("at_rest", output.c_str()).Run();
    std::ifstream file(output);
    std::size_t kibibytes = 0;
    for (std::string name; file >> name;) {
        if ((name == "Rss:" || name == "Private_Dirty:") && file >> kibibytes) {
            Results::All().SetFigure(name == "Rss:" ? "a process with an open channel, resident"
                                                    : "of this its own and written to",
                                     Kibibytes(kibibytes * 1024));
        }
    }
}

} // namespace

void Process() {
    Start();
    SetLibrarySizes();
    SetMemoryAtRest();
    SetObjectSizes();
}

} // namespace benchmarks
