#pragma once

#include <memory>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"

namespace quillon {

// A file system on another one. Each call, those of its files among them, stands between
// Enter and Leave, for a test that changes or watches some of them.
class CForwardingFiles : public CFileSystem {
public:
    explicit CForwardingFiles(CFileSystem& base) : m_base(base) {}

    std::unique_ptr<CFile> Open(const std::string& path, OpenMode mode) override;
    bool Exists(const std::string& path) override;
    bool FolderExists(const std::string& path) override;
    bool Remove(const std::string& path) override;
    bool Rename(const std::string& from, const std::string& to) override;
    bool List(const std::string& folder, std::vector<std::string>& names) override;
    bool MakeFolder(const std::string& path) override;
    bool RemoveFolder(const std::string& path) override;
    bool SyncFolder(const std::string& folder) override;
    std::unique_ptr<CFileLock> Lock(const std::string& path) override;
    int64_t ModificationTime(const std::string& path) override;
    FileError LastError() override { return m_base.LastError(); }

protected:
    // False: the call is not made, and fails. Leave follows either way.
    virtual bool Enter() { return true; }
    virtual void Leave() {}

private:
    class CPassage;
    class CForwardedFile;

    CFileSystem& m_base;
};

}  // namespace quillon
