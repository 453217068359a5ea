#include "storage/journal/Checksums.h"

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

#include "foundation/ByteCodec.h"
#include "foundation/TextHash.h"

namespace quillon {
namespace {

using Seen = FileSums::Seen;
using Reader = std::function<bool(int64_t offset, std::span<uint8_t> bytes)>;

int64_t LengthOfPage(int64_t page, int64_t fileSize) {
    return std::min(kChecksumPage, fileSize - page * kChecksumPage);
}

bool SumOfPage(const Reader& read, int64_t page, int64_t fileSize, uint32_t& sum) {
    std::array<uint8_t, static_cast<size_t>(kChecksumPage)> buffer;
    const auto bytes =
        std::span<uint8_t>(buffer).first(static_cast<size_t>(LengthOfPage(page, fileSize)));
    if (!read(page * kChecksumPage, bytes)) return false;
    sum = Crc32c(bytes);
    return true;
}

// Of a CFile as it is, or of a CJournalledFile as the bracket will leave it.
template <typename File>
Reader ReaderOf(File& file) {
    return [&file](int64_t offset, std::span<uint8_t> bytes) {
        return file.ReadAt(offset, bytes) == static_cast<int64_t>(bytes.size());
    };
}

// The pages that the bracket changes, in order. All of those behind the first byte that is
// cut or added change: the last one of the old file gets another length.
std::vector<int64_t> ChangedPages(const CJournalledFile& file) {
    std::vector<int64_t> pages;
    const auto add = [&](int64_t from, int64_t end) {
        for (int64_t page = from; page < end; ++page) {
            if (pages.empty() || page > pages.back()) pages.push_back(page);
        }
    };
    const bool resized = file.NewSize() != file.BaseSize() || file.KeptBase() != file.BaseSize();
    const int64_t firstResized =
        resized ? file.KeptBase() / kChecksumPage : PagesOf(file.NewSize());
    for (const auto& [offset, data] : file.Extents()) {
        const int64_t end = PagesOf(offset + static_cast<int64_t>(data.size()));
        add(offset / kChecksumPage, std::min(end, firstResized));
    }
    add(firstResized, PagesOf(file.NewSize()));
    return pages;
}

// By doubling: files grow by a page at a time.
template <typename Value>
void MakeRoom(std::vector<Value>& values, size_t count) {
    if (count > values.capacity()) values.reserve(std::max(count, values.capacity() * 2));
}

// The sum of a page whose contents are not trusted: one that they do not have.
uint32_t SpoiltSum(uint32_t sum) {
    return ~sum;
}

}  // namespace

bool CChecksums::Covers(std::string_view name) const {
    return m_state == State::Known && IsDatabaseFileName(name);
}

bool CChecksums::Start(const std::string& folder) {
    m_folder = folder;
    m_state = State::Unknown;
    m_databaseId = 0;
    m_files.clear();
    m_staged.clear();
    m_dirty = false;
    m_replayed = false;
    const std::string path = m_folder + kChecksumsName;
    if (!m_base.Exists(path)) return true;
    std::vector<uint8_t> bytes;
    if (!ReadWholeFile(m_base, path, bytes)) return false;
    switch (ChecksumFile::Decode(bytes, m_databaseId, m_files)) {
        case ChecksumFile::DecodeResult::Ok:
            m_state = State::Known;
            break;
        case ChecksumFile::DecodeResult::NewerVersion:
            m_state = State::Unknown;
            break;
        case ChecksumFile::DecodeResult::Damaged:
            m_state = State::Broken;
            break;
    }
    return true;
}

void CChecksums::Replay(const JournalOperation& operation) {
    if (!Covers(operation.name)) return;
    const bool removes = operation.type == JournalOperationType::Remove;
    if (!removes && operation.type != JournalOperationType::PageSums) return;
    m_dirty = true;
    m_replayed = true;
    FileSums& sums = m_files[std::string(operation.name)];
    if (removes) {
        sums = {};
        return;
    }
    sums.size = LoadLE<int64_t>(operation.data, 0);
    auto page = static_cast<size_t>(operation.offset / kChecksumPage);
    // A run that ends before the file does is followed by others.
    const size_t end = std::max(sums.pages.size(), page + operation.data.size() / 4 - 2);
    const size_t pages = std::min(end, static_cast<size_t>(PagesOf(sums.size)));
    sums.pages.resize(pages);
    sums.seen.resize(pages);
    for (size_t at = 8; at < operation.data.size(); at += 4) {
        sums.pages[page++] = LoadLE<uint32_t>(operation.data, at);
    }
}

bool CChecksums::HasGaps() const {
    return std::any_of(m_files.begin(), m_files.end(), [](const auto& file) {
        const FileSums& sums = file.second;
        return sums.size >= 0 && sums.pages.size() != static_cast<size_t>(PagesOf(sums.size));
    });
}

bool CChecksums::Save(uint64_t databaseId) {
    if (m_state == State::Broken) return true;
    // No program of ours writes groups that leave pages out.
    if (std::exchange(m_replayed, false) && HasGaps()) m_state = State::Unknown;
    if (m_state == State::Unknown || m_databaseId != databaseId) {
        SumsByName made;
        // Without sums the ledger works as before; the next checkpoint tries again.
        m_state = State::Unknown;
        if (!MakeFromFiles(made)) return true;
        m_files = std::move(made);
        m_databaseId = databaseId;
        m_state = State::Known;
        m_dirty = true;
    }
    if (!m_dirty) return true;
    const std::string path = m_folder + kChecksumsName;
    if (ReplaceStoreFile(m_base, path, ChecksumFile::Encode(m_databaseId, m_files))) {
        m_dirty = false;
    } else if (m_base.Exists(path) && (!m_base.Remove(path) || !m_base.SyncFolder(m_folder))) {
        return false;
    }
    for (auto& [name, sums] : m_files) std::fill(sums.seen.begin(), sums.seen.end(), Seen::No);
    return true;
}

// --- commits

bool CChecksums::Stage(CJournalledFile& file, JournalGroupBuilder& group) {
    const std::string name = FileNameOf(file.Path());
    if (!Covers(name)) return true;
    Staged staged{&m_files[name], file.Exists() ? file.NewSize() : -1, {}};
    const FileSums& known = *staged.file;
    if (staged.size < 0) {
        if (known.size >= 0) Add(std::move(staged), name, group);
        return true;
    }
    const bool recreated = file.NeedsCreate();
    const bool changes = recreated || !file.Extents().empty() ||
                         file.NewSize() != file.BaseSize() || file.KeptBase() != file.BaseSize();
    if (!changes) return true;
    if (!recreated && known.size == file.BaseSize()) {
        if (!StageChanged(staged, file)) return false;
    } else {
        std::vector<int64_t> damaged;
        // Whatever an index holds is made from the rows and checked against them, so a new one
        // owes nothing to what the old file held.
        const bool owes = !recreated || !IsIndexName(name);
        if (owes && !FindDamaged(known, file.Path(), damaged)) return false;
        if (!StageWhole(staged, ReaderOf(file), damaged)) return false;
    }
    Add(std::move(staged), name, group);
    return true;
}

bool CChecksums::StageRename(const std::string& from, const std::string& to,
                             JournalGroupBuilder& group) {
    const std::string name = FileNameOf(to);
    if (!Covers(name)) return true;
    const std::unique_ptr<CFile> file = m_base.Open(from, OpenMode::Read);
    Staged staged{&m_files[name], file ? file->Size() : -1, {}};
    std::vector<int64_t> damaged;
    if (staged.size < 0 || !FindDamaged(*staged.file, to, damaged) ||
        !StageWhole(staged, ReaderOf(*file), damaged)) {
        return false;
    }
    Add(std::move(staged), name, group);
    return true;
}

// Pages of the file as it is that are not what they should be. A file that is not as long as
// it should be, or that should not be there, is damaged at its end.
bool CChecksums::FindDamaged(const FileSums& sums, const std::string& path,
                             std::vector<int64_t>& damaged) {
    const bool isThere = m_base.Exists(path);
    const std::unique_ptr<CFile> file = isThere ? m_base.Open(path, OpenMode::Read) : nullptr;
    const int64_t size = file ? file->Size() : -1;
    if (isThere && size < 0) return false;
    if (size != sums.size) {
        damaged.push_back(PagesOf(std::max(size, sums.size)));
        return true;
    }
    for (int64_t page = 0; size > 0 && page < PagesOf(size); ++page) {
        const auto at = static_cast<size_t>(page);
        if (sums.seen[at] == Seen::Sound) continue;
        uint32_t sum = 0;
        if (!SumOfPage(ReaderOf(*file), page, size, sum)) return false;
        if (sum != sums.pages[at]) damaged.push_back(page);
    }
    return true;
}

// A whole new file. Nobody knows where in it the contents of the old one's damaged pages
// are now; the pages of the same numbers stand for them.
bool CChecksums::StageWhole(Staged& staged, const Reader& read,
                            const std::vector<int64_t>& damaged) {
    const int64_t pages = PagesOf(staged.size);
    staged.pages.reserve(static_cast<size_t>(pages));
    for (int64_t page = 0; page < pages; ++page) {
        uint32_t sum = 0;
        if (!SumOfPage(read, page, staged.size, sum)) return false;
        staged.pages.push_back({page, sum, Seen::Sound});
    }
    for (const int64_t page : damaged) {
        if (pages == 0) break;
        StagedPage& marked = staged.pages[static_cast<size_t>(std::min(page, pages - 1))];
        if (marked.seen == Seen::Damaged) continue;
        marked.sum = SpoiltSum(marked.sum);
        marked.seen = Seen::Damaged;
    }
    return true;
}

bool CChecksums::StageChanged(Staged& staged, CJournalledFile& file) {
    const FileSums& known = *staged.file;
    const Reader oldBytes = [&file](int64_t offset, std::span<uint8_t> bytes) {
        return file.ReadBaseAt(offset, bytes);
    };
    const Reader newBytes = ReaderOf(file);
    for (const int64_t page : ChangedPages(file)) {
        StagedPage changed{page, 0, Seen::Sound};
        uint32_t sum = 0;
        if (page < PagesOf(known.size)) {
            const auto at = static_cast<size_t>(page);
            changed.seen = known.seen[at];
            if (changed.seen == Seen::No) {
                if (!SumOfPage(oldBytes, page, known.size, sum)) return false;
                changed.seen = sum == known.pages[at] ? Seen::Sound : Seen::Damaged;
            }
        }
        if (!SumOfPage(newBytes, page, staged.size, sum)) return false;
        changed.sum = changed.seen == Seen::Damaged ? SpoiltSum(sum) : sum;
        staged.pages.push_back(changed);
    }
    return true;
}

// One operation for each run of pages, and one for a file of which only the size changes.
void CChecksums::Add(Staged staged, const std::string& name, JournalGroupBuilder& group) {
    if (staged.size >= 0) {
        size_t from = 0;
        do {
            size_t end = from;
            std::vector<uint8_t> data(8);
            StoreLE<int64_t>(data, 0, staged.size);
            while (end < staged.pages.size() &&
                   (end == from || staged.pages[end].page == staged.pages[end - 1].page + 1)) {
                data.resize(data.size() + 4);
                StoreLE<uint32_t>(data, data.size() - 4, staged.pages[end++].sum);
            }
            const int64_t first = staged.pages.empty() ? 0 : staged.pages[from].page;
            group.Add(JournalOperationType::PageSums, name, first * kChecksumPage, data);
            from = end;
        } while (from < staged.pages.size());
        // So that Keep allocates nothing.
        MakeRoom(staged.file->pages, static_cast<size_t>(PagesOf(staged.size)));
        MakeRoom(staged.file->seen, static_cast<size_t>(PagesOf(staged.size)));
    }
    m_staged.push_back(std::move(staged));
}

void CChecksums::Keep() noexcept {
    for (const Staged& staged : m_staged) {
        FileSums& sums = *staged.file;
        const auto pages = static_cast<size_t>(staged.size < 0 ? 0 : PagesOf(staged.size));
        sums.size = staged.size;
        sums.pages.resize(pages);
        sums.seen.resize(pages);
        for (const StagedPage& page : staged.pages) {
            sums.pages[static_cast<size_t>(page.page)] = page.sum;
            sums.seen[static_cast<size_t>(page.page)] = page.seen;
        }
        m_dirty = true;
    }
    m_staged.clear();
}

// --- the files as they are

bool CChecksums::ListFiles(std::vector<std::string>& names) {
    if (!m_base.List(m_folder, names)) return false;
    std::erase_if(names, [this](const std::string& name) {
        return !IsDatabaseFileName(name) || !m_base.Exists(m_folder + name);
    });
    std::sort(names.begin(), names.end());
    return true;
}

bool CChecksums::MakeFromFiles(SumsByName& files) {
    std::vector<std::string> names;
    if (!ListFiles(names)) return false;
    for (const std::string& name : names) {
        const std::unique_ptr<CFile> file = m_base.Open(m_folder + name, OpenMode::Read);
        FileSums sums;
        sums.size = file ? file->Size() : -1;
        if (sums.size < 0) return false;
        const auto pages = static_cast<size_t>(PagesOf(sums.size));
        sums.pages.resize(pages);
        sums.seen.resize(pages);
        for (size_t page = 0; page < pages; ++page) {
            if (!SumOfPage(ReaderOf(*file), static_cast<int64_t>(page), sums.size,
                           sums.pages[page])) {
                return false;
            }
        }
        files.emplace(name, std::move(sums));
    }
    return true;
}

bool CChecksums::Check(std::vector<PageDamage>& damage) {
    using Kind = PageDamage::Kind;
    if (m_state == State::Broken) {
        damage.push_back({kChecksumsName, Kind::BadSums, 0, 0, 0});
        return true;
    }
    std::vector<std::string> names;
    if (m_state != State::Known || !ListFiles(names)) return false;
    for (const auto& [name, sums] : m_files) {
        if (sums.size >= 0) CheckFile(name, sums, damage);
    }
    for (const std::string& name : names) {
        const auto known = m_files.find(name);
        if (known == m_files.end() || known->second.size < 0) {
            damage.push_back({name, Kind::Unlisted, 0, 0, 0});
        }
    }
    return true;
}

void CChecksums::CheckFile(const std::string& name, const FileSums& sums,
                           std::vector<PageDamage>& damage) {
    using Kind = PageDamage::Kind;
    const std::string path = m_folder + name;
    if (!m_base.Exists(path)) {
        damage.push_back({name, Kind::Missing, 0, 0, sums.size});
        return;
    }
    const std::unique_ptr<CFile> file = m_base.Open(path, OpenMode::Read);
    const int64_t size = file ? file->Size() : -1;
    if (size < 0) {
        damage.push_back({name, Kind::Unreadable, 0, 0, sums.size});
        return;
    }
    if (size != sums.size) damage.push_back({name, Kind::OtherSize, 0, 0, size});
    // Pages that another size cuts or moves say nothing new.
    const int64_t whole =
        size == sums.size ? PagesOf(size) : std::min(size, sums.size) / kChecksumPage;
    for (int64_t page = 0; page < whole; ++page) {
        uint32_t sum = 0;
        const bool isRead = SumOfPage(ReaderOf(*file), page, size, sum);
        if (isRead && sum == sums.pages[static_cast<size_t>(page)]) continue;
        damage.push_back({name, isRead ? Kind::Changed : Kind::Unreadable, page,
                          page * kChecksumPage, LengthOfPage(page, size)});
    }
}

bool CChecksums::Accept(uint64_t databaseId) {
    SumsByName made;
    if (!MakeFromFiles(made)) return false;
    m_files = std::move(made);
    m_databaseId = databaseId;
    m_state = State::Known;
    m_dirty = true;
    return Save(databaseId);
}

}  // namespace quillon
