#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "foundation/platform/Console.h"

namespace quillon {

namespace {

constexpr int kInterrupts[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};
constexpr size_t kMaximumPassword = 4096;

volatile std::sig_atomic_t g_interrupt = 0;

void RememberInterrupt(int signal) {
    g_interrupt = signal;
}

// The terminal with echo off, until the object dies. An interrupting signal only
// ends the read meanwhile and is raised again once the terminal is as it was:
// a program that dies in between would leave the user's shell without echo.
class CSilentTerminal {
public:
    explicit CSilentTerminal(int terminal) : m_terminal(terminal) {
        g_interrupt = 0;
        // Blocked but for the moments of waiting: a signal that came just before a
        // read would otherwise be noted and the read wait on.
        sigset_t blocked;
        sigemptyset(&blocked);
        for (const int interrupt : kInterrupts) sigaddset(&blocked, interrupt);
        pthread_sigmask(SIG_BLOCK, &blocked, &m_mask);
        struct sigaction remember = {};
        remember.sa_handler = RememberInterrupt;  // without SA_RESTART
        for (size_t i = 0; i < std::size(kInterrupts); ++i) {
            sigaction(kInterrupts[i], &remember, &m_actions[i]);
        }
        m_changed = tcgetattr(m_terminal, &m_settings) == 0;
        if (!m_changed) return;
        termios silent = m_settings;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
        m_changed = tcsetattr(m_terminal, TCSAFLUSH, &silent) == 0;
    }
    ~CSilentTerminal() {
        if (m_changed) tcsetattr(m_terminal, TCSAFLUSH, &m_settings);
        for (size_t i = 0; i < std::size(kInterrupts); ++i) {
            sigaction(kInterrupts[i], &m_actions[i], nullptr);
        }
        pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
        if (g_interrupt != 0) raise(g_interrupt);
    }
    CSilentTerminal(const CSilentTerminal&) = delete;
    CSilentTerminal& operator=(const CSilentTerminal&) = delete;

    bool IsSilent() const { return m_changed; }

    // Waits for one character. False: end of input or a signal.
    bool ReadCharacter(char& c) const {
        pollfd waiting{m_terminal, POLLIN, 0};
        while (g_interrupt == 0) {
            const int ready = ppoll(&waiting, 1, nullptr, &m_mask);
            if (ready > 0) return read(m_terminal, &c, 1) == 1;
            if (ready < 0 && errno != EINTR) return false;
        }
        return false;
    }

private:
    int m_terminal;
    bool m_changed = false;
    termios m_settings{};
    sigset_t m_mask{};  // as it was
    struct sigaction m_actions[std::size(kInterrupts)] = {};
};

void Write(int terminal, const char* text) {
    size_t left = std::strlen(text);
    while (left > 0) {
        const ssize_t written = write(terminal, text, left);
        if (written <= 0) return;
        text += written;
        left -= static_cast<size_t>(written);
    }
}

// One line without its end. False: end of input, a signal, or too long.
bool ReadLine(const CSilentTerminal& terminal, std::string& line) {
    for (;;) {
        char c = 0;
        if (!terminal.ReadCharacter(c)) return false;
        if (c == '\n' || c == '\r') return true;
        if (line.size() == kMaximumPassword) return false;
        line.push_back(c);
    }
}

}  // namespace

bool IsTerminal(int descriptor) {
    return isatty(descriptor) == 1;
}

bool ReadPassword(const char* prompt, std::string& out) {
    out.clear();
    const int terminal = open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (terminal < 0) return false;
    bool read = false;
    {
        const CSilentTerminal silent(terminal);
        if (silent.IsSilent()) {
            Write(terminal, prompt);
            read = ReadLine(silent, out);
            Write(terminal, "\n");
        }
    }
    close(terminal);
    if (!read) out.clear();
    return read;
}

int TerminalColumns() {
    for (const int descriptor : {STDERR_FILENO, STDOUT_FILENO, STDIN_FILENO}) {
        winsize size{};
        if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    }
    const char* const columns = std::getenv("COLUMNS");
    const long number = columns ? std::strtol(columns, nullptr, 10) : 0;
    return number > 0 && number <= 10000 ? static_cast<int>(number) : 80;
}

}  // namespace quillon
