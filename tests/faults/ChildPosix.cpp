#include "ChildPosix.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

// Between fork and exec: only calls that are safe there.
[[noreturn]] void Become(const std::vector<char*>& words, const char* out, const char* err) {
    const int input = ::open("/dev/null", O_RDONLY);
    const int output = ::open(out, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    const int errors = ::open(err, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    ::dup2(input, 0);
    ::dup2(output, 1);
    ::dup2(errors, 2);
    ::execv(words[0], words.data());
    ::_exit(127);
}

}  // namespace

CChild::CChild(const std::string& program, const std::vector<std::string>& arguments,
               const std::string& folder)
    : m_folder(folder) {
    std::vector<std::string> all{program};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> words;
    words.reserve(all.size() + 1);
    for (std::string& word : all) words.push_back(word.data());
    words.push_back(nullptr);
    const std::string out = m_folder + "/out.txt";
    const std::string err = m_folder + "/err.txt";
    ::setenv("QUILLON_SETTINGS", (m_folder + "/Quillon.cfg").c_str(), 1);
    m_process = ::fork();
    if (m_process == 0) Become(words, out.c_str(), err.c_str());
}

CChild::~CChild() {
    if (m_waited || !Started()) return;
    Kill();
    (void)Wait();
}

void CChild::Kill() {
    if (Started() && !m_waited) ::kill(m_process, SIGKILL);
}

CChild::End CChild::Wait() {
    if (!Started()) return End::NotStarted;
    int status = 0;
    while (::waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
    }
    m_waited = true;
    if (!WIFEXITED(status)) return End::Killed;
    m_status = WEXITSTATUS(status);
    return m_status == 127 ? End::NotStarted : End::Exited;
}

std::string CChild::Errors() const {
    return TextOfFile(m_folder + "/err.txt");
}

void SleepMicroseconds(int64_t microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

}  // namespace quillon
