// Containers damaged in every way, and restores stopped at every call. A damaged container
// is refused before anything is written; a stopped restore leaves the old database or the
// new one, whole.

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <set>
#include <stdexcept>

#include "Faults.h"
#include "FaultsDatabase.h"
#include "StoreContent.h"
#include "foundation/ByteCodec.h"
#include "storage/BackupFixture.h"
#include "storage/database/DatabaseManager.h"
#include "support/EachFailure.h"

namespace quillon {
namespace {

using Call = CMemoryFileSystem::Call;
using Times = CMemoryFileSystem::Times;

constexpr const char* kContainer = "b.backup";

// A key that costs next to nothing.
BackupOptions QuickOptions(size_t chunkSize) {
    BackupOptions options;
    options.keyCost = {.memoryKiB = 8, .passes = 1};
    options.chunkSize = chunkSize;
    return options;
}

// Header, directory and chunks of a sound container.
using Stretch = ChunkPlace;
struct Parts {
    Stretch header;
    Stretch directory;
    std::vector<Stretch> chunks;
};

Parts PartsOfContainer(const Bytes& container) {
    constexpr size_t kHeader = BackupHeader::kDiskSize;
    return {{0, kHeader},
            {kHeader, static_cast<size_t>(LoadLE<int64_t>(container, 62))},
            ChunksOf(container)};
}

Bytes With(const Bytes& container, const Stretch& place, const Bytes& other) {
    return Join(Prefix(container, place.offset), other,
                Slice(container, place.offset + place.size));
}

Bytes Of(const Bytes& container, const Stretch& place) {
    return Slice(container, place.offset, place.size);
}

// What a restore may say of a container that it refuses.
bool IsContainerFault(RestoreCode code) {
    using enum RestoreCode;
    return code == NotABackup || code == NewerVersion || code == WrongPassword || code == Damaged ||
           code == Truncated;
}

// The databases and their containers that everything is tried with.
struct Material {
    FaultsSample old;
    FaultsSample fresh;
    Bytes guarded;  // of `fresh`, with a password
    Bytes open;     // without one
    Bytes sibling;  // of `fresh` with a change, with the same password
    BackupOptions options;
};

Bytes ContainerOf(CMemoryFileSystem& files, CDatabaseManager& database, const std::string& hash,
                  const BackupOptions& options) {
    BackupReport report;
    if (database.Backup(kContainer, hash, report, options) != BackupCode::Done) {
        throw std::runtime_error("no backup could be made: " + report.detail.name);
    }
    return files.Bytes(kContainer);
}

Material MakeMaterial(const std::string& kind, size_t chunkSize) {
    Material material;
    material.options = QuickOptions(chunkSize);
    for (FaultsSample& sample : AllSamples()) {
        const bool isOld = sample.name == (kind == "store" ? "ledger" : "store");
        if (isOld || sample.name == kind)
            (isOld ? material.old : material.fresh) = std::move(sample);
    }
    CMemoryFileSystem files;
    files.Restore(material.fresh.disk);
    CDatabaseManager database(files);
    if (!database.Open(kLedgerFolder)) throw std::runtime_error("a sample does not open");
    material.guarded = ContainerOf(files, database, kHash, material.options);
    material.open = ContainerOf(files, database, {}, material.options);
    const std::string table = kind == "store" ? "Items" : "Payee";
    if (!database.BeginRow(table) || database.CommitRow() < 0) {
        throw std::runtime_error("a sample cannot be changed");
    }
    material.sibling = ContainerOf(files, database, kHash, material.options);
    return material;
}

// --- damaged containers

class CRefusals {
public:
    CRefusals(const FaultsOptions& options, CFaultsReport& report, const Material& material,
              const std::string& name)
        : m_options(options),
          m_report(report),
          m_material(material),
          m_name(name),
          m_random(options.seed) {
        m_disk.Restore(material.old.disk);
    }

    void Run() {
        for (const bool guarded : {true, false}) {
            m_hash = guarded ? kHash : "";
            m_isGuarded = guarded;
            const Bytes& sound = guarded ? m_material.guarded : m_material.open;
            Bytewise(sound);
            Pieces(sound);
            Passwords(sound);
        }
    }

private:
    bool IsTried(size_t at, size_t headEnd) const {
        return m_options.isLong || (at < headEnd ? at % 3 == 0 : at % 41 == 17);
    }

    void Bytewise(const Bytes& sound) {
        const Parts parts = PartsOfContainer(sound);
        const size_t headEnd = parts.directory.offset + 64;
        for (size_t at = 0; at < sound.size(); ++at) {
            if (!IsTried(at, headEnd)) continue;
            Refuse("cut to " + std::to_string(at), Prefix(sound, at));
            ForEachOtherByte(sound[at], at, m_options.isLong, [&](uint8_t value, const auto& what) {
                Refuse(what, WithByte(sound, at, value));
            });
        }
        for (const size_t count : {size_t{1}, size_t{32}, size_t{5000}}) {
            Refuse(std::to_string(count) + " bytes more", Join(sound, Rubbish(m_random, count)));
        }
        Refuse("twice", Join(sound, sound));
        Refuse("empty", {});
    }

    void Pieces(const Bytes& sound) {
        const Parts parts = PartsOfContainer(sound);
        const Parts others = PartsOfContainer(m_material.sibling);
        for (size_t i = 0; i < parts.chunks.size(); ++i) {
            const Stretch& chunk = parts.chunks[i];
            const std::string name = "chunk " + std::to_string(i);
            Refuse(name + " dropped", With(sound, chunk, {}));
            Refuse(name + " doubled", With(sound, chunk, Join(Of(sound, chunk), Of(sound, chunk))));
            const size_t next = i + 1 < parts.chunks.size() ? i + 1 : 0;
            const Bytes one = Of(sound, chunk);
            const Bytes other = Of(sound, parts.chunks[next]);
            Refuse(name + " in place of the next", With(sound, parts.chunks[next], one));
            if (next > i) {
                Refuse(name + " swapped with the next",
                       Join(Prefix(sound, chunk.offset), other, one,
                            Slice(sound, parts.chunks[next].offset + parts.chunks[next].size)));
            }
            if (i < others.chunks.size()) {
                Refuse(name + " of a sibling",
                       With(sound, chunk, Of(m_material.sibling, others.chunks[i])));
            }
        }
        Refuse("header of a sibling",
               With(sound, parts.header, Of(m_material.sibling, others.header)));
        Refuse("directory of a sibling",
               With(sound, parts.directory, Of(m_material.sibling, others.directory)));
        Refuse("header and directory of a sibling",
               Join(Prefix(m_material.sibling, others.directory.offset + others.directory.size),
                    Slice(sound, parts.directory.offset + parts.directory.size)));
    }

    void Passwords(const Bytes& sound) {
        for (const std::string& hash :
             {std::string("00000000000000000000000000000000"),
              std::string(m_isGuarded ? "" : kHash), std::string(kHash) + "0"}) {
            m_hash = hash;
            Refuse("with the password hash '" + hash + "'", sound);
        }
    }

    void Refuse(const std::string& what, const Bytes& container) {
        const std::string name = m_name + (m_isGuarded ? ", protected, " : ", open, ") + what;
        SetCurrentCase(name);
        m_report.Case();
        m_disk.Bytes(kContainer) = container;
        const int64_t changes = m_disk.Count(Call::AnyChange);
        RestoreReport report;
        const RestoreCode code = RestoreBackup(m_disk, kContainer, kLedgerFolder, m_hash, true,
                                               report, m_material.options);
        if (!IsContainerFault(code)) {
            m_report.Fault(name + ": restore comes to code " +
                           std::to_string(static_cast<int32_t>(code)) + " " + report.detail.name);
        }
        if (m_disk.Count(Call::AnyChange) != changes)
            m_report.Fault(name + ": something was written");
        if (CheckBackup(m_disk, kContainer, m_hash, report, m_material.options) != code) {
            m_report.Fault(name + ": the check says something else");
        }
        if (code == RestoreCode::Done) m_disk.Restore(m_material.old.disk);
    }

    const FaultsOptions& m_options;
    CFaultsReport& m_report;
    const Material& m_material;
    const std::string m_name;
    std::mt19937_64 m_random;
    CMemoryFileSystem m_disk;
    std::string m_hash;
    bool m_isGuarded = false;
};

// --- sound containers

// Restored, it is what was backed up, wherever the chunks' ends fall in the files: for each
// file chunks of its size and a byte around it, of a half and a third of it.
void ComeBack(CFaultsReport& report, const Material& material) {
    constexpr size_t kSmallest = 50;
    std::set<size_t> sizes;
    for (const auto& [path, bytes] : material.fresh.disk) {
        for (const size_t parts : {size_t{1}, size_t{2}, size_t{3}}) {
            const size_t part = bytes.size() / parts;
            for (const size_t size : {part - 1, part, part + 1}) {
                if (size >= kSmallest && size < kBackupChunkSize) sizes.insert(size);
            }
        }
    }
    for (const size_t size : sizes) {
        const std::string name = "in chunks of " + std::to_string(size);
        SetCurrentCase(name);
        const BackupOptions options = QuickOptions(size);
        CMemoryFileSystem files;
        files.Restore(material.fresh.disk);
        CDatabaseManager database(files);
        RestoreReport restored;
        const bool comesBack =
            database.Open(kLedgerFolder) && !ContainerOf(files, database, kHash, options).empty() &&
            database.Close() &&
            RestoreBackup(files, kContainer, "again", kHash, false, restored, options) ==
                RestoreCode::Done;
        const StoreLook look = LookAtFolder(files, false, "again", Stamps::Kept);
        report.Expect(comesBack && look.IsSound() && look.content == material.fresh.content,
                      name + ": " + (look.IsSound() ? "other contents" : look.problem));
    }
}

// --- stopped restores

class CStops {
public:
    CStops(const FaultsOptions& options, CFaultsReport& report, const Material& material,
           bool replaces)
        : m_options(options), m_report(report), m_material(material), m_replaces(replaces) {
        if (replaces) m_before = material.old.disk;
        m_before[kContainer] = material.guarded;
    }

    void Run() {
        StopEverywhere();
        for (const Call kind : {Call::Open, Call::Create, Call::Read, Call::Write, Call::Sync,
                                Call::Remove, Call::Rename, Call::List, Call::MakeFolder,
                                Call::RemoveFolder, Call::SyncFolder, Call::Lock}) {
            FailEverywhere(kind);
        }
    }

private:
    RestoreCode Restore(CMemoryFileSystem& disk) const {
        RestoreReport report;
        return RestoreBackup(disk, kContainer, kLedgerFolder, kHash, true, report,
                             m_material.options);
    }

    std::string Name(const std::string& what, int64_t at) const {
        return (m_replaces ? "over another database, " : "into a new folder, ") + what + " " +
               std::to_string(at);
    }

    // Stopped at every change, as a kill leaves it; then again while that is put right.
    void StopEverywhere() {
        for (const size_t written : {size_t{0}, size_t{60}}) {
            CMemoryFileSystem disk;
            disk.Restore(m_before);
            CEachFailure failure(disk, Stop(written));
            while (failure.Next()) {
                failure.Arm();
                const RestoreCode code = Restore(disk);
                (void)failure.Disarm();
                const Disk left = disk.Snapshot();
                const std::string name =
                    Name(written == 0 ? "stopped at" : "stopped inside", failure.Nth());
                Look(left, code == RestoreCode::Done, name);
                // The same remains need only be put right once.
                if (m_options.isLong || m_seen.insert(left).second) StopAgain(left, code, name);
            }
            if (failure.IsEndless()) m_report.Fault(Name("a restore that never ends", 0));
        }
    }

    void StopAgain(const Disk& left, RestoreCode code, const std::string& name) {
        CMemoryFileSystem disk;
        disk.Restore(left);
        for (CEachFailure failure(disk, Stop(0)); failure.Next();) {
            failure.Arm();
            (void)RecoverInterruptedRestore(disk, kLedgerFolder);
            (void)failure.Disarm();
            Look(disk.Snapshot(), code == RestoreCode::Done,
                 name + ", recovery at " + std::to_string(failure.Nth()));
        }
    }

    // One call fails and the disk works on.
    void FailEverywhere(Call kind) {
        CMemoryFileSystem disk;
        disk.Restore(m_before);
        for (CEachFailure failure(disk, {.kind = kind}); failure.Next();) {
            failure.Arm();
            const RestoreCode code = Restore(disk);
            const bool failed = failure.Disarm();
            const std::string name = Name(
                "failing call of kind " + std::to_string(static_cast<int>(kind)), failure.Nth());
            if (!failed && code != RestoreCode::Done) m_report.Fault(name + ": failed by itself");
            const bool isTakenBack = !disk.FolderExists("ledger.restoring") &&
                                     !disk.FolderExists("ledger.old") &&
                                     !disk.Exists("ledger/Restore.mark");
            if (code != RestoreCode::Done && !isTakenBack) {
                m_report.Fault(name + ": not taken back at once");
            }
            Look(disk.Snapshot(), code == RestoreCode::Done, name);
        }
    }

    static CEachFailure::Plan Stop(size_t written) {
        return {.error = FileError::Other, .times = Times::ForEver, .written = written};
    }

    // Recovers, opens, and says what is wrong with what is there then.
    void Look(const Disk& left, bool acknowledged, const std::string& name) {
        SetCurrentCase(name);
        m_report.Case();
        CMemoryFileSystem disk;
        disk.Restore(left);
        if (!RecoverInterruptedRestore(disk, kLedgerFolder)) {
            m_report.Fault(name + ": recovery fails");
            return;
        }
        if (!CDatabaseManager::FolderHoldsDatabase(disk, kLedgerFolder)) {
            if (m_replaces || acknowledged) m_report.Fault(name + ": there is no database");
            return;
        }
        for (int look = 0; look < 2; ++look) {
            const StoreLook found = LookAtFolder(disk, false, kLedgerFolder, Stamps::Kept);
            if (!found.IsSound()) {
                m_report.Fault(name + ": " + found.problem);
                return;
            }
            const bool isNew = found.content == m_material.fresh.content;
            const bool isOld =
                m_replaces && !acknowledged && found.content == m_material.old.content;
            if (!isNew && !isOld) {
                m_report.Fault(name + (acknowledged ? ": restored, but not the backup's contents"
                                                    : ": neither the old nor the new contents"));
                return;
            }
        }
        for (const auto& [path, bytes] : disk.Snapshot()) {
            const bool isOurs = path == kContainer || path.starts_with("ledger/");
            if (!isOurs || path.find("Restore.mark") != std::string::npos) {
                m_report.Fault(name + ": " + path + " is left");
                return;
            }
        }
    }

    const FaultsOptions& m_options;
    CFaultsReport& m_report;
    const Material& m_material;
    const bool m_replaces;
    Disk m_before;
    std::set<Disk> m_seen;
};

void Run(const FaultsOptions& options, CFaultsReport& report) {
    NameCaseOnCrash();
    const struct {
        std::string name;
        std::string sample;
        size_t chunkSize;
    } kinds[] = {
        {"store", "store", kBackupChunkSize},
        // So that most files have several chunks, of which the last are full or not.
        {"store in small chunks", "store", 200},
        {"ledger", "ledger", kBackupChunkSize},
    };
    for (const auto& kind : kinds) {
        if (!options.Wants(kind.name)) continue;
        const Material material = MakeMaterial(kind.sample, kind.chunkSize);
        CRefusals(options, report, material, kind.name).Run();
        if (kind.chunkSize < kBackupChunkSize) ComeBack(report, material);
        Say(kind.name + ": containers of " + std::to_string(material.guarded.size()) + " and " +
            std::to_string(material.open.size()) + " bytes, so far " +
            std::to_string(report.Cases()) + " cases");
        // The ledger has a hundred files more, small chunks are many: the same steps for each.
        const bool isMore = kind.sample == "ledger" || kind.chunkSize < kBackupChunkSize;
        if (isMore && !options.isLong) continue;
        for (const bool replaces : {true, false}) CStops(options, report, material, replaces).Run();
    }
}

const CFaultsKind kBackups("backups", "Damaged containers, and restores stopped anywhere", Run);

}  // namespace
}  // namespace quillon
