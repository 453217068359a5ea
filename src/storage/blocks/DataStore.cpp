#include "storage/blocks/DataStore.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <utility>

#include "foundation/OutOfMemory.h"
#include "storage/blocks/DataFormat.h"
#include "storage/database/DatabaseFiles.h"
#include "storage/journal/Journal.h"

namespace quillon {
namespace {

constexpr auto kHeaderSize = static_cast<int64_t>(DataHeader::kDiskSize);
constexpr int64_t kCopyBuffer = 10'240'000;
constexpr int64_t kLargestTransfer = 0xFFFF'FFFF;

// A transfer of that many bytes, at that position, is one that a file can have.
bool IsTransfer(const uint8_t* bytes, int64_t size, int64_t position) {
    return bytes && size > 0 && size <= kLargestTransfer && position >= 0 &&
           position <= INT64_MAX - kHeaderSize - size;
}

// The block area of a version 1 file behind the header of a new one, which is then on the medium.
bool CopyBlocks(const CFileInterface& from, CFileInterface& to) {
    const std::unique_ptr<uint8_t[]> buffer(new (std::nothrow)
                                                uint8_t[static_cast<size_t>(kCopyBuffer)]);
    if (!buffer || !to.WriteAt(0, DataHeader::Encode())) return false;
    constexpr auto kFrom = static_cast<int64_t>(DataHeader::kVersion1Size);
    const int64_t size = from.Size() - kFrom;
    for (int64_t done = 0; done < size;) {
        const int64_t count = std::min(size - done, kCopyBuffer);
        const std::span<uint8_t> chunk(buffer.get(), static_cast<size_t>(count));
        if (!from.ReadExactlyAt(kFrom + done, chunk) || !to.WriteAt(kHeaderSize + done, chunk)) {
            return false;
        }
        done += count;
    }
    return to.Flush();
}

}  // namespace

CDataStore::CDataStore(CJournal& journal)
    : m_journal(journal), m_file(journal), m_freeList(journal) {}

CDataStore::~CDataStore() {
    Close();
    m_journal.Leave(*this);
}

void CDataStore::SetPath(const CKeelString& path) {
    const CLockScope lock(m_lock);
    m_path = path;
}

std::string CDataStore::Path() const {
    const CLockScope lock(m_lock);
    return m_path.ToUtf8();
}

bool CDataStore::IsOpen() const {
    const CLockScope lock(m_lock);
    return m_file.IsOpen();
}

// Rewriting the bytes that are there already would cost a sync for nothing.
bool CDataStore::WriteHeader() {
    const auto fresh = DataHeader::Encode();
    std::array<uint8_t, DataHeader::kDiskSize> present{};
    if (m_file.ReadExactlyAt(0, present) && present == fresh) return true;
    return m_file.WriteAt(0, fresh);
}

bool CDataStore::Open() {
    const CLockScope lock(m_lock);
    Close();
    const std::string path = Path();
    if (path.empty()) return false;
    if (m_journal.Exists(path)) {
        if (!OpenChecked(path)) return false;
    } else if (!m_file.Create(path) || !WriteHeader()) {
        return false;
    }
    if (m_keepFreeList) {
        m_freeList.SetPath(FreeListPath(path));
        m_freeList.Load(BlockAreaSize());
    }
    // A file that lists nothing usable goes when the store is closed.
    m_freeListChanged =
        m_keepFreeList && m_freeList.Count() == 0 && m_journal.Exists(m_freeList.Path());
    return true;
}

// Closing writes a header, so a file whose own was not read to the end must not stay open.
bool CDataStore::OpenChecked(const std::string& path) {
    if (!m_file.OpenExisting(path)) return false;
    try {
        if (CheckHeader()) return true;
    } catch (const std::bad_alloc&) {
        m_file.Close();
        throw;
    }
    m_file.Close();
    return false;
}

bool CDataStore::CheckHeader() {
    std::array<uint8_t, DataHeader::kDiskSize> bytes{};
    DataHeader header;
    if (!m_file.ReadExactlyAt(0, bytes) || !DataHeader::Decode(bytes, header)) return false;
    // A conversion that fails closes the file and is not reported here.
    if (header.version == 1) (void)ConvertFromVersion1();
    return true;
}

bool CDataStore::ConvertFromVersion1() {
    const std::string path = Path();
    const std::string copyPath = CopyPath(path);
    // The copy is no part of the database until it takes the file's place, so it is written
    // beside the journal.
    CFileInterface copy(m_journal.Base());
    // A bracket would show the old file until it commits. An earlier renaming group must not
    // find the new copy.
    const bool begun = !m_journal.InBatch() && m_journal.Checkpoint() && copy.Create(copyPath);
    const bool copied = begun && CopyBlocks(m_file, copy);
    copy.Close();
    m_file.Close();
    if (copied && m_journal.Rename(copyPath, path)) return OpenChecked(path);
    if (begun) RemoveCopy(m_journal, copyPath);
    return false;
}

bool CDataStore::IsVersion1(CFileSystem& files, const std::string& path) {
    const std::unique_ptr<CFile> file = files.Open(path, OpenMode::Read);
    std::array<uint8_t, DataHeader::kDiskSize> bytes{};
    DataHeader header;
    return file && file->ReadAt(0, bytes) == kHeaderSize && DataHeader::Decode(bytes, header) &&
           header.version == 1;
}

void CDataStore::RemoveCopy(CJournal& journal, const std::string& temporaryPath) {
    // After a failed sync nobody knows whether the group that renames the copy is on
    // the disk; replaying it without the copy would mix old data with new positions.
    if (journal.IsBroken() || !journal.Base().Exists(temporaryPath)) return;
    (void)journal.Base().Remove(temporaryPath);
}

bool CDataStore::Close() {
    const CLockScope lock(m_lock);
    if (!m_file.IsOpen()) return false;
    // A free list that is not saved leaves an older one or none: its room is lost to the next
    // opening, and nothing else, since no file lists a block that was taken since.
    const bool written = FalseWhenOutOfMemory([this] {
        const bool saved = SaveFreeList();
        return WriteHeader() && saved;
    });
    m_freeListChanged = false;
    const bool cleared = FalseWhenOutOfMemory([this] {
        m_freeList.Clear();
        return true;
    });
    if (!cleared) m_journal.Break();
    return m_file.Close() && written;
}

// A store whose name has no dot has no file for its list.
bool CDataStore::SaveFreeList() {
    if (!m_keepFreeList || !m_freeListChanged || m_freeList.Path().empty()) return true;
    if (!m_freeList.Save()) return false;
    m_freeListChanged = false;
    return true;
}

// A file that stayed would list blocks of the old contents as free in the new ones.
bool CDataStore::DropFreeList() {
    m_freeList.Clear();
    m_freeListChanged = true;
    return SaveFreeList();
}

bool CDataStore::Flush() {
    const CLockScope lock(m_lock);
    if (!m_file.IsOpen()) return false;
    const bool flushed = WriteHeader() && m_file.Flush();
    if (m_keepFreeList && m_freeListChanged) Touch();
    return SaveFreeList() && flushed;
}

bool CDataStore::AllocateAndWrite(const uint8_t* data, int64_t size, int64_t& position) {
    const CLockScope lock(m_lock);
    // Every refusal comes before a block leaves the free list.
    if (!IsTransfer(data, size, 0) || !m_file.IsOpen()) return false;
    CBracketScope bracket(m_journal);
    if (!bracket.Begun()) return false;
    Touch();
    int64_t reused = 0;
    if (m_freeList.Take(size, reused)) {
        m_freeListChanged = true;
        position = reused;
    } else {
        position = BlockAreaSize();
    }
    return WriteAt(data, size, position) && bracket.Commit();
}

bool CDataStore::WriteAt(const uint8_t* data, int64_t size, int64_t position) {
    const CLockScope lock(m_lock);
    return IsTransfer(data, size, position) && m_file.IsOpen() &&
           m_file.WriteAt(position + kHeaderSize, {data, static_cast<size_t>(size)});
}

bool CDataStore::ReadAt(uint8_t* buffer, int64_t size, int64_t position) const {
    const CLockScope lock(m_lock);
    return IsTransfer(buffer, size, position) && m_file.IsOpen() &&
           m_file.ReadExactlyAt(position + kHeaderSize, {buffer, static_cast<size_t>(size)});
}

bool CDataStore::FreeBlock(int64_t size, int64_t position) {
    const CLockScope lock(m_lock);
    if (size <= 0 || position < 0 || !m_file.IsOpen()) return false;
    if (!m_keepFreeList) return true;
    Touch();
    m_freeListChanged = true;
    return m_freeList.Add(position, size);
}

bool CDataStore::Holds(int64_t size, int64_t position) const {
    const CLockScope lock(m_lock);
    return size > 0 && position >= 0 && position <= BlockAreaSize() - size;
}

bool CDataStore::Reset() {
    const CLockScope lock(m_lock);
    Touch();
    if (!DropFreeList()) return false;
    if (!m_file.IsOpen()) return true;
    m_file.Close();
    return m_file.Create(Path()) && WriteHeader();
}

bool CDataStore::DeleteFiles() {
    const CLockScope lock(m_lock);
    Close();
    const std::string path = Path();
    bool deleted = !m_journal.Exists(path) || m_journal.Remove(path);
    const std::string freeListPath = FreeListPath(path);
    m_freeList.Clear();
    if (!freeListPath.empty() && m_journal.Exists(freeListPath)) {
        deleted = m_journal.Remove(freeListPath) && deleted;
    }
    return deleted;
}

int64_t CDataStore::GetStorageSize() const {
    const CLockScope lock(m_lock);
    return m_file.IsOpen() ? m_file.Size() + m_freeList.GetFileSize() : 0;
}

bool CDataStore::ClearFreeList() {
    const CLockScope lock(m_lock);
    Touch();
    return DropFreeList();
}

int64_t CDataStore::BlockAreaSize() const {
    const CLockScope lock(m_lock);
    return std::max<int64_t>(m_file.Size() - kHeaderSize, 0);
}

bool CDataStore::ReplaceFileWith(const std::string& temporaryPath) {
    const CLockScope lock(m_lock);
    Touch();
    if (!DropFreeList()) return false;
    m_file.Close();
    m_replacing = true;
    return m_journal.Rename(temporaryPath, Path());
}

void CDataStore::Touch() {
    if (m_touched || !m_journal.IsAttached() || !m_journal.InBatch()) return;
    m_journal.Join(*this);
    m_touched = true;
    m_changedBefore = m_freeListChanged;
    m_freeList.Mark();
}

bool CDataStore::ReopenReplaced() {
    return !std::exchange(m_replacing, false) || m_file.OpenExisting(Path());
}

bool CDataStore::OnBracketCommitted() {
    const CLockScope lock(m_lock);
    m_touched = false;
    m_freeList.ForgetMark();
    return ReopenReplaced();
}

bool CDataStore::OnBracketRolledBack() {
    const CLockScope lock(m_lock);
    m_touched = false;
    m_freeList.UndoToMark();
    // A list that equals what the last save wrote needs no saving; one that was
    // ahead of it still is.
    m_freeListChanged = m_changedBefore;
    return ReopenReplaced();
}

}  // namespace quillon
