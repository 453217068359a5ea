#include "storage/journal/JournalledFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <utility>

namespace quillon {
namespace {

int64_t EndOf(const std::pair<const int64_t, std::vector<uint8_t>>& extent) {
    return extent.first + static_cast<int64_t>(extent.second.size());
}

using Extents = std::map<int64_t, std::vector<uint8_t>>;

// Returns the extent that ends with the bytes now; the end of all when one held their place.
// Most writes append to the last extent or overwrite inside one.
Extents::iterator PutBytes(Extents& extents, int64_t offset, std::span<const uint8_t> bytes) {
    const int64_t end = offset + static_cast<int64_t>(bytes.size());
    const auto next = extents.upper_bound(offset);
    if (next != extents.begin()) {
        const auto previous = std::prev(next);
        std::vector<uint8_t>& data = previous->second;
        const auto at = static_cast<size_t>(offset - previous->first);
        if (EndOf(*previous) >= end) {
            std::memcpy(data.data() + at, bytes.data(), bytes.size());
            return extents.end();
        }
        if (EndOf(*previous) >= offset) {
            data.resize(at);
            data.insert(data.end(), bytes.begin(), bytes.end());
            return previous;
        }
    }
    return extents.emplace_hint(next, offset, std::vector<uint8_t>(bytes.begin(), bytes.end()));
}

// Takes in what the extent covers or touches behind it.
void SwallowBehind(Extents& extents, Extents::iterator written) {
    const int64_t end = EndOf(*written);
    auto after = std::next(written);
    while (after != extents.end() && after->first <= end) {
        if (EndOf(*after) > end) {
            const auto skip = static_cast<std::ptrdiff_t>(end - after->first);
            written->second.insert(written->second.end(), after->second.begin() + skip,
                                   after->second.end());
        }
        after = extents.erase(after);
    }
}

}  // namespace

CJournalledFile::CJournalledFile(CFileSystem& base, std::string path)
    : m_base(base), m_path(std::move(path)) {
    OnReplaced();
}

void CJournalledFile::OnReplaced() {
    m_baseFile.reset();
    m_baseSize = -1;
    m_unreadable = false;
    if (!m_base.Exists(m_path)) return;
    CFile* file = BaseFile();
    m_baseSize = file ? file->Size() : -1;
    // Not to be taken for a missing file: that would be made anew, and be empty.
    m_unreadable = m_baseSize < 0;
    if (m_unreadable) m_baseSize = 0;
}

CFile* CJournalledFile::BaseFile() {
    if (!m_baseFile) m_baseFile = m_base.Open(m_path, OpenMode::ReadWrite);
    // A file that may only be read is still good for reading.
    if (!m_baseFile) m_baseFile = m_base.Open(m_path, OpenMode::Read);
    return m_baseFile.get();
}

void CJournalledFile::ReadBase(int64_t offset, std::span<uint8_t> bytes, bool& failed) {
    CFile* file = BaseFile();
    failed = !file || file->ReadAt(offset, bytes) != static_cast<int64_t>(bytes.size());
}

bool CJournalledFile::ReadBaseAt(int64_t offset, std::span<uint8_t> bytes) {
    bool failed = false;
    ReadBase(offset, bytes, failed);
    return !failed;
}

int64_t CJournalledFile::ReadAt(int64_t offset, std::span<uint8_t> bytes) {
    if (!Exists() || IsUnreadable() || offset < 0) return -1;
    if (!m_touched) {
        CFile* file = BaseFile();
        return file ? file->ReadAt(offset, bytes) : -1;
    }
    if (offset >= m_size) return 0;
    const int64_t end = offset + std::min(m_size - offset, static_cast<int64_t>(bytes.size()));
    bytes = bytes.first(static_cast<size_t>(end - offset));
    if (bytes.empty()) return 0;

    const int64_t baseEnd = std::clamp(m_keptBase, offset, end);
    std::memset(bytes.data() + (baseEnd - offset), 0, static_cast<size_t>(end - baseEnd));
    if (baseEnd > offset) {
        bool failed = false;
        ReadBase(offset, bytes.first(static_cast<size_t>(baseEnd - offset)), failed);
        if (failed) return -1;
    }
    auto extent = m_extents.upper_bound(offset);
    if (extent != m_extents.begin() && EndOf(*std::prev(extent)) > offset) --extent;
    for (; extent != m_extents.end() && extent->first < end; ++extent) {
        const int64_t from = std::max(offset, extent->first);
        const int64_t to = std::min(end, EndOf(*extent));
        std::memcpy(bytes.data() + (from - offset), extent->second.data() + (from - extent->first),
                    static_cast<size_t>(to - from));
    }
    return end - offset;
}

void CJournalledFile::Touch() {
    if (m_touched) return;
    m_touched = true;
    m_exists = m_baseSize >= 0;
    m_recreated = false;
    m_keptBase = std::max<int64_t>(m_baseSize, 0);
    m_size = m_keptBase;
}

void CJournalledFile::CreateEmpty() {
    Touch();
    m_exists = true;
    m_recreated = true;
    m_keptBase = 0;
    m_size = 0;
    m_extents.clear();
}

void CJournalledFile::Remove() {
    Touch();
    m_exists = false;
    m_recreated = true;
    m_keptBase = 0;
    m_size = 0;
    m_extents.clear();
}

void CJournalledFile::WriteAt(int64_t offset, std::span<const uint8_t> bytes) {
    Touch();
    if (bytes.empty()) return;
    m_size = std::max(m_size, offset + static_cast<int64_t>(bytes.size()));
    const auto written = PutBytes(m_extents, offset, bytes);
    if (written != m_extents.end()) SwallowBehind(m_extents, written);
}

void CJournalledFile::SetSize(int64_t size) {
    Touch();
    m_keptBase = std::min(m_keptBase, size);
    m_size = size;
    m_extents.erase(m_extents.lower_bound(size), m_extents.end());
    if (!m_extents.empty()) {
        auto last = std::prev(m_extents.end());
        if (EndOf(*last) > size) last->second.resize(static_cast<size_t>(size - last->first));
    }
}

void CJournalledFile::Forget() {
    m_touched = false;
    m_extents.clear();
}

size_t CJournalledFile::ExtentBytes() const {
    size_t total = 0;
    for (const auto& extent : m_extents) total += extent.second.size();
    return total;
}

// The extent and those close behind it in one call, with what lies between them as the file has
// it: many short writes cost much more than the bytes between them. Moves `extent` behind.
bool CJournalledFile::WriteRun(CFile& file, ExtentMap::const_iterator& extent) {
    constexpr int64_t kClose = 64;
    constexpr int64_t kLongest = 8192;
    std::array<uint8_t, kLongest> room;  // memory may have run out
    const auto first = extent;
    int64_t end = EndOf(*first);
    for (++extent; extent != m_extents.cend() && extent->first - end <= kClose &&
                   EndOf(*extent) - first->first <= kLongest && EndOf(*extent) <= m_baseSize;
         ++extent) {
        end = EndOf(*extent);
    }
    if (std::next(first) == extent) return file.WriteAt(first->first, first->second);
    const std::span<uint8_t> bytes = std::span(room).first(static_cast<size_t>(end - first->first));
    const bool isRead = file.ReadAt(first->first, bytes) == static_cast<int64_t>(bytes.size());
    for (auto each = first; each != extent; ++each) {
        if (!isRead && !file.WriteAt(each->first, each->second)) return false;
        std::copy(each->second.begin(), each->second.end(),
                  bytes.begin() + static_cast<std::ptrdiff_t>(each->first - first->first));
    }
    return !isRead || file.WriteAt(first->first, bytes);
}

bool CJournalledFile::Apply() {
    if (!m_exists) {
        m_baseFile.reset();
        if (m_baseSize >= 0 && !m_base.Remove(m_path)) return false;
        m_baseSize = -1;
        Forget();
        return true;
    }
    if (NeedsCreate()) {
        m_baseFile = m_base.Open(m_path, OpenMode::Create);
        if (!m_baseFile) return false;
        m_baseSize = 0;
        m_unreadable = false;
        m_recreated = false;  // a second try goes on from here
    }
    CFile* file = BaseFile();
    if (!file) return false;
    if (m_keptBase < m_baseSize && !file->SetSize(m_keptBase)) return false;
    m_baseSize = std::min(m_baseSize, m_keptBase);
    for (auto extent = m_extents.cbegin(); extent != m_extents.cend();) {
        if (!WriteRun(*file, extent)) return false;
    }
    const int64_t written = m_extents.empty() ? m_keptBase : EndOf(*std::prev(m_extents.end()));
    if (m_size > std::max(written, m_keptBase) && !file->SetSize(m_size)) return false;
    m_baseSize = m_size;
    Forget();
    return true;
}

bool CJournalledFile::SyncBase() {
    CFile* file = BaseFile();
    return file && file->Sync();
}

}  // namespace quillon
