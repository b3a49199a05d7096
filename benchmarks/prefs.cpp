#include "gaizior/config/prefs.h"
#include "benchmarks/compare.h"
#include "benchmarks/scratch_folder.h"
#include "benchmarks/subjects.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include <glib.h>

namespace benchmarks {
namespace {

constexpr std::size_t kSettings = 50;
constexpr char kGroup[] = "screening";

/// A folder on the disk for the settings of both sides.
class Folder : public ScratchFolder {
public:
    Folder() {
        ::setenv("GAIZIOR_REGISTRY_DIR", Path().c_str(), 1);
    }
    ~Folder() {
        ::unsetenv("GAIZIOR_REGISTRY_DIR");
    }
    std::string File() const {
        return Path() + "/settings.ini";
    }
};

/// The names of the settings in turn, and a new value for each.
class Turns {
public:
    Turns() {
        for (std::size_t i = 0; i < kSettings; ++i) {
            m_names[i] = "Setting" + std::to_string(i);
        }
    }
    const char* Next() {
        return m_names[++m_number % kSettings].c_str();
    }
    unsigned Number() const {
        return m_number;
    }

private:
    std::array<std::string, kSettings> m_names;
    unsigned m_number = 0;
};

class KeyFile {
public:
    explicit KeyFile(std::string path) : m_path(std::move(path)) {}

    void Write(Turns& turns) const {
        const Pointer file = Load();
        const char* const name = turns.Next();
        g_key_file_set_integer(file.get(), kGroup, name, static_cast<gint>(turns.Number()));
        if (!g_key_file_save_to_file(file.get(), m_path.c_str(), nullptr)) {
            throw std::runtime_error("GKeyFile cannot save " + m_path);
        }
    }
    int Read(Turns& turns) const {
        return g_key_file_get_integer(Load().get(), kGroup, turns.Next(), nullptr);
    }

private:
    using Pointer = std::unique_ptr<GKeyFile, void (*)(GKeyFile*)>;

    /// An empty one where there is no file yet.
    Pointer Load() const {
        Pointer file(g_key_file_new(), &g_key_file_free);
        g_key_file_load_from_file(file.get(), m_path.c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr);
        return file;
    }

    std::string m_path;
};

void Require(ZRErrors::ZRErrorT error) {
    if (error) {
        throw std::runtime_error("a preference cannot be written");
    }
}

} // namespace

void Preferences() {
    const Folder folder;
    const KeyFile keyFile(folder.File());
    CZRPrefs prefs("benchmark", kGroup, "1");
    Turns ours;
    Turns theirs;
    const auto write = [&] {
        const char* const name = ours.Next();
        Require(prefs.SaveUsrParam(name, ours.Number(), 0));
    };
    for (std::size_t i = 0; i < kSettings; ++i) {
        write();
        keyFile.Write(theirs);
    }
    Compare("a preference written, of 50", Repeat(write),
            {{"GKeyFile load, change, save", Repeat([&] { keyFile.Write(theirs); }), 1.0}});
    Compare("a preference read, of 50", Repeat([&] {
                unsigned long value = prefs.LoadUsrParam(ours.Next(), 0ul, 0);
                Keep(value);
            }),
            {{"GKeyFile load, read", Repeat([&] {
                  int value = keyFile.Read(theirs);
                  Keep(value);
              }),
              0.3}});
}

} // namespace benchmarks
