#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"
#include "settings/SettingsFile.h"

namespace quillon {

// Which backups were proved, as the settings remember them, so that old ones can go: only what
// this program wrote, proved and finds unchanged is ever removed.
//
//   Ledger     By the identifier of its database (CDatabaseManager's journal): ledgers that are
//              backed up to one folder do not touch each other's.
//   Errors     A file that cannot be removed stays and is tried again the next time. Settings
//              that cannot be written forget, which removes nothing. std::bad_alloc.
//   Ownership  Borrows both, which must outlive it.
//   Threads    One.
class CBackupRotation {
public:
    CBackupRotation(const CSettingsFile& settings, CFileSystem& files)
        : m_settings(settings), m_files(files) {}

    // `path` was proved just now and is the newest; absolute.
    void Add(uint64_t ledger, const std::string& path, uint64_t container);
    // Removes the oldest of the ledger's in `folder`, but for the newest `keep`, at least one.
    // Returns what is gone.
    std::vector<std::string> Remove(uint64_t ledger, const std::string& folder, int64_t keep);

private:
    struct Proved {
        uint64_t ledger = 0;
        uint64_t container = 0;
        std::string path;
    };
    std::vector<Proved> Read() const;
    void Write(const std::vector<Proved>& backups) const;

    const CSettingsFile& m_settings;
    CFileSystem& m_files;
};

}  // namespace quillon
