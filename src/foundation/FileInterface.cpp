#include "foundation/FileInterface.h"

namespace quillon {

bool CFileInterface::OpenExisting(const std::string& path) {
    Close();
    m_file = m_files->Open(path, OpenMode::ReadWrite);
    return IsOpen();
}

bool CFileInterface::OpenExistingForReading(const std::string& path) {
    Close();
    m_file = m_files->Open(path, OpenMode::Read);
    return IsOpen();
}

bool CFileInterface::Create(const std::string& path) {
    Close();
    m_file = m_files->Open(path, OpenMode::Create);
    return IsOpen();
}

bool CFileInterface::Close() {
    if (!m_file) return false;
    m_file.reset();
    m_offset = 0;
    return true;
}

bool CFileInterface::Read(std::span<uint8_t> bytes, int64_t& count) {
    count = 0;
    if (!m_file) return false;
    const int64_t got = m_file->ReadAt(m_offset, bytes);
    if (got < 0) return false;
    count = got;
    m_offset += got;
    return true;
}

bool CFileInterface::Write(std::span<const uint8_t> bytes, int64_t& count) {
    count = 0;
    if (!m_file || !m_file->WriteAt(m_offset, bytes)) return false;
    count = static_cast<int64_t>(bytes.size());
    m_offset += count;
    return true;
}

bool CFileInterface::Seek(int64_t offset) {
    if (!m_file || offset < 0) return false;
    m_offset = offset;
    return true;
}

bool CFileInterface::SeekToEnd() {
    const int64_t size = Size();
    return size >= 0 && Seek(size);
}

int64_t CFileInterface::Size() const {
    return m_file ? m_file->Size() : -1;
}

bool CFileInterface::Flush() {
    return m_file && m_file->Sync();
}

bool CFileInterface::ReadExactlyAt(int64_t offset, std::span<uint8_t> bytes) const {
    return m_file && offset >= 0 &&
           m_file->ReadAt(offset, bytes) == static_cast<int64_t>(bytes.size());
}

bool CFileInterface::WriteAt(int64_t offset, std::span<const uint8_t> bytes) {
    return m_file && offset >= 0 && m_file->WriteAt(offset, bytes);
}

bool CFileInterface::SetSize(int64_t size) {
    return m_file && size >= 0 && m_file->SetSize(size);
}

}  // namespace quillon
