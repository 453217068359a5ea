#pragma once

#include <sys/types.h>
#include <unistd.h>

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

class CPipe {
public:
    CPipe() { m_made = ::pipe(m_ends) == 0; }
    ~CPipe() {
        CloseWriting();
        if (m_made) ::close(m_ends[0]);
    }
    CPipe(const CPipe&) = delete;
    CPipe& operator=(const CPipe&) = delete;
    int Reading() const { return m_ends[0]; }
    int Writing() const { return m_ends[1]; }
    void CloseWriting() {
        if (m_made && !m_closed) ::close(m_ends[1]);
        m_closed = true;
    }

private:
    int m_ends[2] = {-1, -1};
    bool m_made = false;
    bool m_closed = false;
};

void SleepMicroseconds(int64_t microseconds);

}  // namespace quillon
