// Journals as stops and damage may leave them, replayed into a folder in memory and held
// against a second reader of the format, written from docs/file-formats.md. Checksums
// are made right, since no mutation would; flags of each group break them again.
//
// Input: one byte of flags, one for the call that fails during an interrupted replay,
// then groups: flags, number of operations, the operations. With kRaw set the bytes after
// the two are Journal.dat itself.

#include <algorithm>
#include <optional>
#include <set>

#include "Fuzz.h"
#include "foundation/ByteCodec.h"
#include "foundation/TextHash.h"
#include "storage/journal/Journal.h"
#include "support/MemoryFileSystem.h"

namespace quillon::fuzz {
namespace {

constexpr const char* kFolder = "db/";
constexpr const char* kPath = "db/Journal.dat";
constexpr uint64_t kDatabase = 7;
constexpr uint64_t kSalt = 0x0102'0304'0506'0708;
constexpr int64_t kLargestFile = int64_t{1} << 21;
using FileMap = std::map<std::string, Bytes>;

// What the journal's owner writes for itself.
bool IsOwn(const std::string& name) {
    return name.starts_with("Journal.") || name.starts_with("Checksums.");
}

enum Flags : uint8_t { kRaw = 1, kForeign = 2, kBrokenHeader = 4, kNewer = 8, kCut = 16 };
enum GroupFlags : uint8_t {
    kBadPayload = 1,
    kBadChecksum = 2,
    kSkipSequence = 4,
    kBadPrevious = 8,
    kWrongCount = 16,
    kSameSequence = 32,
};

std::string NameAt(CInput& input) {
    constexpr const char* kNames[] = {"Table_1.dat", "Table_1_data.dat", "a",
                                      "Table_1_data.dat_tmp"};
    const uint8_t choice = input.Byte();
    if (choice < 0xF0) return kNames[choice % 4];
    return input.TextZ();
}

Bytes Operation(CInput& input) {
    const uint8_t type = input.Byte();
    const std::string name = NameAt(input);
    const int64_t offset = input.Number();
    Bytes data;
    if (type % 8 == 5) {
        data = Text(NameAt(input));
    } else if (type % 8 == 3) {
        data = CopyOf(input.Take(input.Byte()));
    }
    return Join({static_cast<uint8_t>(type % 8)}, Le16(static_cast<int>(name.size() & 0xFFFF)),
                Le64(offset), Le64(static_cast<int64_t>(data.size())), Text(name), data);
}

// Groups as a writer makes them, with what the flags break.
Bytes Groups(CInput& input) {
    Bytes journal;
    uint64_t sequence = 1;
    uint64_t previous = kSalt;
    for (int group = 0; group < 8 && !input.IsEmpty(); ++group) {
        const uint8_t flags = input.Byte();
        const int count = input.Byte() % 16;
        Bytes payload;
        for (int i = 0; i < count; ++i) payload = Join(payload, Operation(input));
        const uint64_t own = sequence + ((flags & kSkipSequence) != 0 ? 1 : 0) -
                             ((flags & kSameSequence) != 0 ? 1 : 0);
        Bytes head =
            Join(Text("QGRP"), Le32(count + ((flags & kWrongCount) != 0 ? 1 : 0)),
                 LittleEndian(own, 8), LittleEndian(payload.size(), 8),
                 LittleEndian(previous ^ ((flags & kBadPrevious) != 0 ? 1U : 0U), 8),
                 LittleEndian(
                     JournalChecksum(kSalt, payload) ^ ((flags & kBadPayload) != 0 ? 1U : 0U), 8));
        const uint64_t checksum = JournalChecksum(kSalt, head);
        head = Join(head, LittleEndian(checksum ^ ((flags & kBadChecksum) != 0 ? 1U : 0U), 8));
        journal = Join(journal, head, payload);
        journal.resize((journal.size() + 4095) / 4096 * 4096);
        previous = checksum;
        sequence = own + 1;
    }
    return journal;
}

Bytes Journal(CInput input, uint8_t flags) {
    if ((flags & kRaw) != 0) return CopyOf(input.Rest());
    Bytes header = Join(Signature("Journal"), Le32((flags & kNewer) != 0 ? 2 : 1),
                        LittleEndian(kDatabase + ((flags & kForeign) != 0 ? 1 : 0), 8),
                        LittleEndian(kSalt, 8));
    header =
        Join(header, LittleEndian(Crc64(header) ^ ((flags & kBrokenHeader) != 0 ? 1U : 0U), 8));
    header.resize(4096);
    const size_t cut = (flags & kCut) != 0 ? input.Word() : 0;
    Bytes journal = Join(header, Groups(input));
    journal.resize(journal.size() - std::min(cut, journal.size()));
    return journal;
}

// --- the second reader

struct Outcome {
    CJournal::AttachResult result = CJournal::AttachResult::Ok;
    FileMap files;  // without the journal
    // Replaying it again, whole or in part, must give the same.
    bool repeatable = true;
    bool modelled = true;  // false: names or sizes that this reader does not follow
};

class CReader {
public:
    CReader(const Bytes& journal, FileMap files) : m_journal(journal), m_files(std::move(files)) {}

    Outcome Run() {
        const std::span<const uint8_t> all(m_journal);
        Outcome outcome;
        outcome.files = m_files;
        if (all.size() < 78 || !HasSignature(all, "Journal") ||
            LoadLE<uint64_t>(all, 70) != Crc64(all.first(70))) {
            outcome.result = CJournal::AttachResult::Damaged;
            return outcome;
        }
        if (LoadLE<int32_t>(all, 50) != 1) {
            outcome.result = CJournal::AttachResult::NewerVersion;
            return outcome;
        }
        if (LoadLE<uint64_t>(all, 54) != kDatabase) {
            outcome.result = CJournal::AttachResult::Damaged;
            return outcome;
        }
        m_salt = LoadLE<uint64_t>(all, 62);
        ApplyAll(outcome);
        outcome.files = m_files;
        return outcome;
    }

private:
    struct Group {
        uint64_t sequence = 0;
        uint64_t previous = 0;
        uint64_t checksum = 0;
        std::span<const uint8_t> payload;
        uint32_t count = 0;
    };

    // A group whose two checksums fit.
    std::optional<Group> GroupAt(size_t at) const {
        const std::span<const uint8_t> all(m_journal);
        if (at > all.size() || all.size() - at < 48) return std::nullopt;
        const auto head = all.subspan(at, 48);
        if (ToString(CopyOf(head.first(4))) != "QGRP") return std::nullopt;
        const auto length = LoadLE<uint64_t>(head, 16);
        if (LoadLE<uint64_t>(head, 40) != JournalChecksum(m_salt, head.first(40))) {
            return std::nullopt;
        }
        if (length > all.size() - at - 48) return std::nullopt;
        Group group{LoadLE<uint64_t>(head, 8), LoadLE<uint64_t>(head, 24),
                    LoadLE<uint64_t>(head, 40), all.subspan(at + 48, static_cast<size_t>(length)),
                    LoadLE<uint32_t>(head, 4)};
        if (LoadLE<uint64_t>(head, 32) != JournalChecksum(m_salt, group.payload)) {
            return std::nullopt;
        }
        return group;
    }

    void ApplyAll(Outcome& outcome) {
        size_t at = 4096;
        uint64_t sequence = 1;
        uint64_t previous = m_salt;
        std::vector<JournalOperation> operations;
        for (;;) {
            const std::optional<Group> group = GroupAt(at);
            if (!group || group->sequence != sequence || group->previous != previous ||
                !ParseJournalOperations(group->payload, group->count, operations)) {
                break;
            }
            if (!ApplyGroup(operations, sequence, outcome)) {
                outcome.result = CJournal::AttachResult::Failed;
                return;
            }
            ++sequence;
            previous = group->checksum;
            at += (48 + group->payload.size() + 4095) / 4096 * 4096;
        }
        for (; at < m_journal.size(); at += 4096) {
            const std::optional<Group> group = GroupAt(at);
            if (group && group->sequence >= sequence) {
                outcome.result = CJournal::AttachResult::Damaged;
            }
        }
    }

    bool ApplyGroup(const std::vector<JournalOperation>& operations, uint64_t sequence,
                    Outcome& outcome) {
        for (const JournalOperation& operation : operations) {
            const std::string name(operation.name);
            const std::string target = ToString(CopyOf(operation.data));
            if (IsOwn(name) || (operation.type == JournalOperationType::Rename && IsOwn(target))) {
                outcome.modelled = false;
            }
            if (operation.type == JournalOperationType::Rename) {
                // The writer puts it first in a group of its own, and leaves both names alone.
                const bool alone = sequence == 1 && &operation == operations.data();
                const bool untouched = std::ranges::none_of(
                    std::span(operations).subspan(1), [&](const JournalOperation& other) {
                        return other.type != JournalOperationType::PageSums &&
                               (other.type == JournalOperationType::Rename || other.name == name ||
                                other.name == target);
                    });
                m_renamed = true;
                if (!alone || !untouched || name == target) outcome.repeatable = false;
            }
            if (!ApplyOperation(operation, name, target)) return false;
        }
        if (m_renamed && sequence > 1) outcome.repeatable = false;
        return true;
    }

    bool ApplyOperation(const JournalOperation& operation, const std::string& name,
                        const std::string& target) {
        const auto offset = static_cast<size_t>(operation.offset);
        switch (operation.type) {
            case JournalOperationType::Create:
                m_files[name].clear();
                return true;
            case JournalOperationType::SetSize:
                if (!Fits(operation.offset, 0, name)) return false;
                m_files[name].resize(offset);
                return true;
            case JournalOperationType::Write: {
                if (!Fits(operation.offset, operation.data.size(), name)) return false;
                Bytes& file = m_files[name];
                if (operation.data.empty()) return true;
                file.resize(std::max(file.size(), offset + operation.data.size()));
                std::ranges::copy(operation.data,
                                  file.begin() + static_cast<std::ptrdiff_t>(offset));
                return true;
            }
            case JournalOperationType::Remove:
                m_files.erase(name);
                return true;
            case JournalOperationType::PageSums:
                return true;
            case JournalOperationType::Rename:
                break;
        }
        if (!m_files.contains(name)) return m_files.contains(target);
        if (name == target) return true;
        m_files[target] = std::move(m_files[name]);
        m_files.erase(name);
        return true;
    }

    // False: the disk is too small. The file is made before that is found out.
    bool Fits(int64_t offset, size_t size, const std::string& name) {
        m_files.try_emplace(name);
        return offset <= kLargestFile - static_cast<int64_t>(size);
    }

    const Bytes& m_journal;
    FileMap m_files;
    uint64_t m_salt = 0;
    bool m_renamed = false;
};

// --- the program's reader

FileMap FilesOf(const CMemoryFileSystem& files, Bytes* setAside = nullptr) {
    FileMap found;
    for (auto& [path, bytes] : files.Snapshot()) {
        const std::string name = FileNameOf(path);
        FUZZ_CHECK(path == kFolder + name, "replay stays in the folder");
        if (setAside && name == "Journal.damaged.1") *setAside = bytes;
        if (!IsOwn(name)) found[name] = bytes;
    }
    return found;
}

void Fill(CMemoryFileSystem& files, const FileMap& contents, const Bytes& journal) {
    std::map<std::string, Bytes> disk;
    for (const auto& [name, bytes] : contents) disk[kFolder + name] = bytes;
    disk[kPath] = journal;
    files.Restore(disk);
    files.SetLargestFile(kLargestFile);
}

CJournal::AttachResult Replay(CMemoryFileSystem& files) {
    CJournal journal(files);
    const CJournal::AttachResult result = journal.Attach(kFolder, kDatabase);
    if (result == CJournal::AttachResult::Ok) {
        FUZZ_CHECK(journal.Detach(), "a fresh journal empties");
        FUZZ_CHECK(files.Bytes(kPath).size() == JournalHeader::kDiskSize, "and is short then");
    }
    return result;
}

void Check(CInput input) {
    const uint8_t flags = input.Byte();
    const int64_t failing = 1 + input.Byte() % 32;
    const Bytes journal = Journal(input, flags);
    const FileMap before = {{"Table_1.dat", Text("definition")},
                            {"Table_1_data.dat", Bytes(300, 'd')},
                            {"Table_1_data.dat_tmp", Bytes(200, 't')}};
    const Outcome expected = CReader(journal, before).Run();
    if (!expected.modelled) {
        // A journal that names itself: nothing but survival and staying in the folder.
        CMemoryFileSystem files;
        Fill(files, before, journal);
        CJournal reader(files);
        (void)reader.Attach(kFolder, kDatabase);
        (void)FilesOf(files);
        return;
    }

    CMemoryFileSystem files;
    Fill(files, before, journal);
    const CJournal::AttachResult result = Replay(files);
    Bytes setAside;
    const FileMap after = FilesOf(files, &setAside);
    FUZZ_CHECK(result == expected.result, "both readers judge alike");
    FUZZ_CHECK(after == expected.files, "both readers bring in the same");
    if (result == CJournal::AttachResult::Damaged) {
        FUZZ_CHECK(setAside == journal, "a damaged journal is kept as it was");
    } else if (result != CJournal::AttachResult::Ok) {
        FUZZ_CHECK(files.Bytes(kPath) == journal, "a journal not brought in stays");
        return;
    }
    if (!expected.repeatable) return;

    CMemoryFileSystem again;
    Fill(again, after, journal);
    FUZZ_CHECK(Replay(again) == result && FilesOf(again) == after, "twice gives the same as once");

    CMemoryFileSystem stopped;
    Fill(stopped, before, journal);
    stopped.FailNth(CMemoryFileSystem::Call::AnyChangeOrSync, failing, FileError::Other,
                    CMemoryFileSystem::Times::ForEver);
    {
        CJournal reader(stopped);
        (void)reader.Attach(kFolder, kDatabase);
    }
    stopped.StopFailing();
    (void)Replay(stopped);
    FUZZ_CHECK(FilesOf(stopped) == after, "a stopped replay can be finished");
}

}  // namespace
}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Check)
