#pragma once

#include <cstdint>
#include <string>

#include "cli/CommandLine.h"

namespace quillon {

// A bar on standard error while that is a terminal; nothing elsewhere. Its line is empty
// again when the object dies.
class CProgress {
public:
    CProgress(CommandLineHost& host, std::string label);
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    void Show(int64_t done, int64_t total);

private:
    CommandLineHost& m_host;
    std::string m_label;
    int64_t m_shownPercent = -1;
    size_t m_length = 0;  // of the line shown
};

}  // namespace quillon
