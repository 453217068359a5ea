#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "storage/DatabaseManager.h"
#include "support/Bytes.h"
#include "support/MemoryFileSystem.h"

namespace quillon {

// Small databases, in the folder "db" of a disk in memory, for machines that damage them.

using Disk = std::map<std::string, Bytes>;  // by path
using Content = std::vector<std::string>;   // a line each

inline constexpr const char* kFaultsFolder = "db";
inline constexpr const char* kFaultsPassword = "correct horse";

struct FaultsSample {
    std::string name;
    Disk disk;
    Content content;
    // What earlier commits had made of it, when the journal still holds the later ones.
    std::vector<Content> earlier;
};

// A record store with every type of column, compressed texts, BLOBs and free room, and a
// ledger with a password, accounts, transactions and transfers: each closed in order, as a
// killed program leaves it, and killed before the last commits reached the files.
std::vector<FaultsSample> AllSamples();

// Everything that can be read: tables, columns, rows, texts and BLOBs.
Content EverythingIn(CDatabaseManager& database);

// Opens, checks and closes. False: it does not open, or something is damaged; `why` then
// tells. Otherwise the contents.
bool ReadSound(CFileSystem& files, const std::string& folder, Content& content, std::string& why);

// A disk that refuses everything after so many calls: for loops that would not end. What
// it does itself is not counted by a gauge of allocations.
class CBoundedFiles final : public CFileSystem {
public:
    CBoundedFiles(CFileSystem& base, int64_t calls) : m_base(base), m_callsLeft(calls) {}
    bool IsExhausted() const { return m_callsLeft <= 0; }

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

private:
    class CBoundedFile;
    bool Passes() { return m_callsLeft > 0 && --m_callsLeft > 0; }

    CFileSystem& m_base;
    int64_t m_callsLeft;
};

// Tells which case is tried when the program crashes, and ends it with status 3.
void NameCaseOnCrash();
void SetCurrentCase(const std::string& name);

}  // namespace quillon
