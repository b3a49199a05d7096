// A line of a history that is full, beside reading its file and writing it anew.

#include "gaizior/config/history.h"

#include "benchmarks/compare.h"
#include "benchmarks/scratch_folder.h"
#include "benchmarks/subjects.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace benchmarks {
namespace {

constexpr unsigned kLines = 10'000;

struct FullHistory : ZRHistoryC {
    explicit FullHistory(const std::string& path) {
        Create(path.c_str(), "plate\tresult", kLines);
        std::ofstream file(path, std::ios::app);
        for (unsigned i = 0; i < kLines; ++i) {
            file << "11/22/2026\t08:15:00\tA" << i << " cyan of the evening paper\texposed\n";
        }
    }
    using ZRHistoryC::LogIt;
};

void Insist(bool isTrue) {
    if (!isTrue) {
        throw std::runtime_error("a history was not written");
    }
}

/// Reads a file, writes it beside, flushes it, renames it and flushes its folder.
void WriteAnew(const std::string& folder, const std::string& path) {
    const std::string beside = path + ".tmp";
    const int in = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    Insist(in >= 0 && ::fstat(in, &status) == 0);
    std::string contents(static_cast<std::size_t>(status.st_size), '\0');
    Insist(::read(in, contents.data(), contents.size()) == status.st_size);
    const int out = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    Insist(out >= 0 && ::write(out, contents.data(), contents.size()) == status.st_size && ::fsync(out) == 0);
    Insist(::close(in) == 0 && ::close(out) == 0 && std::rename(beside.c_str(), path.c_str()) == 0);
    const int directory = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Insist(directory >= 0 && ::fsync(directory) == 0 && ::close(directory) == 0);
}

} // namespace

void History() {
    ZRLogStrstreambufC::SetDBGetLevelFn([] { return 1u; }); // as in an application
    const ScratchFolder folder;
    const std::string path = folder.Path() + "/history.txt";
    const std::string copy = folder.Path() + "/copy.txt";
    FullHistory history(path);
    std::filesystem::copy_file(path, copy);
    Compare("history line with a truncation at 10,000 lines", Repeat([&] {
                Insist(history.LogIt("A1 cyan of the evening paper\texposed") == ZRErrors::e_General_NoError);
            }),
            {{"read, write beside and rename of such a file, the same flushes",
              Repeat([&] { WriteAnew(folder.Path(), copy); }), 1.3}});
}

} // namespace benchmarks
