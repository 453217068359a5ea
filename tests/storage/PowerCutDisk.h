#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"
#include "support/Bytes.h"

namespace quillon {

// A disk in memory that remembers what is on the medium. Writes reach it when their file is
// synced, names when their folder is. AfterPowerCut() gives what a cut may leave: what was synced,
// and of the rest any part of the writes, in any file, and the first so many changes of names.
class CPowerCutDisk final : public CFileSystem {
public:
    // The power goes before the `calls`-th change or sync from now: it and all later ones fail.
    void CutBefore(int64_t calls) { m_callsLeft = calls - 1; }
    bool IsCut() const { return m_callsLeft < 0; }

    std::map<std::string, Bytes> AfterPowerCut(std::mt19937& random) const {
        auto names = m_syncedNames;
        const size_t kept = m_nameChanges.empty() ? 0 : random() % (m_nameChanges.size() + 1);
        for (size_t i = 0; i < kept; ++i) Apply(m_nameChanges[i], names);
        std::map<std::string, Bytes> files;
        for (const auto& [name, node] : names) files[name] = Survivor(*node, random);
        return files;
    }

    std::unique_ptr<CFile> Open(const std::string& path, OpenMode mode) override {
        auto found = m_names.find(path);
        if (mode != OpenMode::Create) {
            if (found == m_names.end()) return nullptr;
            return std::make_unique<CDiskFile>(*this, found->second);
        }
        if (!Passes()) return nullptr;
        if (found == m_names.end()) {
            ChangeName({path, std::make_shared<Node>()});
            found = m_names.find(path);
        }
        Change(*found->second, {-1, 0, {}});
        return std::make_unique<CDiskFile>(*this, found->second);
    }
    bool Exists(const std::string& path) override { return m_names.contains(path); }
    bool FolderExists(const std::string&) override { return true; }
    bool Remove(const std::string& path) override {
        if (!m_names.contains(path) || !Passes()) return false;
        ChangeName({path, nullptr});
        return true;
    }
    bool Rename(const std::string& from, const std::string& to) override {
        const auto found = m_names.find(from);
        if (found == m_names.end() || !Passes()) return false;
        // One change: no cut leaves the file under both names or none.
        ChangeName({to, found->second, from});
        return true;
    }
    bool List(const std::string& folder, std::vector<std::string>& names) override {
        names.clear();
        for (const auto& [name, node] : m_names) {
            if (FolderOf(name) == folder) names.push_back(FileNameOf(name));
        }
        return true;
    }
    bool MakeFolder(const std::string&) override { return true; }
    bool RemoveFolder(const std::string&) override { return false; }
    bool SyncFolder(const std::string&) override {
        if (!Passes()) return false;
        m_syncedNames = m_names;
        m_nameChanges.clear();
        return true;
    }
    std::unique_ptr<CFileLock> Lock(const std::string& path) override {
        if (!m_names.contains(path)) {
            if (!Passes()) return nullptr;
            ChangeName({path, std::make_shared<Node>()});
        }
        return std::make_unique<CFileLock>();
    }
    int64_t ModificationTime(const std::string&) override { return 0; }
    FileError LastError() override { return FileError::Other; }

private:
    struct Edit {
        int64_t offset = 0;  // -1: set the size
        size_t size = 0;
        Bytes bytes;
    };
    struct Node {
        Bytes bytes;
        Bytes synced;
        std::vector<Edit> edits;  // since the last sync
    };
    struct NameChange {
        std::string name;
        std::shared_ptr<Node> node;  // null: the name goes
        std::string oldName = {};    // goes at the same time
    };

    class CDiskFile final : public CFile {
    public:
        CDiskFile(CPowerCutDisk& disk, std::shared_ptr<Node> node)
            : m_disk(disk), m_node(std::move(node)) {}
        int64_t ReadAt(int64_t offset, std::span<uint8_t> bytes) override {
            const Bytes& all = m_node->bytes;
            if (offset < 0 || static_cast<size_t>(offset) >= all.size()) return 0;
            const auto from = static_cast<size_t>(offset);
            const size_t count = std::min(bytes.size(), all.size() - from);
            std::copy_n(all.begin() + offset, count, bytes.begin());
            return static_cast<int64_t>(count);
        }
        bool WriteAt(int64_t offset, std::span<const uint8_t> bytes) override {
            if (!m_disk.Passes()) return false;
            Change(*m_node, {offset, 0, Bytes(bytes.begin(), bytes.end())});
            return true;
        }
        bool SetSize(int64_t size) override {
            if (!m_disk.Passes()) return false;
            Change(*m_node, {-1, static_cast<size_t>(size), {}});
            return true;
        }
        int64_t Size() override { return static_cast<int64_t>(m_node->bytes.size()); }
        bool Sync() override {
            if (!m_disk.Passes()) return false;
            m_node->synced = m_node->bytes;
            m_node->edits.clear();
            return true;
        }

    private:
        CPowerCutDisk& m_disk;
        std::shared_ptr<Node> m_node;
    };

    bool Passes() {
        if (m_callsLeft > 0 && m_callsLeft != kNever)
            --m_callsLeft;
        else if (m_callsLeft == 0)
            m_callsLeft = -1;
        return m_callsLeft >= 0;
    }

    static void Apply(const Edit& edit, Bytes& bytes) {
        if (edit.offset < 0) {
            bytes.resize(edit.size);
            return;
        }
        const auto at = static_cast<size_t>(edit.offset);
        if (edit.bytes.empty()) return;
        bytes.resize(std::max(bytes.size(), at + edit.bytes.size()));
        std::copy(edit.bytes.begin(), edit.bytes.end(), bytes.begin() + edit.offset);
    }
    static void Apply(const NameChange& change,
                      std::map<std::string, std::shared_ptr<Node>>& names) {
        if (!change.oldName.empty()) names.erase(change.oldName);
        if (change.node) {
            names[change.name] = change.node;
        } else {
            names.erase(change.name);
        }
    }
    static void Change(Node& node, Edit edit) {
        Apply(edit, node.bytes);
        node.edits.push_back(std::move(edit));
    }
    void ChangeName(NameChange change) {
        Apply(change, m_names);
        m_nameChanges.push_back(std::move(change));
    }

    static Bytes Survivor(const Node& node, std::mt19937& random) {
        Bytes bytes = node.synced;
        const auto kind = random() % 4;
        if (kind == 0) return bytes;
        if (kind == 1) return node.bytes;
        for (Edit edit : node.edits) {
            const auto luck = random() % 3;
            if (luck == 0) continue;
            // A sector is written whole; a longer write may end anywhere between two.
            if (luck == 1 && edit.bytes.size() > 512) {
                edit.bytes.resize(random() % (edit.bytes.size() / 512 + 1) * 512);
            }
            Apply(edit, bytes);
        }
        return bytes;
    }

    static constexpr int64_t kNever = INT64_MAX;
    int64_t m_callsLeft = kNever;  // -1: the power is off
    std::map<std::string, std::shared_ptr<Node>> m_names;
    std::map<std::string, std::shared_ptr<Node>> m_syncedNames;
    std::vector<NameChange> m_nameChanges;  // since the last sync of the folder
};

}  // namespace quillon
