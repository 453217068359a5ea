#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace quillon {

// A program started with its output in files, for machines that kill it.
class CChild {
public:
    // `arguments` without the program's name; the environment is ours, with
    // QUILLON_SETTINGS naming `folder`/Quillon.cfg. Output goes to out.txt and err.txt in
    // `folder`.
    CChild(const std::string& program, const std::vector<std::string>& arguments,
           const std::string& folder);
    ~CChild();
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

    bool Started() const { return m_process > 0; }
    pid_t Process() const { return m_process; }
    void Kill();

    enum class End { Exited, Killed, NotStarted };
    // Waits for its end; `Status()` is its exit status then.
    End Wait();
    int Status() const { return m_status; }
    std::string Output() const;
    std::string Errors() const;

private:
    std::string m_folder;
    pid_t m_process = -1;
    bool m_waited = false;
    int m_status = -1;
};

void SleepMicroseconds(int64_t microseconds);

}  // namespace quillon
