#include "cli/terminal/Progress.h"

#include <algorithm>
#include <utility>

namespace quillon {

namespace {
constexpr int64_t kBarWidth = 30;
}

CProgress::CProgress(CommandLineHost& host, std::string label)
    : m_host(host), m_label(std::move(label)) {}

CProgress::~CProgress() {
    if (m_length == 0) return;
    m_host.err << '\r' << std::string(m_length, ' ') << '\r';
    m_host.err.flush();
}

void CProgress::Show(int64_t done, int64_t total) {
    if (!m_host.errIsTerminal || total <= 0) return;
    const double share = static_cast<double>(done) / static_cast<double>(total);
    const int64_t percent = std::clamp<int64_t>(static_cast<int64_t>(share * 100), 0, 100);
    if (percent == m_shownPercent) return;
    m_shownPercent = percent;
    const auto filled = static_cast<size_t>(percent * kBarWidth / 100);
    std::string line = m_label + " [" + std::string(filled, '#') +
                       std::string(static_cast<size_t>(kBarWidth) - filled, '.') + "] " +
                       std::to_string(percent) + "%";
    m_host.err << '\r' << line;
    m_host.err.flush();
    m_length = std::max(m_length, line.size());
}

}  // namespace quillon
