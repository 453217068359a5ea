// What CJournal does with the groups that an earlier run left.

#include <span>
#include <utility>
#include <vector>

#include "storage/journal/Checksums.h"
#include "storage/journal/Journal.h"

namespace quillon {
namespace {

struct WholeGroup {
    size_t at = 0;  // in the journal
    size_t size = 0;
    std::span<const uint8_t> payload;
    uint32_t operations = 0;
};

// The group whose header stands at `at`, whatever its place in a chain.
bool DecodeWhole(std::span<const uint8_t> journal, size_t at, uint64_t salt,
                 JournalGroupHeader& header, WholeGroup& group) {
    if (!JournalGroupHeader::Decode(journal.subspan(at), salt, header)) return false;
    const auto rest = journal.subspan(at + JournalGroupHeader::kDiskSize);
    if (header.length > rest.size()) return false;
    const auto length = static_cast<size_t>(header.length);
    group = {at, JournalGroupHeader::kDiskSize + length, rest.first(length), header.operations};
    return JournalChecksum(salt, group.payload) == header.payloadChecksum;
}

// The groups from the start of the chain to its end. Whatever ends it must be a torn tail:
// `damaged` when a whole group lies there or behind it.
std::vector<WholeGroup> ReadChain(std::span<const uint8_t> journal, const JournalHeader& header,
                                  bool& damaged) {
    std::vector<WholeGroup> groups;
    const auto step = static_cast<size_t>(kJournalAlignment);
    size_t at = step;
    uint64_t sequence = 1;
    uint64_t previous = header.salt;
    JournalGroupHeader head;
    WholeGroup group;
    std::vector<JournalOperation> operations;
    while (at < journal.size() && DecodeWhole(journal, at, header.salt, head, group) &&
           head.sequence == sequence && head.previous == previous &&
           ParseJournalOperations(group.payload, group.operations, operations)) {
        groups.push_back(group);
        ++sequence;
        previous = head.checksum;
        at += static_cast<size_t>(AlignUp(static_cast<int64_t>(group.size), kJournalAlignment));
    }
    damaged = false;
    for (; at < journal.size() && !damaged; at += step) {
        damaged = DecodeWhole(journal, at, header.salt, head, group) && head.sequence >= sequence;
    }
    return groups;
}

}  // namespace

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
    const std::vector<WholeGroup> groups = ReadChain(bytes, header, damaged);
    if (groups.empty()) return true;
    const WholeGroup& last = groups.back();
    if (!SettleGroup(static_cast<int64_t>(last.at), std::span(bytes).subspan(last.at, last.size))) {
        return false;
    }
    std::vector<JournalOperation> operations;
    for (const WholeGroup& group : groups) {
        if (!ParseJournalOperations(group.payload, group.operations, operations)) return false;
        for (const JournalOperation& operation : operations) {
            if (!ReplayOperation(operation)) return false;
            m_checksums->Replay(operation);
        }
    }
    return true;
}

// The program before may have been killed between writing its last group and the sync, or the
// sync may have failed: then the group is read here, and the medium may not have it. Written
// anew, since a system need not try once more to write what it failed to.
bool CJournal::SettleGroup(int64_t offset, std::span<const uint8_t> bytes) {
    const std::unique_ptr<CFile> file = m_base.Open(m_folder + kJournalName, OpenMode::ReadWrite);
    return file && file->WriteAt(offset, bytes) && file->Sync();
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
        const std::string aside = m_folder + SetAsideJournalName(number);
        if (m_base.Exists(aside)) continue;
        if (!m_base.Rename(m_folder + kJournalName, aside)) return false;
        m_setAsidePath = aside;
        return m_base.SyncFolder(m_folder);
    }
    return false;
}

}  // namespace quillon
