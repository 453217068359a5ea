#include "support/MemoryFileSystem.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "support/DiskPaths.h"

namespace quillon {
namespace {

thread_local FileError lastError = FileError::None;

bool Failed(FileError error) {
    lastError = error;
    return false;
}

constexpr const char* kNames[] = {
    "open",     "read",   "size",   "list",        "lock",          "create", "write",
    "set size", "remove", "rename", "make folder", "remove folder", "sync",   "sync folder"};

void AddHash(uint64_t& hash, std::string_view text) {
    hash = (hash ^ std::hash<std::string_view>{}(text)) * 0x9E3779B97F4A7C15ULL;
    hash ^= hash >> 29;
}

}  // namespace

uint64_t DiskImage::Hash() const {
    uint64_t hash = files.size();
    for (const auto& [path, bytes] : files) {
        AddHash(hash, path);
        AddHash(hash, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
    for (const std::string& folder : folders) AddHash(hash, folder);
    return hash;
}

void CMemoryFileSystem::Edit::ApplyTo(quillon::Bytes& target, size_t from, size_t to) const {
    if (offset < 0) {
        target.resize(size);
        return;
    }
    if (from >= to) return;
    const auto at = static_cast<size_t>(offset);
    target.resize(std::max(target.size(), at + to));
    std::memcpy(target.data() + at + from, bytes.data() + from, to - from);
}

void CMemoryFileSystem::NameChange::ApplyTo(Entries& entries) const {
    if (!oldName.empty()) entries.erase(oldName);
    if (entry) {
        entries[name] = entry;
    } else {
        entries.erase(name);
    }
}

class CMemoryFileSystem::CMemoryFile final : public CFile {
public:
    CMemoryFile(CMemoryFileSystem& disk, std::shared_ptr<FileNode> node, std::string path,
                bool writable)
        : m_disk(disk), m_node(std::move(node)), m_path(std::move(path)), m_writable(writable) {}

    int64_t ReadAt(int64_t offset, std::span<uint8_t> bytes) override {
        const std::lock_guard guard(m_disk.m_mutex);
        if (!m_disk.Passes(Call::Read, m_path)) return -1;
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
        const std::optional<Order> order = m_disk.Failing(Call::Write, m_path);
        if (order) {
            const size_t half = bytes.size() / 2;
            bytes = bytes.first(order->written == kHalf ? half
                                                        : std::min(bytes.size(), order->written));
        }
        if (offset < 0) return Failed(FileError::Other);
        if (offset > m_disk.m_largestFile - static_cast<int64_t>(bytes.size())) {
            return Failed(FileError::NoSpace);
        }
        if (!bytes.empty()) m_disk.Write(*m_node, offset, bytes);
        return order ? Failed(order->error) : true;
    }

    bool SetSize(int64_t size) override {
        const std::lock_guard guard(m_disk.m_mutex);
        if (!m_writable) return Failed(FileError::NoPermission);
        if (!m_disk.Passes(Call::SetSize, m_path)) return false;
        if (size < 0) return Failed(FileError::Other);
        if (size > m_disk.m_largestFile) return Failed(FileError::NoSpace);
        m_disk.Resize(*m_node, static_cast<size_t>(size));
        return true;
    }

    int64_t Size() override {
        const std::lock_guard guard(m_disk.m_mutex);
        if (!m_disk.Passes(Call::Size, m_path)) return -1;
        return static_cast<int64_t>(m_node->bytes.size());
    }

    // A failed one loses for good what it was to bring to the medium: it is still read, as
    // from a system's cache, and no later sync writes it.
    bool Sync() override {
        const std::lock_guard guard(m_disk.m_mutex);
        const bool passes = m_disk.Passes(Call::Sync, m_path);
        if (passes) {
            for (const Edit& edit : m_node->edits) edit.ApplyTo(m_node->synced);
        }
        m_node->edits.clear();
        return passes;
    }

private:
    CMemoryFileSystem& m_disk;
    std::shared_ptr<FileNode> m_node;
    std::string m_path;
    bool m_writable;
};

class CMemoryFileSystem::CMemoryLock final : public CFileLock {
public:
    CMemoryLock(CMemoryFileSystem& disk, std::shared_ptr<FileNode> node)
        : m_disk(disk), m_node(std::move(node)) {
        m_node->locked = true;
    }
    ~CMemoryLock() override {
        const std::lock_guard guard(m_disk.m_mutex);
        m_node->locked = false;
    }

private:
    CMemoryFileSystem& m_disk;
    std::shared_ptr<FileNode> m_node;
};

CMemoryFileSystem::CMemoryFileSystem(bool keepsMedium)
    : m_root(std::make_shared<FolderNode>()), m_keepsMedium(keepsMedium) {}
CMemoryFileSystem::~CMemoryFileSystem() = default;

// --- failing and watching

void CMemoryFileSystem::FailNth(Call kind, int64_t nth, FileError error, Times times,
                                size_t written) {
    const std::lock_guard guard(m_mutex);
    m_orders[static_cast<size_t>(kind)] = {nth - 1, error, times, written};
    m_hasFailed = false;
    m_failedCall.clear();
}

void CMemoryFileSystem::StopFailing() {
    const std::lock_guard guard(m_mutex);
    m_orders = {};
    m_hasFailed = false;
    m_failedCall.clear();
}

bool CMemoryFileSystem::HasFailed() const {
    const std::lock_guard guard(m_mutex);
    return m_hasFailed;
}

std::string CMemoryFileSystem::FailedCall() const {
    const std::lock_guard guard(m_mutex);
    return m_failedCall;
}

int64_t CMemoryFileSystem::Count(Call kind) const {
    const std::lock_guard guard(m_mutex);
    return m_counts[static_cast<size_t>(kind)];
}

void CMemoryFileSystem::OnChange(std::function<void(const std::string& what)> observer) {
    const std::lock_guard guard(m_mutex);
    m_observer = std::move(observer);
}

std::optional<CMemoryFileSystem::Order> CMemoryFileSystem::Failing(Call kind,
                                                                   const std::string& path) {
    const bool reads = kind <= Call::Lock;
    const bool syncs = kind == Call::Sync || kind == Call::SyncFolder;
    const auto called = [&] { return std::string(kNames[static_cast<size_t>(kind)]) + ' ' + path; };
    if (!reads && m_observer && !std::exchange(m_observing, true)) {
        m_observer(called());
        m_observing = false;
    }
    std::optional<Order> failing;
    const auto note = [&](Call counted) {
        const auto index = static_cast<size_t>(counted);
        ++m_counts[index];
        Order& order = m_orders[index];
        if (order.callsBefore < 0) return;
        if (order.callsBefore > 0) {
            --order.callsBefore;
            return;
        }
        failing = order;
        if (counted == Call::Any && order.times == Times::ForEver) {
            m_orders[static_cast<size_t>(reads ? Call::AnyRead : Call::AnyChangeOrSync)] = order;
            order.callsBefore = -1;
        }
        if (order.times == Times::Once) order.callsBefore = -1;
    };
    note(kind);
    note(reads ? Call::AnyRead : syncs ? Call::AnySync : Call::AnyChange);
    if (!reads) note(Call::AnyChangeOrSync);
    note(Call::Any);
    if (!failing) return failing;
    if (!m_hasFailed) m_failedCall = called();
    m_hasFailed = true;
    return failing;
}

bool CMemoryFileSystem::Passes(Call kind, const std::string& path) {
    const std::optional<Order> order = Failing(kind, path);
    return order ? Failed(order->error) : true;
}

// --- contents

quillon::Bytes& CMemoryFileSystem::Bytes(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    const std::vector<std::string> parts = PartsOf(path);
    FolderNode* folder = m_root.get();
    for (size_t i = 0; i + 1 < parts.size(); ++i) {
        std::shared_ptr<FolderNode>& child = folder->entries[parts[i]].folder;
        if (!child) child = std::make_shared<FolderNode>();
        folder = child.get();
    }
    std::shared_ptr<FileNode>& file = folder->entries[parts.back()].file;
    if (!file) {
        file = std::make_shared<FileNode>();
        file->modified = m_clock;
    }
    return file->bytes;
}

DiskImage CMemoryFileSystem::Everything() const {
    const std::lock_guard guard(m_mutex);
    DiskImage image;
    const std::function<void(const FolderNode&, const std::string&)> add =
        [&](const FolderNode& folder, const std::string& path) {
            for (const auto& [name, entry] : folder.entries) {
                const std::string child = path.empty() ? name : path + '/' + name;
                if (entry.file) {
                    image.files[child] = entry.file->bytes;
                } else {
                    image.folders.insert(child);
                    add(*entry.folder, child);
                }
            }
        };
    add(*m_root, "");
    return image;
}

void CMemoryFileSystem::Restore(const std::map<std::string, quillon::Bytes>& files) {
    const std::lock_guard guard(m_mutex);
    m_root = std::make_shared<FolderNode>();
    for (const auto& [path, bytes] : files) Bytes(path) = bytes;
    if (m_keepsMedium) Settle(*m_root);
}

void CMemoryFileSystem::Restore(const DiskImage& image) {
    const std::lock_guard guard(m_mutex);
    Restore(image.files);
    for (const std::string& folder : image.folders) (void)MakeFolder(folder);
    if (m_keepsMedium) Settle(*m_root);
}

void CMemoryFileSystem::Settle(FolderNode& folder) {
    folder.synced = folder.entries;
    folder.pending.clear();
    for (const auto& [name, entry] : folder.entries) {
        if (entry.folder) {
            Settle(*entry.folder);
        } else {
            entry.file->synced = entry.file->bytes;
            entry.file->edits.clear();
        }
    }
}

void CMemoryFileSystem::SetClock(int64_t fileTime) {
    const std::lock_guard guard(m_mutex);
    m_clock = fileTime;
}

CMemoryFileSystem::Place CMemoryFileSystem::Find(const std::string& path) const {
    Place place{nullptr, {}, {nullptr, m_root}};
    for (std::string& part : PartsOf(path)) {
        place.parent = place.entry.folder.get();
        place.name = std::move(part);
        const Entries none;
        const Entries& entries = place.parent ? place.parent->entries : none;
        const auto found = entries.find(place.name);
        place.entry = found == entries.end() ? Entry{} : found->second;
    }
    return place;
}

void CMemoryFileSystem::Write(FileNode& node, int64_t offset, std::span<const uint8_t> bytes) {
    const auto start = static_cast<size_t>(offset);
    if (node.bytes.size() < start + bytes.size()) node.bytes.resize(start + bytes.size());
    std::memcpy(node.bytes.data() + start, bytes.data(), bytes.size());
    node.modified = m_clock;
    if (m_keepsMedium) {
        node.edits.push_back({offset, 0, {bytes.begin(), bytes.end()}, m_nextEdit++});
    }
}

void CMemoryFileSystem::Resize(FileNode& node, size_t size) {
    node.bytes.resize(size);
    node.modified = m_clock;
    if (m_keepsMedium) node.edits.push_back({-1, size, {}, m_nextEdit++});
}

void CMemoryFileSystem::ChangeName(FolderNode& folder, NameChange change) const {
    change.ApplyTo(folder.entries);
    if (m_keepsMedium) folder.pending.push_back(std::move(change));
}

std::shared_ptr<CMemoryFileSystem::FileNode> CMemoryFileSystem::MakeFile(const Place& place) {
    auto file = std::make_shared<FileNode>();
    file->modified = m_clock;
    ChangeName(*place.parent, {place.name, {file, nullptr}});
    return file;
}

// --- CFileSystem

std::unique_ptr<CFile> CMemoryFileSystem::Open(const std::string& path, OpenMode mode) {
    const std::lock_guard guard(m_mutex);
    const bool creates = mode == OpenMode::Create;
    if (!Passes(creates ? Call::Create : Call::Open, path)) return nullptr;
    const Place place = Find(path);
    std::shared_ptr<FileNode> file = place.entry.file;
    if (place.entry.folder || (!file && (!creates || !place.parent))) {
        lastError = place.entry.folder ? FileError::Other : FileError::NotFound;
        return nullptr;
    }
    if (!file) {
        file = MakeFile(place);
    } else if (creates && !file->bytes.empty()) {
        Resize(*file, 0);
    }
    if (creates) file->modified = m_clock;
    return std::make_unique<CMemoryFile>(*this, file, path, mode != OpenMode::Read);
}

bool CMemoryFileSystem::Exists(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    return Find(path).entry.file != nullptr;
}

bool CMemoryFileSystem::FolderExists(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    return FindFolder(path) != nullptr;
}

bool CMemoryFileSystem::Remove(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(Call::Remove, path)) return false;
    const Place place = Find(path);
    if (!place.entry.file) return Failed(FileError::NotFound);
    ChangeName(*place.parent, {place.name, {}});
    return true;
}

bool CMemoryFileSystem::Rename(const std::string& from, const std::string& to) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(Call::Rename, from)) return false;
    const Place source = Find(from);
    const Place target = Find(to);
    if (!source.entry || !source.parent || !target.parent) return Failed(FileError::NotFound);
    const bool isIntoItself = Normalised(to).starts_with(Normalised(from) + '/');
    if (target.entry.folder || (source.entry.folder && (target.entry || isIntoItself))) {
        return Failed(FileError::Other);
    }
    if (source.entry.file == target.entry.file && source.entry.file) return true;
    if (source.parent == target.parent) {
        ChangeName(*target.parent, {target.name, source.entry, source.name});
    } else {
        ChangeName(*target.parent, {target.name, source.entry});
        ChangeName(*source.parent, {source.name, {}});
    }
    return true;
}

bool CMemoryFileSystem::List(const std::string& path, std::vector<std::string>& names) {
    const std::lock_guard guard(m_mutex);
    names.clear();
    if (!Passes(Call::List, path)) return false;
    const FolderNode* folder = FindFolder(path);
    if (!folder) return Failed(FileError::NotFound);
    for (const auto& entry : folder->entries) names.push_back(entry.first);
    return true;
}

bool CMemoryFileSystem::MakeFolder(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(Call::MakeFolder, path)) return false;
    FolderNode* folder = m_root.get();
    for (const std::string& part : PartsOf(path)) {
        const Entry child = folder->entries[part];
        if (child.file) return Failed(FileError::Other);
        if (!child) ChangeName(*folder, {part, {nullptr, std::make_shared<FolderNode>()}});
        folder = folder->entries[part].folder.get();
    }
    return true;
}

bool CMemoryFileSystem::RemoveFolder(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(Call::RemoveFolder, path)) return false;
    const Place place = Find(path);
    if (place.entry.folder == m_root) return Failed(FileError::NoPermission);
    if (!place.entry.folder) return Failed(FileError::NotFound);
    if (!place.entry.folder->entries.empty()) return Failed(FileError::NotEmpty);
    ChangeName(*place.parent, {place.name, {}});
    return true;
}

bool CMemoryFileSystem::SyncFolder(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(Call::SyncFolder, path)) return false;
    FolderNode* folder = FindFolder(path);
    if (!folder) return Failed(FileError::NotFound);
    if (m_keepsMedium) folder->synced = folder->entries;
    folder->pending.clear();
    return true;
}

std::unique_ptr<CFileLock> CMemoryFileSystem::Lock(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    if (!Passes(Call::Lock, path)) return nullptr;
    const Place place = Find(path);
    std::shared_ptr<FileNode> file = place.entry.file;
    if (!file) {
        if (!Passes(Call::Create, path)) return nullptr;
        if (!place.parent || place.entry.folder) {
            lastError = FileError::NotFound;
            return nullptr;
        }
        file = MakeFile(place);
    }
    if (file->locked) {
        lastError = FileError::Locked;
        return nullptr;
    }
    return std::make_unique<CMemoryLock>(*this, file);
}

int64_t CMemoryFileSystem::ModificationTime(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    const Entry entry = Find(path).entry;
    return entry.file ? entry.file->modified : 0;
}

FileError CMemoryFileSystem::LastError() {
    return lastError;
}

}  // namespace quillon
