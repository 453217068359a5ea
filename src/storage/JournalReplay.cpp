// What CJournal does with the groups that an earlier run left.

#include <utility>

#include "storage/Checksums.h"
#include "storage/Journal.h"

namespace quillon {

CJournal::AttachResult CJournal::ReplayExisting(uint64_t databaseId) {
    const std::string path = m_folder + kJournalName;
    std::vector<uint8_t> bytes;
    if (!ReadWholeFile(m_base, path, bytes)) return AttachResult::Failed;

    JournalHeader header;
    switch (JournalHeader::Decode(bytes, header)) {
        case JournalHeader::DecodeResult::NewerVersion:
            return AttachResult::NewerVersion;
        case JournalHeader::DecodeResult::Broken:
            return SetAside() ? AttachResult::Damaged : AttachResult::Failed;
        case JournalHeader::DecodeResult::Ok:
            break;
    }
    m_header = header;
    if (databaseId != 0 && header.databaseId != databaseId) {
        // Another folder's journal; its groups mean nothing here.
        return SetAside() ? AttachResult::Damaged : AttachResult::Failed;
    }
    bool damaged = false;
    if (!Replay(bytes, header, damaged) || !SyncReplayed()) return AttachResult::Failed;
    if (!damaged) return AttachResult::Ok;
    // What was brought in is in the files now; the groups behind are lost to them.
    return m_checksums->Save(header.databaseId) && SetAside() ? AttachResult::Damaged
                                                              : AttachResult::Failed;
}

bool CJournal::Replay(const std::vector<uint8_t>& bytes, const JournalHeader& header,
                      bool& damaged) {
    const std::span<const uint8_t> all(bytes);
    auto at = static_cast<size_t>(kJournalAlignment);
    uint64_t sequence = 1;
    uint64_t previous = header.salt;
    std::vector<JournalOperation> operations;
    JournalGroupHeader group;
    while (at < all.size() && JournalGroupHeader::Decode(all.subspan(at), header.salt, group)) {
        const auto rest = all.subspan(at + JournalGroupHeader::kDiskSize);
        if (group.sequence != sequence || group.previous != previous ||
            group.length > rest.size()) {
            break;
        }
        const auto payload = rest.first(static_cast<size_t>(group.length));
        if (JournalChecksum(header.salt, payload) != group.payloadChecksum ||
            !ParseJournalOperations(payload, group.operations, operations)) {
            break;
        }
        for (const JournalOperation& operation : operations) {
            if (!ReplayOperation(operation)) return false;
            m_checksums->Replay(operation);
        }
        ++sequence;
        previous = group.checksum;
        at += static_cast<size_t>(AlignUp(
            static_cast<int64_t>(JournalGroupHeader::kDiskSize + group.length), kJournalAlignment));
    }
    // Whatever ends the chain must be a torn tail: no whole group may lie there or behind it.
    damaged = false;
    for (; at < all.size(); at += static_cast<size_t>(kJournalAlignment)) {
        if (!JournalGroupHeader::Decode(all.subspan(at), header.salt, group)) continue;
        if (group.sequence < sequence) continue;  // of before the break
        const auto rest = all.subspan(at + JournalGroupHeader::kDiskSize);
        if (group.length <= rest.size() &&
            JournalChecksum(header.salt, rest.first(static_cast<size_t>(group.length))) ==
                group.payloadChecksum) {
            damaged = true;
            break;
        }
    }
    return true;
}

bool CJournal::ReplayOperation(const JournalOperation& operation) {
    const std::string path = m_folder + std::string(operation.name);
    if (operation.type == JournalOperationType::PageSums) return true;
    if (operation.type == JournalOperationType::Remove) {
        m_dirty.erase(path);
        m_namesDirty = true;
        return !m_base.Exists(path) || m_base.Remove(path);
    }
    if (operation.type == JournalOperationType::Rename) {
        const std::string target =
            m_folder + std::string(reinterpret_cast<const char*>(operation.data.data()),
                                   operation.data.size());
        m_namesDirty = true;
        if (m_dirty.erase(path) > 0) m_dirty.insert(target);  // to be synced under its new name
        // When the source is gone the rename was done before.
        return m_base.Exists(path) ? m_base.Rename(path, target) : m_base.Exists(target);
    }
    const bool create = operation.type == JournalOperationType::Create || !m_base.Exists(path);
    if (create) m_namesDirty = true;
    const std::unique_ptr<CFile> file =
        m_base.Open(path, create ? OpenMode::Create : OpenMode::ReadWrite);
    if (!file) return false;
    m_dirty.insert(path);
    switch (operation.type) {
        case JournalOperationType::SetSize:
            return file->SetSize(operation.offset);
        case JournalOperationType::Write:
            return file->WriteAt(operation.offset, operation.data);
        default:
            return true;
    }
}

bool CJournal::SyncReplayed() {
    for (const std::string& path : std::exchange(m_dirty, {})) {
        const std::unique_ptr<CFile> file = m_base.Open(path, OpenMode::ReadWrite);
        if (!file || !file->Sync()) return false;
    }
    return !std::exchange(m_namesDirty, false) || m_base.SyncFolder(m_folder);
}

bool CJournal::SetAside() {
    for (int number = 1; number < 1000; ++number) {
        const std::string aside = m_folder + "Journal.damaged." + std::to_string(number);
        if (m_base.Exists(aside)) continue;
        if (!m_base.Rename(m_folder + kJournalName, aside)) return false;
        m_setAsidePath = aside;
        return m_base.SyncFolder(m_folder);
    }
    return false;
}

}  // namespace quillon
