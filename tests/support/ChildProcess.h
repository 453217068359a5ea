#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quillon {

// A program that runs beside a test, without terminal and input, and ends with the object.
class CChildProcess {
public:
    CChildProcess() = default;
    ~CChildProcess() { Stop(); }
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    // A Python program of the tests and its arguments, as paths of this machine; its
    // messages go to the file `messages`. False: it cannot be started.
    bool StartPython(const std::vector<std::string>& arguments, const std::string& messages);
    // It has ended, by itself or never started.
    bool HasEnded();
    void Stop();

private:
    intptr_t m_process = 0;  // identifier or handle; 0 for none
};

}  // namespace quillon
