#include "support/ForwardingFiles.h"

#include <utility>

namespace quillon {

class CForwardingFiles::CPassage {
public:
    explicit CPassage(CForwardingFiles& files) : m_files(files), m_isOpen(files.Enter()) {}
    ~CPassage() { m_files.Leave(); }
    CPassage(const CPassage&) = delete;
    CPassage& operator=(const CPassage&) = delete;
    explicit operator bool() const { return m_isOpen; }

private:
    CForwardingFiles& m_files;
    bool m_isOpen;
};

class CForwardingFiles::CForwardedFile final : public CFile {
public:
    CForwardedFile(CForwardingFiles& files, std::unique_ptr<CFile> file)
        : m_files(files), m_file(std::move(file)) {}
    ~CForwardedFile() override {
        const CPassage passage(m_files);
        m_file.reset();
    }
    CForwardedFile(const CForwardedFile&) = delete;
    CForwardedFile& operator=(const CForwardedFile&) = delete;

    int64_t ReadAt(int64_t offset, std::span<uint8_t> bytes) override {
        const CPassage passage(m_files);
        return passage ? m_file->ReadAt(offset, bytes) : -1;
    }
    bool WriteAt(int64_t offset, std::span<const uint8_t> bytes) override {
        const CPassage passage(m_files);
        return passage && m_file->WriteAt(offset, bytes);
    }
    bool SetSize(int64_t size) override {
        const CPassage passage(m_files);
        return passage && m_file->SetSize(size);
    }
    int64_t Size() override {
        const CPassage passage(m_files);
        return passage ? m_file->Size() : -1;
    }
    bool Sync() override {
        const CPassage passage(m_files);
        return passage && m_file->Sync();
    }

private:
    CForwardingFiles& m_files;
    std::unique_ptr<CFile> m_file;
};

std::unique_ptr<CFile> CForwardingFiles::Open(const std::string& path, OpenMode mode) {
    const CPassage passage(*this);
    std::unique_ptr<CFile> file = passage ? m_base.Open(path, mode) : nullptr;
    if (!file) return nullptr;
    return std::make_unique<CForwardedFile>(*this, std::move(file));
}

bool CForwardingFiles::Exists(const std::string& path) {
    const CPassage passage(*this);
    return passage && m_base.Exists(path);
}

bool CForwardingFiles::FolderExists(const std::string& path) {
    const CPassage passage(*this);
    return passage && m_base.FolderExists(path);
}

bool CForwardingFiles::Remove(const std::string& path) {
    const CPassage passage(*this);
    return passage && m_base.Remove(path);
}

bool CForwardingFiles::Rename(const std::string& from, const std::string& to) {
    const CPassage passage(*this);
    return passage && m_base.Rename(from, to);
}

bool CForwardingFiles::List(const std::string& folder, std::vector<std::string>& names) {
    const CPassage passage(*this);
    return passage && m_base.List(folder, names);
}

bool CForwardingFiles::MakeFolder(const std::string& path) {
    const CPassage passage(*this);
    return passage && m_base.MakeFolder(path);
}

bool CForwardingFiles::RemoveFolder(const std::string& path) {
    const CPassage passage(*this);
    return passage && m_base.RemoveFolder(path);
}

bool CForwardingFiles::SyncFolder(const std::string& folder) {
    const CPassage passage(*this);
    return passage && m_base.SyncFolder(folder);
}

std::unique_ptr<CFileLock> CForwardingFiles::Lock(const std::string& path) {
    const CPassage passage(*this);
    return passage ? m_base.Lock(path) : nullptr;
}

int64_t CForwardingFiles::ModificationTime(const std::string& path) {
    const CPassage passage(*this);
    return passage ? m_base.ModificationTime(path) : 0;
}

}  // namespace quillon
