#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "cli/CommandContext.h"
#include "cli/terminal/Progress.h"
#include "storage/backup/BackupOptions.h"

namespace quillon {

// The bar of a backup or a restore, whose parts follow each other, each from nothing to all of
// it. Must outlive the work that has its options.
class CBackupProgress {
public:
    CBackupProgress(CCommandContext& context, std::vector<const char*> labels)
        : m_host(context.Host()), m_labels(std::move(labels)) {}

    BackupOptions Options() {
        BackupOptions options;
        options.keyCost = m_host.keyCost;
        options.progress = [this](int64_t done, int64_t total) { Show(done, total); };
        return options;
    }

private:
    void Show(int64_t done, int64_t total) {
        if (done < m_done && m_part + 1 < m_labels.size()) ++m_part;
        if (done < m_done || !m_bar) m_bar.emplace(m_host, m_labels[m_part]);
        m_done = done;
        m_bar->Show(done, total);
    }

    CommandLineHost& m_host;
    std::vector<const char*> m_labels;
    size_t m_part = 0;
    int64_t m_done = 0;
    std::optional<CProgress> m_bar;
};

}  // namespace quillon
