#pragma once

#include <exception>
#include <string>
#include <utility>

#include "cli/CommandLine.h"
#include "wording/Words.h"

namespace quillon {

// Ends a command: the line that standard error gets and the exit status. Thrown by
// commands and caught by RunCommandLine, nowhere else; the floors below throw nothing.
class CFailure : public std::exception {
public:
    explicit CFailure(std::string message, ExitStatus status = ExitStatus::Failed)
        : m_message(std::move(message)), m_status(status) {}

    // What was wrong and what to do.
    const char* what() const noexcept override { return m_message.c_str(); }
    ExitStatus Status() const { return m_status; }

private:
    std::string m_message;
    ExitStatus m_status;
};

}  // namespace quillon
