#include "apps/bench/terminal.h"

#include "apps/support/text.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace apps {
namespace {

int Descriptor(Stream stream) {
    return stream == Stream::kOutput ? STDOUT_FILENO : STDERR_FILENO;
}

// A signal handler has no argument, so what it tells is kept here.
std::atomic<bool> g_isAskedToStop{false};
std::atomic<bool> g_wentOn{false};
static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers write them");

void OnJobControl(int signal) {
    (signal == SIGTSTP ? g_isAskedToStop : g_wentOn) = true;
}

/// Has a signal handled. @returns how it was before.
struct sigaction Handle(int signal, void (*handler)(int)) {
    struct sigaction wanted {};
    struct sigaction before {};
    wanted.sa_handler = handler;
    wanted.sa_flags = SA_RESTART;
    ::sigaction(signal, &wanted, &before);
    return before;
}

} // namespace

bool IsTerminal(Stream stream) {
    const char* kind = std::getenv("TERM");
    return ::isatty(Descriptor(stream)) != 0 && kind && std::string_view(kind) != "dumb";
}

TerminalSize SizeOf(Stream stream) {
    TerminalSize usual;
    winsize size{};
    const bool isTold = ::ioctl(Descriptor(stream), TIOCGWINSZ, &size) == 0;
    return {isTold && size.ws_col > 0 ? size.ws_col : usual.columns,
            isTold && size.ws_row > 0 ? size.ws_row : usual.rows};
}

unsigned TerminalColumns(Stream stream) {
    return SizeOf(stream).columns;
}

/// As the terminal's locale is named, whether or not this machine has that locale.
bool HasUtf8() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(name);
        if (!value || !*value) {
            continue;
        }
        std::string_view charset = value;
        charset.remove_prefix(std::min(charset.find('.') + 1, charset.size()));
        charset = charset.substr(0, charset.find('@'));
        return IsSameName(charset, "UTF-8") || IsSameName(charset, "utf8");
    }
    return false;
}

bool HasColour(Stream stream) {
    return IsTerminal(stream);
}

void OutliveReaders() {
    std::signal(SIGPIPE, SIG_IGN);
}

// Terminals here are ready as they are.
TerminalMode::TerminalMode() {}
TerminalMode::~TerminalMode() {}

struct Keyboard::Before {
    int descriptor = STDIN_FILENO; ///< the terminal, wherever standard input comes from
    termios mode = {};
    struct sigaction stop = {};
    struct sigaction goOn = {};
};

Keyboard::Keyboard() : m_pBefore(std::make_unique<Before>()) {
    if (::isatty(STDIN_FILENO) == 0) {
        m_pBefore->descriptor = STDOUT_FILENO;
    }
    ::tcgetattr(m_pBefore->descriptor, &m_pBefore->mode);
    m_pBefore->stop = Handle(SIGTSTP, OnJobControl);
    m_pBefore->goOn = Handle(SIGCONT, OnJobControl);
    if (m_pBefore->stop.sa_handler == SIG_IGN) {
        ::sigaction(SIGTSTP, &m_pBefore->stop, nullptr); // nobody is there who could let it go on
    }
}

Keyboard::~Keyboard() {
    ::sigaction(SIGTSTP, &m_pBefore->stop, nullptr);
    ::sigaction(SIGCONT, &m_pBefore->goOn, nullptr);
}

bool Keyboard::IsOurs() const {
    const pid_t group = ::tcgetpgrp(m_pBefore->descriptor);
    return group == ::getpgrp() || group < 0; // a terminal that is not the session's has no job control
}

void Keyboard::Take() {
    termios mode = m_pBefore->mode;
    mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    mode.c_cc[VMIN] = 0; // a read without keys returns at once
    mode.c_cc[VTIME] = 0;
    ::tcsetattr(m_pBefore->descriptor, TCSADRAIN, &mode);
}

void Keyboard::GiveBack() {
    ::tcsetattr(m_pBefore->descriptor, TCSADRAIN, &m_pBefore->mode);
}

char Keyboard::Next() {
    char key = 0;
    return ::read(m_pBefore->descriptor, &key, 1) == 1 ? key : '\0';
}

bool Keyboard::IsAskedToStop() const {
    return g_isAskedToStop;
}

void Keyboard::Stop() {
    ::sigaction(SIGTSTP, &m_pBefore->stop, nullptr);
    std::raise(SIGTSTP);
    Handle(SIGTSTP, OnJobControl);
    g_isAskedToStop = false;
}

bool Keyboard::WentOn() {
    return g_wentOn.exchange(false);
}

} // namespace apps
