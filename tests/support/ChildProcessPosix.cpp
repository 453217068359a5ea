#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/ChildProcess.h"

namespace quillon {

bool CChildProcess::StartPython(const std::vector<std::string>& arguments,
                                const std::string& messages) {
    std::vector<char*> words = {const_cast<char*>("python3"), const_cast<char*>("-B")};
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    for (const int descriptor : {1, 2}) {
        ::posix_spawn_file_actions_addopen(&actions, descriptor, messages.c_str(),
                                           O_WRONLY | O_CREAT | O_APPEND, 0600);
    }
    pid_t process = 0;
    const int error =
        ::posix_spawnp(&process, words[0], &actions, nullptr, words.data(), ::environ);
    ::posix_spawn_file_actions_destroy(&actions);
    m_process = error == 0 ? process : 0;
    return error == 0;
}

bool CChildProcess::HasEnded() {
    if (m_process == 0) return true;
    if (::waitpid(static_cast<pid_t>(m_process), nullptr, WNOHANG) == 0) return false;
    m_process = 0;
    return true;
}

void CChildProcess::Stop() {
    if (HasEnded()) return;
    ::kill(static_cast<pid_t>(m_process), SIGKILL);
    ::waitpid(static_cast<pid_t>(m_process), nullptr, 0);
    m_process = 0;
}

}  // namespace quillon
