#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/FileSystem.h"

namespace quillon {

// A file system on another one. Each call, those of its files among them, stands between
// Enter and Leave, for a test that changes or watches some of them.
class CForwardingFiles : public CFileSystem {
public:
    explicit CForwardingFiles(CFileSystem& base) : m_base(base) {}

    std::unique_ptr<CFile> Open(const std::string& path, OpenMode mode) override;
    bool Exists(const std::string& path) override {
        return Pass([&] { return m_base.Exists(path); });
    }
    bool FolderExists(const std::string& path) override {
        return Pass([&] { return m_base.FolderExists(path); });
    }
    bool Remove(const std::string& path) override {
        return Pass([&] { return m_base.Remove(path); });
    }
    bool Rename(const std::string& from, const std::string& to) override {
        return Pass([&] { return m_base.Rename(from, to); });
    }
    bool List(const std::string& folder, std::vector<std::string>& names) override {
        return Pass([&] { return m_base.List(folder, names); });
    }
    bool MakeFolder(const std::string& path) override {
        return Pass([&] { return m_base.MakeFolder(path); });
    }
    bool RemoveFolder(const std::string& path) override {
        return Pass([&] { return m_base.RemoveFolder(path); });
    }
    bool SyncFolder(const std::string& folder) override {
        return Pass([&] { return m_base.SyncFolder(folder); });
    }
    std::unique_ptr<CFileLock> Lock(const std::string& path) override {
        return Pass([&] { return m_base.Lock(path); });
    }
    int64_t ModificationTime(const std::string& path) override {
        return Pass([&] { return m_base.ModificationTime(path); });
    }
    FileError LastError() override { return m_base.LastError(); }

protected:
    // False: the call is not made, and fails. Leave follows either way.
    virtual bool Enter() { return true; }
    virtual void Leave() {}

private:
    class CForwardedFile;

    // Between Enter and Leave, whatever `call` does.
    template <class Call>
    std::invoke_result_t<Call> Pass(Call call, std::invoke_result_t<Call> refused = {}) {
        struct Leaving {
            CForwardingFiles& files;
            ~Leaving() { files.Leave(); }
        };
        const bool isOpen = Enter();
        const Leaving leaving{*this};
        return isOpen ? call() : std::move(refused);
    }

    CFileSystem& m_base;
};

}  // namespace quillon
