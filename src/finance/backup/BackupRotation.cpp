#include "finance/backup/BackupRotation.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "settings/SettingsNames.h"
#include "storage/backup/BackupRestore.h"

namespace quillon {

namespace {

constexpr size_t kDigits = 16;  // of an identifier

std::string HexOf(uint64_t number) {
    char digits[kDigits];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number, 16).ptr;
    const std::string text(std::begin(digits), end);
    return std::string(kDigits - text.size(), '0') + text;
}

bool ReadHex(std::string_view text, uint64_t& number) {
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number, 16);
    return read.ec == std::errc() && read.ptr == text.data() + text.size();
}

}  // namespace

// "LEDGER CONTAINER PATH" under "1" and upwards.
std::vector<CBackupRotation::Proved> CBackupRotation::Read() const {
    std::vector<Proved> backups;
    for (int64_t place = 1;; ++place) {
        std::string value;
        const std::string key = std::to_string(place);
        if (!m_settings.ReadString(settings::kProvedBackups, key, value)) return backups;
        Proved proved;
        const bool isWhole =
            value.size() > 2 * kDigits + 2 && value[kDigits] == ' ' &&
            value[2 * kDigits + 1] == ' ' &&
            ReadHex(std::string_view(value).substr(0, kDigits), proved.ledger) &&
            ReadHex(std::string_view(value).substr(kDigits + 1, kDigits), proved.container);
        if (!isWhole) continue;
        proved.path = value.substr(2 * kDigits + 2);
        // Gone, or another file by now, where its medium is there at all.
        if (!m_files.FolderExists(ParentFolder(proved.path)) ||
            ReadBackupIdentifier(m_files, proved.path) == proved.container) {
            backups.push_back(std::move(proved));
        }
    }
}

void CBackupRotation::Write(const std::vector<Proved>& backups) const {
    int64_t place = 0;
    std::string value;
    for (const Proved& proved : backups) {
        const std::string key = std::to_string(++place);
        const std::string wanted =
            HexOf(proved.ledger) + ' ' + HexOf(proved.container) + ' ' + proved.path;
        // Each write is one of the whole file; most entries stay as they are.
        const bool isThere = m_settings.ReadString(settings::kProvedBackups, key, value);
        if (isThere && value == wanted) continue;
        m_settings.WriteString(settings::kProvedBackups, key, wanted);
    }
    for (std::string key = std::to_string(++place);
         m_settings.ReadString(settings::kProvedBackups, key, value);
         key = std::to_string(++place)) {
        m_settings.WriteString(settings::kProvedBackups, key, {});
    }
}

void CBackupRotation::Add(uint64_t ledger, const std::string& path, uint64_t container) {
    std::vector<Proved> backups = Read();
    std::erase_if(backups, [&](const Proved& proved) { return proved.path == path; });
    backups.push_back({ledger, container, path});
    Write(backups);
}

std::vector<std::string> CBackupRotation::Remove(uint64_t ledger, const std::string& folder,
                                                 int64_t keep) {
    std::vector<Proved> backups = Read();
    const auto isOurs = [&](const Proved& proved) {
        return proved.ledger == ledger && IsSameFolder(FolderOf(proved.path), folder);
    };
    int64_t left = std::count_if(backups.begin(), backups.end(), isOurs);
    std::vector<std::string> removed;
    for (const Proved& proved : backups) {
        if (!isOurs(proved) || left <= std::max<int64_t>(keep, 1)) continue;
        --left;
        if (m_files.Remove(proved.path)) removed.push_back(proved.path);
    }
    if (!removed.empty()) Write(Read());
    return removed;
}

}  // namespace quillon
