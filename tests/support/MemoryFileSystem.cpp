#include "support/MemoryFileSystem.h"

#include <algorithm>
#include <cstring>

#include "support/DiskPaths.h"

namespace quillon {
namespace {

thread_local FileError lastError = FileError::None;

bool Failed(FileError error) {
    lastError = error;
    return false;
}

std::string ParentOf(const std::string& normalised) {
    const size_t slash = normalised.rfind('/');
    return slash == std::string::npos ? std::string() : normalised.substr(0, slash);
}

}  // namespace

class CMemoryFileSystem::CMemoryFile final : public CFile {
public:
    CMemoryFile(CMemoryFileSystem& disk, std::shared_ptr<Node> node, bool writable)
        : m_disk(disk), m_node(std::move(node)), m_writable(writable) {}

    int64_t ReadAt(int64_t offset, std::span<uint8_t> bytes) override {
        const std::lock_guard guard(m_disk.m_mutex);
        if (!m_disk.Passes(Call::Read)) return -1;
        if (offset < 0) {
            lastError = FileError::Other;
            return -1;
        }
        const auto& content = m_node->bytes;
        if (static_cast<uint64_t>(offset) >= content.size()) return 0;
        const auto start = static_cast<size_t>(offset);
        const size_t count = std::min(bytes.size(), content.size() - start);
        if (count > 0) std::memcpy(bytes.data(), content.data() + start, count);
        return static_cast<int64_t>(count);
    }

    bool WriteAt(int64_t offset, std::span<const uint8_t> bytes) override {
        const std::lock_guard guard(m_disk.m_mutex);
        if (!m_writable) return Failed(FileError::NoPermission);
        const Order* order = m_disk.FailingOrder(Call::Write);
        if (order) bytes = bytes.first(std::min(bytes.size(), order->written));
        if (offset < 0) return Failed(FileError::Other);
        if (offset > m_disk.m_largestFile - static_cast<int64_t>(bytes.size())) {
            return Failed(FileError::NoSpace);
        }
        if (!bytes.empty()) {
            const auto start = static_cast<size_t>(offset);
            auto& content = m_node->bytes;
            if (content.size() < start + bytes.size()) content.resize(start + bytes.size());
            std::memcpy(content.data() + start, bytes.data(), bytes.size());
            m_node->modified = m_disk.m_clock;
        }
        return order ? Failed(order->error) : true;
    }

    bool SetSize(int64_t size) override {
        const std::lock_guard guard(m_disk.m_mutex);
        if (!m_writable) return Failed(FileError::NoPermission);
        if (!m_disk.Passes(Call::SetSize)) return false;
        if (size < 0) return Failed(FileError::Other);
        if (size > m_disk.m_largestFile) return Failed(FileError::NoSpace);
        m_node->bytes.resize(static_cast<size_t>(size));
        m_node->modified = m_disk.m_clock;
        return true;
    }

    int64_t Size() override {
        const std::lock_guard guard(m_disk.m_mutex);
        return static_cast<int64_t>(m_node->bytes.size());
    }

    bool Sync() override {
        const std::lock_guard guard(m_disk.m_mutex);
        return m_disk.Passes(Call::Sync);
    }

private:
    CMemoryFileSystem& m_disk;
    std::shared_ptr<Node> m_node;
    bool m_writable;
};

class CMemoryFileSystem::CMemoryLock final : public CFileLock {
public:
    CMemoryLock(CMemoryFileSystem& disk, std::shared_ptr<Node> node)
        : m_disk(disk), m_node(std::move(node)) {
        m_node->locked = true;
    }
    ~CMemoryLock() override {
        const std::lock_guard guard(m_disk.m_mutex);
        m_node->locked = false;
    }

private:
    CMemoryFileSystem& m_disk;
    std::shared_ptr<Node> m_node;
};

CMemoryFileSystem::CMemoryFileSystem() : m_folders{""} {}
CMemoryFileSystem::~CMemoryFileSystem() = default;

void CMemoryFileSystem::FailNth(Call kind, int64_t nth, FileError error, Times times,
                                size_t written) {
    const std::lock_guard guard(m_mutex);
    m_orders[static_cast<size_t>(kind)] = {nth - 1, error, times, written};
    m_hasFailed = false;
}

void CMemoryFileSystem::StopFailing() {
    const std::lock_guard guard(m_mutex);
    m_orders = {};
    m_hasFailed = false;
}

bool CMemoryFileSystem::HasFailed() const {
    const std::lock_guard guard(m_mutex);
    return m_hasFailed;
}

int64_t CMemoryFileSystem::Count(Call kind) const {
    const std::lock_guard guard(m_mutex);
    return m_counts[static_cast<size_t>(kind)];
}

const CMemoryFileSystem::Order* CMemoryFileSystem::FailingOrder(Call kind) {
    const bool syncs = kind == Call::Sync || kind == Call::SyncFolder;
    const bool changes = !syncs && kind != Call::Open && kind != Call::Read && kind != Call::List &&
                         kind != Call::Lock;
    const Order* failing = nullptr;
    const auto note = [&](Call counted) {
        const auto index = static_cast<size_t>(counted);
        ++m_counts[index];
        Order& order = m_orders[index];
        if (order.callsBefore < 0) return;
        if (order.callsBefore > 0) {
            --order.callsBefore;
            return;
        }
        failing = &order;
        if (order.times == Times::Once) order.callsBefore = -1;
    };
    note(kind);
    if (changes) note(Call::AnyChange);
    if (syncs) note(Call::AnySync);
    if (changes || syncs) note(Call::AnyChangeOrSync);
    if (failing) m_hasFailed = true;
    return failing;
}

bool CMemoryFileSystem::Passes(Call kind) {
    const Order* order = FailingOrder(kind);
    return order ? Failed(order->error) : true;
}

std::vector<uint8_t>& CMemoryFileSystem::Bytes(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    const std::string key = Normalised(path);
    auto& node = m_files[key];
    if (!node) {
        node = std::make_shared<Node>();
        node->modified = m_clock;
        MakeFolders(ParentOf(key));
    }
    return node->bytes;
}

std::map<std::string, std::vector<uint8_t>> CMemoryFileSystem::Snapshot() const {
    const std::lock_guard guard(m_mutex);
    std::map<std::string, std::vector<uint8_t>> files;
    for (const auto& [path, node] : m_files) files[path] = node->bytes;
    return files;
}

void CMemoryFileSystem::Restore(const std::map<std::string, std::vector<uint8_t>>& files) {
    const std::lock_guard guard(m_mutex);
    m_files.clear();
    m_folders = {""};
    for (const auto& [path, bytes] : files) {
        auto node = std::make_shared<Node>();
        node->bytes = bytes;
        node->modified = m_clock;
        m_files[Normalised(path)] = std::move(node);
        MakeFolders(ParentOf(Normalised(path)));
    }
}

void CMemoryFileSystem::SetClock(int64_t fileTime) {
    const std::lock_guard guard(m_mutex);
    m_clock = fileTime;
}

void CMemoryFileSystem::MakeFolders(const std::string& folder) {
    for (std::string place = folder; m_folders.insert(place).second;) place = ParentOf(place);
}

std::unique_ptr<CFile> CMemoryFileSystem::Open(const std::string& path, OpenMode mode) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(mode == OpenMode::Create ? Call::Create : Call::Open)) return nullptr;
    const std::string key = Normalised(path);
    if (m_folders.contains(key)) {
        lastError = FileError::Other;
        return nullptr;
    }
    auto place = m_files.find(key);
    if (place == m_files.end()) {
        if (mode != OpenMode::Create || !m_folders.contains(ParentOf(key))) {
            lastError = FileError::NotFound;
            return nullptr;
        }
        place = m_files.emplace(key, std::make_shared<Node>()).first;
    }
    if (mode == OpenMode::Create) {
        place->second->bytes.clear();
        place->second->modified = m_clock;
    }
    return std::make_unique<CMemoryFile>(*this, place->second, mode != OpenMode::Read);
}

bool CMemoryFileSystem::Exists(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    return m_files.contains(Normalised(path));
}

bool CMemoryFileSystem::FolderExists(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    return m_folders.contains(Normalised(path));
}

bool CMemoryFileSystem::Remove(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(Call::Remove)) return false;
    return m_files.erase(Normalised(path)) == 1 ? true : Failed(FileError::NotFound);
}

bool CMemoryFileSystem::Rename(const std::string& from, const std::string& to) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(Call::Rename)) return false;
    const std::string keyFrom = Normalised(from);
    const std::string keyTo = Normalised(to);
    if (!m_folders.contains(ParentOf(keyTo))) return Failed(FileError::NotFound);
    if (m_folders.contains(keyFrom)) {
        if (m_folders.contains(keyTo) || m_files.contains(keyTo)) return Failed(FileError::Other);
        if (keyTo.starts_with(keyFrom + '/')) return Failed(FileError::Other);
        MoveFolder(keyFrom, keyTo);
        return true;
    }
    const auto place = m_files.find(keyFrom);
    if (place == m_files.end()) return Failed(FileError::NotFound);
    if (m_folders.contains(keyTo)) return Failed(FileError::Other);
    if (keyFrom == keyTo) return true;
    m_files[keyTo] = std::move(place->second);
    m_files.erase(keyFrom);
    return true;
}

void CMemoryFileSystem::MoveFolder(const std::string& from, const std::string& to) {
    const auto moved = [&](const std::string& path) { return to + path.substr(from.size()); };
    const auto isInside = [&](const std::string& path) {
        return path == from || path.starts_with(from + '/');
    };
    std::map<std::string, std::shared_ptr<Node>> files;
    for (auto& [path, node] : m_files) files[isInside(path) ? moved(path) : path] = node;
    std::set<std::string> folders;
    for (const std::string& path : m_folders) folders.insert(isInside(path) ? moved(path) : path);
    m_files.swap(files);
    m_folders.swap(folders);
}

bool CMemoryFileSystem::List(const std::string& folder, std::vector<std::string>& names) {
    const std::lock_guard guard(m_mutex);
    names.clear();
    if (!Passes(Call::List)) return false;
    const std::string key = Normalised(folder);
    if (!m_folders.contains(key)) return Failed(FileError::NotFound);
    const auto add = [&](const std::string& path) {
        if (!path.empty() && ParentOf(path) == key) {
            names.push_back(path.substr(key.empty() ? 0 : key.size() + 1));
        }
    };
    for (const auto& [path, node] : m_files) add(path);
    for (const std::string& path : m_folders) add(path);
    return true;
}

bool CMemoryFileSystem::MakeFolder(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(Call::MakeFolder)) return false;
    const std::string key = Normalised(path);
    for (std::string place = key; !place.empty(); place = ParentOf(place)) {
        if (m_files.contains(place)) return Failed(FileError::Other);
    }
    MakeFolders(key);
    return true;
}

bool CMemoryFileSystem::HasChildren(const std::string& folder) const {
    const std::string prefix = folder + '/';
    const auto file = m_files.lower_bound(prefix);
    const auto inner = m_folders.lower_bound(prefix);
    return (file != m_files.end() && file->first.starts_with(prefix)) ||
           (inner != m_folders.end() && inner->starts_with(prefix));
}

bool CMemoryFileSystem::RemoveFolder(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(Call::RemoveFolder)) return false;
    const std::string key = Normalised(path);
    if (key.empty()) return Failed(FileError::NoPermission);
    if (!m_folders.contains(key)) return Failed(FileError::NotFound);
    if (HasChildren(key)) return Failed(FileError::NotEmpty);
    m_folders.erase(key);
    return true;
}

bool CMemoryFileSystem::SyncFolder(const std::string& folder) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(Call::SyncFolder)) return false;
    return m_folders.contains(Normalised(folder)) ? true : Failed(FileError::NotFound);
}

std::unique_ptr<CFileLock> CMemoryFileSystem::Lock(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    const std::string key = Normalised(path);
    auto place = m_files.find(key);
    if (!Passes(Call::Lock)) return nullptr;
    if (place == m_files.end()) {
        if (!Passes(Call::Create)) return nullptr;
        if (!m_folders.contains(ParentOf(key)) || m_folders.contains(key)) {
            lastError = FileError::NotFound;
            return nullptr;
        }
        place = m_files.emplace(key, std::make_shared<Node>()).first;
        place->second->modified = m_clock;
    }
    if (place->second->locked) {
        lastError = FileError::Locked;
        return nullptr;
    }
    return std::make_unique<CMemoryLock>(*this, place->second);
}

int64_t CMemoryFileSystem::ModificationTime(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    const auto place = m_files.find(Normalised(path));
    return place == m_files.end() ? 0 : place->second->modified;
}

FileError CMemoryFileSystem::LastError() {
    return lastError;
}

}  // namespace quillon
