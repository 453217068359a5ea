#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "foundation/platform/Console.h"
#include "foundation/platform/Folders.h"

namespace quillon {
namespace {

// Sets a variable for the life of the object.
class CVariable {
public:
    CVariable(const char* name, const char* value) : m_name(name) {
        if (const char* old = std::getenv(name)) m_old = old;
        Put(value ? std::optional<std::string>(value) : std::nullopt);
    }
    ~CVariable() { Put(m_old); }

private:
    void Put(const std::optional<std::string>& value) {
        if (value) {
            setenv(m_name, value->c_str(), 1);
        } else {
            unsetenv(m_name);
        }
    }

    const char* m_name;
    std::optional<std::string> m_old;
};

TEST(FoldersPosix, FollowTheEnvironment) {
    const struct {
        const char* config;
        const char* home;
        const char* folder;
    } rows[] = {
        {"/etc/conf/", "/home/jürgen", "/etc/conf"},
        {nullptr, "/home/jürgen/", "/home/jürgen/.config"},
        {"", "/home/a", "/home/a/.config"},
        {"relative", "/home/a", "/home/a/.config"},
        {nullptr, "/", "/.config"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.folder);
        const CVariable config("XDG_CONFIG_HOME", row.config);
        const CVariable home("HOME", row.home);
        EXPECT_EQ(RoamingDataFolder(), row.folder);
    }
    {
        const CVariable temporary("TMPDIR", "/var/tmp/");
        EXPECT_EQ(TemporaryFolder(), "/var/tmp");
    }
    const CVariable temporary("TMPDIR", nullptr);
    EXPECT_EQ(TemporaryFolder(), "/tmp");
}

// A child that asks for a password on a terminal of its own, and lives until it is let go:
// what a terminal has shown may be gone as soon as nobody holds its other end.
class CAskingChild {
public:
    CAskingChild() {
        if (pipe(m_leash) != 0) return;
        m_child = forkpty(&m_terminal, nullptr, nullptr, nullptr);
        if (m_child != 0) return;
        close(m_leash[1]);
        std::signal(SIGINT, SIG_DFL);  // a test run in the background ignores it
        std::string password;
        const bool read = ReadPassword("Password: ", password);
        termios settings{};
        tcgetattr(STDIN_FILENO, &settings);
        const bool echoes = (settings.c_lflag & ECHO) != 0;
        char none = 0;
        while (::read(m_leash[0], &none, 1) > 0) {
        }
        _exit((read && password == "gehéim 1" ? 1 : 0) + (echoes ? 2 : 0) +
              (!read && password.empty() ? 4 : 0));
    }
    ~CAskingChild() {
        for (const int end : {m_terminal, m_leash[0], m_leash[1]}) {
            if (end >= 0) close(end);
        }
    }
    CAskingChild(const CAskingChild&) = delete;
    CAskingChild& operator=(const CAskingChild&) = delete;

    // False, and errno tells why: the machine has no pseudo-terminal.
    bool IsRunning() const { return m_child > 0; }
    // Reads what the terminal shows until it shows `wanted` or nothing more.
    std::string ReadUntil(const std::string& wanted) {
        std::string shown;
        char buffer[256];
        while (shown.find(wanted) == std::string::npos) {
            const ssize_t got = read(m_terminal, buffer, sizeof buffer);
            if (got <= 0) break;
            shown.append(buffer, static_cast<size_t>(got));
        }
        return shown;
    }
    bool Type(const char* text) {
        return write(m_terminal, text, std::strlen(text)) ==
               static_cast<ssize_t>(std::strlen(text));
    }
    int LetGo() {
        close(std::exchange(m_leash[1], -1));
        int status = 0;
        waitpid(m_child, &status, 0);
        return status;
    }

private:
    int m_terminal = -1;
    int m_leash[2] = {-1, -1};  // the child reads it until the other end is closed
    pid_t m_child = -1;
};

TEST(ConsolePosix, PasswordIsReadUnseenAndTheEchoComesBack) {
    const struct {
        const char* name;
        const char* typed;
        const char* shown;
        int signal;  // that ends the child, or 0
        int status;
    } rows[] = {
        {"typed", "gehéim 1\n", "\r\n", 0, 1 + 2},
        {"broken off", "half\x03", nullptr, SIGINT, 0},
        {"end of input", "\x04", nullptr, 0, 4 + 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CAskingChild child;
        if (!child.IsRunning()) GTEST_SKIP() << "no pseudo-terminal: " << std::strerror(errno);
        EXPECT_EQ(child.ReadUntil("Password: "), "Password: ");
        ASSERT_TRUE(child.Type(row.typed));
        if (row.shown) {
            EXPECT_EQ(child.ReadUntil("\n"), row.shown);
        }
        const int status = child.LetGo();
        ASSERT_EQ(WIFSIGNALED(status), row.signal != 0);
        EXPECT_EQ(row.signal != 0 ? WTERMSIG(status) : WEXITSTATUS(status),
                  row.signal != 0 ? row.signal : row.status);
    }
}

}  // namespace
}  // namespace quillon
