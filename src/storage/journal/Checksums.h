#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FileSystem.h"
#include "storage/journal/ChecksumFile.h"
#include "storage/journal/JournalFormat.h"
#include "storage/journal/JournalledFile.h"

namespace quillon {

// A place where a file of the database is not what was written.
struct PageDamage {
    enum class Kind {
        Changed,     // the page holds other bytes
        Missing,     // the file is not there
        OtherSize,   // the file is shorter or longer
        Unlisted,    // nobody wrote this file
        Unreadable,  // the disk does not give the page
        BadSums,     // Checksums.dat itself
    };
    std::string file;  // without folder
    Kind kind = Kind::Changed;
    int64_t page = 0;
    int64_t offset = 0;
    int64_t size = 0;  // bytes of the page, or of the file
};

// What every page of the database's files must hold. Known at each commit, from the bytes
// that are about to be written and not from what a disk made of them; the sums of a commit
// stand in its journal group, those of the last checkpoint in Checksums.dat.
//
//   Damage     is never blessed. Before its first change a page is held against its sum. One
//              that differs gets sums from then on that no page of its contents has, and so
//              it stays reported until Accept().
//   Order      CJournal calls: Start, Replay for each operation, Save before the journal is
//              emptied; for a commit Stage for each file, then Keep or Drop.
//   Sizes      Bytes; pages of kChecksumPage of them, numbered from 0.
//   Errors     false. std::bad_alloc passes through, but not from Keep and Drop.
//   Ownership  Borrows the file system that the folder lies on; goes past the journal.
//   Threads    None; callers hold the journal's owner's lock.
class CChecksums {
public:
    explicit CChecksums(CFileSystem& base) : m_base(base) {}

    // Reads Checksums.dat of `folder` (with separator at its end), and nothing else. False: it
    // is there but cannot be read. To go on without it would leave it behind the files.
    [[nodiscard]] bool Start(const std::string& folder);
    // Follows a complete group's operation.
    void Replay(const JournalOperation& operation);
    // Writes Checksums.dat when something changed; makes it from the files when there is
    // none or it is another database's. When it cannot be written the old one is removed.
    // False: not even that; it is wrong as soon as the journal is empty. Files must be synced.
    [[nodiscard]] bool Save(uint64_t databaseId);

    // Adds the sums that the file will have to the group. False: a page cannot be read.
    [[nodiscard]] bool Stage(CJournalledFile& file, JournalGroupBuilder& group);
    [[nodiscard]] bool StageRename(const std::string& from, const std::string& to,
                                   JournalGroupBuilder& group);
    // The group is on the medium, or will never be.
    void Keep() noexcept;
    void Drop() noexcept { m_staged.clear(); }

    // Reads every file and lists what is not as it was written. Every commit must be in the
    // files. False: nothing is known about them.
    [[nodiscard]] bool Check(std::vector<PageDamage>& damage);
    // Takes what the files hold now for what they should. They must be synced, and the
    // journal empty.
    [[nodiscard]] bool Accept(uint64_t databaseId);

private:
    enum class State {
        Unknown,  // to be made from the files
        Known,
        Broken,  // Checksums.dat is damaged; kept as it is until Accept
    };
    struct StagedPage {
        int64_t page;
        uint32_t sum;
        FileSums::Seen seen;
    };
    struct Staged {
        FileSums* file;  // of m_files
        int64_t size;    // -1: removed
        std::vector<StagedPage> pages;
    };
    using Reader = std::function<bool(int64_t offset, std::span<uint8_t> bytes)>;

    bool Covers(std::string_view name) const;
    // Groups that were replayed left pages without a sum.
    bool HasGaps() const;
    [[nodiscard]] bool StageWhole(Staged& staged, const Reader& read,
                                  const std::vector<int64_t>& damaged);
    [[nodiscard]] bool StageChanged(Staged& staged, CJournalledFile& file);
    [[nodiscard]] bool FindDamaged(const FileSums& sums, const std::string& path,
                                   std::vector<int64_t>& damaged);
    void Add(Staged staged, const std::string& name, JournalGroupBuilder& group);
    [[nodiscard]] bool MakeFromFiles(SumsByName& files);
    [[nodiscard]] bool ListFiles(std::vector<std::string>& names);
    void CheckFile(const std::string& name, const FileSums& sums, std::vector<PageDamage>& damage);

    CFileSystem& m_base;
    std::string m_folder;
    State m_state = State::Unknown;
    uint64_t m_databaseId = 0;
    SumsByName m_files;
    bool m_dirty = false;  // m_files is not what Checksums.dat holds
    bool m_replayed = false;
    std::vector<Staged> m_staged;
};

}  // namespace quillon
