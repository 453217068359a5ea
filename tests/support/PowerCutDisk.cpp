#include "support/PowerCutDisk.h"

#include <algorithm>
#include <functional>
#include <random>
#include <string_view>
#include <utility>

#include "support/DiskPaths.h"

namespace quillon {
namespace {

constexpr size_t kSector = 512;

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

// A write, or a new size.
struct CPowerCutDisk::Edit {
    int64_t offset = -1;  // -1: a new size
    size_t size = 0;
    Bytes bytes;
    int64_t number = 0;  // in the order of all writes of the disk

    void ApplyTo(Bytes& target) const { ApplyTo(target, 0, bytes.size()); }
    // Only the bytes from `from` to `to` reach the medium.
    void ApplyTo(Bytes& target, size_t from, size_t to) const {
        if (offset < 0) {
            target.resize(size);
            return;
        }
        if (from >= to) return;
        const auto at = static_cast<size_t>(offset);
        target.resize(std::max(target.size(), at + to));
        std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                  bytes.begin() + static_cast<std::ptrdiff_t>(to),
                  target.begin() + static_cast<std::ptrdiff_t>(at + from));
    }
};

struct CPowerCutDisk::FileNode {
    Bytes bytes;
    Bytes synced;
    std::vector<Edit> edits;  // since the last sync
    bool locked = false;
};

struct CPowerCutDisk::Entry {
    std::shared_ptr<FileNode> file;
    std::shared_ptr<FolderNode> folder;
    explicit operator bool() const { return file || folder; }
};

struct CPowerCutDisk::NameChange {
    std::string name;
    Entry entry;               // none: the name goes
    std::string oldName = {};  // goes at the same time

    void ApplyTo(std::map<std::string, Entry>& entries) const {
        if (!oldName.empty()) entries.erase(oldName);
        if (entry) {
            entries[name] = entry;
        } else {
            entries.erase(name);
        }
    }
};

struct CPowerCutDisk::FolderNode {
    std::map<std::string, Entry> entries;
    std::map<std::string, Entry> synced;
    std::vector<NameChange> pending;  // since the last sync
};

// What of the unsynced changes reaches the medium.
struct CPowerCutDisk::Survival {
    enum class Growth { AsWritten, Zeros, Rubbish };

    bool edits = true;               // those that are not among the following
    std::set<int64_t> otherEdits{};  // numbers of edits that fare otherwise
    int64_t tornEdit = -1;           // of which `tornFrom` to `tornTo` survive
    size_t tornFrom = 0;
    size_t tornTo = 0;
    Growth growth = Growth::AsWritten;
    size_t names = SIZE_MAX;                  // so many of each folder's changes of names
    const FolderNode* otherFolder = nullptr;  // of which `otherNames` survive
    size_t otherNames = 0;

    Bytes Of(const FileNode& node) const {
        Bytes bytes = node.synced;
        for (const Edit& edit : node.edits) {
            if (edit.number == tornEdit) {
                edit.ApplyTo(bytes, tornFrom, tornTo);
            } else if (edits != otherEdits.contains(edit.number)) {
                edit.ApplyTo(bytes);
            }
        }
        if (growth != Growth::AsWritten && !node.edits.empty()) {
            for (size_t i = node.synced.size(); i < bytes.size(); ++i) {
                bytes[i] = growth == Growth::Zeros ? uint8_t{0} : static_cast<uint8_t>(i * 151 + 7);
            }
        }
        return bytes;
    }

    void Add(const FolderNode& folder, const std::string& path, DiskImage& image) const {
        auto entries = folder.synced;
        const size_t kept =
            std::min(folder.pending.size(), &folder == otherFolder ? otherNames : names);
        for (size_t i = 0; i < kept; ++i) folder.pending[i].ApplyTo(entries);
        for (const auto& [name, entry] : entries) {
            const std::string child = path.empty() ? name : path + '/' + name;
            if (entry.file) {
                image.files[child] = Of(*entry.file);
            } else {
                image.folders.insert(child);
                Add(*entry.folder, child, image);
            }
        }
    }
};

// Goes through the disks that one cut may leave.
class CPowerCutDisk::CCutter {
public:
    CCutter(const FolderNode& root, const CutPlan& plan, const Visitor& visit)
        : m_root(root), m_plan(plan), m_visit(visit), m_random(plan.seed) {
        std::set<const void*> seen;
        Collect(root, seen);
        std::sort(m_edits.begin(), m_edits.end(),
                  [](const Edit* a, const Edit* b) { return a->number < b->number; });
    }

    void Run() {
        Visit({}, "everything");
        Visit({.edits = false, .names = 0}, "nothing unsynced");
        Visit({.edits = false}, "names without contents");
        Visit({.names = 0}, "contents without names");
        Visit({.growth = Survival::Growth::Zeros}, "growth as zeros");
        Visit({.growth = Survival::Growth::Rubbish}, "growth as rubbish");
        LostEdits();
        TornEdit();
        PartOfNames();
        Subsets();
    }

private:
    void Collect(const FolderNode& folder, std::set<const void*>& seen) {
        if (!seen.insert(&folder).second) return;
        if (!folder.pending.empty()) m_folders.push_back(&folder);
        const auto note = [&](const Entry& entry) {
            if (entry.folder) Collect(*entry.folder, seen);
            if (!entry.file || !seen.insert(entry.file.get()).second) return;
            for (const Edit& edit : entry.file->edits) m_edits.push_back(&edit);
        };
        for (const auto* entries : {&folder.synced, &folder.entries}) {
            for (const auto& entry : *entries) note(entry.second);
        }
        for (const NameChange& change : folder.pending) note(change.entry);
    }

    void Visit(const Survival& survival, const std::string& what) {
        DiskImage image;
        survival.Add(m_root, "", image);
        m_visit(image, what);
    }

    // `count` steps, or as many as the plan wants, from both ends and evenly in between.
    template <typename Step>
    void Steps(size_t count, Step step) {
        const size_t most = std::min(count, m_plan.mostSteps);
        for (size_t i = 0; i < most; ++i) {
            step(most == count || most < 2 ? count - 1 - i : i * (count - 1) / (most - 1));
        }
    }

    void LostEdits() {
        if (m_edits.size() < 2) return;
        Steps(m_edits.size(), [&](size_t i) {
            Visit({.otherEdits = {m_edits[i]->number}}, "write " + std::to_string(i) + " lost");
        });
    }

    void TornEdit() {
        if (m_edits.empty() || m_edits.back()->offset < 0) return;
        const Edit& last = *m_edits.back();
        // Steps are those of the file: a sector is written whole.
        const size_t first = kSector - static_cast<size_t>(last.offset) % kSector;
        if (first >= last.bytes.size()) return;
        const size_t count = (last.bytes.size() - first + kSector - 1) / kSector;
        constexpr size_t kMostTears = 64;
        const size_t most = std::min(count, kMostTears);
        Steps(most, [&](size_t i) {
            const size_t sectors = most < 2 ? 0 : i * (count - 1) / (most - 1);
            const size_t cut = first + sectors * kSector;
            Visit({.tornEdit = last.number, .tornTo = cut},
                  "last write cut at " + std::to_string(cut));
            Visit({.tornEdit = last.number, .tornFrom = cut, .tornTo = last.bytes.size()},
                  "last write from " + std::to_string(cut));
        });
    }

    void PartOfNames() {
        for (const FolderNode* folder : m_folders) {
            Steps(folder->pending.size(), [&](size_t kept) {
                const std::string what = std::to_string(kept) + " changes of names";
                Visit({.otherFolder = folder, .otherNames = kept}, what);
                Visit({.edits = false, .otherFolder = folder, .otherNames = kept},
                      what + ", no contents");
            });
        }
    }

    void Subsets() {
        constexpr size_t kFew = 10;
        const size_t edits = m_edits.size();
        if (edits < 2) return;
        if (edits <= kFew && m_plan.everySubset) {
            for (uint64_t mask = 1; mask + 1 < uint64_t{1} << edits; ++mask) Subset(mask, SIZE_MAX);
            return;
        }
        for (size_t i = 0; i < m_plan.subsets; ++i) {
            Survival survival{.edits = false};
            for (const Edit* edit : m_edits) {
                if (m_random() % 2 == 0) survival.otherEdits.insert(edit->number);
            }
            survival.names = m_random() % 4 == 0 ? m_random() % 4 : SIZE_MAX;
            Visit(survival, "subset " + std::to_string(i));
        }
    }

    void Subset(uint64_t mask, size_t names) {
        Survival survival{.edits = false, .names = names};
        for (size_t i = 0; i < m_edits.size(); ++i) {
            if ((mask >> i & 1) != 0) survival.otherEdits.insert(m_edits[i]->number);
        }
        Visit(survival, "writes by mask " + std::to_string(mask));
    }

    const FolderNode& m_root;
    const CutPlan& m_plan;
    const Visitor& m_visit;
    std::mt19937_64 m_random;
    std::vector<const Edit*> m_edits;
    std::vector<const FolderNode*> m_folders;  // with changes of names
};

class CPowerCutDisk::CDiskFile final : public CFile {
public:
    CDiskFile(CPowerCutDisk& disk, std::shared_ptr<FileNode> node, std::string path, bool writable)
        : m_disk(disk), m_node(std::move(node)), m_path(std::move(path)), m_writable(writable) {}

    int64_t ReadAt(int64_t offset, std::span<uint8_t> bytes) override {
        if (!m_disk.Passes(Kind::Read, "read", m_path) || offset < 0) return -1;
        const Bytes& all = m_node->bytes;
        if (static_cast<size_t>(offset) >= all.size()) return 0;
        const size_t count = std::min(bytes.size(), all.size() - static_cast<size_t>(offset));
        std::copy_n(all.begin() + offset, count, bytes.begin());
        return static_cast<int64_t>(count);
    }

    bool WriteAt(int64_t offset, std::span<const uint8_t> bytes) override {
        if (!m_writable || offset < 0) return m_disk.Refuse(FileError::NoPermission);
        const bool passes = m_disk.Passes(Kind::Change, "write", m_path);
        if (!passes && !m_disk.m_failure.halfDone) return false;
        if (!passes) bytes = bytes.first(bytes.size() / 2);
        if (!bytes.empty()) {
            m_disk.Change(*m_node, {.offset = offset, .bytes = Bytes(bytes.begin(), bytes.end())});
        }
        return passes;
    }

    bool SetSize(int64_t size) override {
        if (!m_writable || size < 0) return m_disk.Refuse(FileError::NoPermission);
        if (!m_disk.Passes(Kind::Change, "set size", m_path)) return false;
        m_disk.Change(*m_node, {.size = static_cast<size_t>(size), .bytes = {}});
        return true;
    }

    int64_t Size() override {
        if (!m_disk.Passes(Kind::Read, "size", m_path)) return -1;
        return static_cast<int64_t>(m_node->bytes.size());
    }

    bool Sync() override {
        if (!m_disk.Passes(Kind::Sync, "sync", m_path)) {
            m_node->edits.clear();
            return false;
        }
        for (const Edit& edit : m_node->edits) edit.ApplyTo(m_node->synced);
        m_node->edits.clear();
        return true;
    }

private:
    CPowerCutDisk& m_disk;
    std::shared_ptr<FileNode> m_node;
    std::string m_path;
    bool m_writable;
};

class CPowerCutDisk::CDiskLock final : public CFileLock {
public:
    explicit CDiskLock(std::shared_ptr<FileNode> node) : m_node(std::move(node)) {
        m_node->locked = true;
    }
    ~CDiskLock() override { m_node->locked = false; }

private:
    std::shared_ptr<FileNode> m_node;
};

CPowerCutDisk::CPowerCutDisk() : m_root(std::make_shared<FolderNode>()) {}
CPowerCutDisk::~CPowerCutDisk() = default;

CPowerCutDisk::CPowerCutDisk(const DiskImage& image) : CPowerCutDisk() {
    const auto add = [&](const std::string& path, Entry entry) {
        FolderNode* folder = m_root.get();
        const std::vector<std::string> parts = PartsOf(path);
        for (size_t i = 0; i + 1 < parts.size(); ++i) {
            Entry& child = folder->entries[parts[i]];
            if (!child.folder) child.folder = std::make_shared<FolderNode>();
            folder->synced[parts[i]] = child;
            folder = child.folder.get();
        }
        Entry& last = folder->entries[parts.back()];
        if (!last) last = std::move(entry);
        folder->synced[parts.back()] = last;
    };
    for (const std::string& path : image.folders) {
        add(path, {nullptr, std::make_shared<FolderNode>()});
    }
    for (const auto& [path, bytes] : image.files) {
        auto node = std::make_shared<FileNode>();
        node->bytes = node->synced = bytes;
        add(path, {std::move(node), nullptr});
    }
}

DiskImage CPowerCutDisk::Everything() const {
    DiskImage image;
    // What is read, also where a failed sync has lost it for the medium.
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

void CPowerCutDisk::ForEachCut(const CutPlan& plan, const Visitor& visit) const {
    CCutter(*m_root, plan, visit).Run();
}

void CPowerCutDisk::FailAt(const Failure& failure) {
    m_failure = failure;
    m_calls = 0;
    m_hasFailed = m_hasFailedToSync = false;
    m_failedCall.clear();
}

bool CPowerCutDisk::Refuse(FileError error) {
    m_lastError = error;
    return false;
}

bool CPowerCutDisk::IsToFail(Kind kind, const std::string& call) {
    if (m_failure.at == 0) return false;
    ++m_calls;
    if (m_calls < m_failure.at) return false;
    if (m_hasFailed && !m_failure.forEver) return false;
    if (m_hasFailed && (kind == Kind::Read) != (m_failedKind == Kind::Read)) return false;
    if (!m_hasFailed) {
        m_failedCall = call;
        m_failedKind = kind;
    }
    m_hasFailed = true;
    m_hasFailedToSync = m_hasFailedToSync || kind == Kind::Sync;
    return true;
}

bool CPowerCutDisk::Passes(Kind kind, const char* call, const std::string& path) {
    const std::string what = std::string(call) + ' ' + path;
    if (kind != Kind::Read && m_observer && !std::exchange(m_observing, true)) {
        m_observer(what);
        m_observing = false;
    }
    return IsToFail(kind, what) ? Refuse(m_failure.error) : true;
}

CPowerCutDisk::FolderNode* CPowerCutDisk::FindFolder(const std::string& path) const {
    FolderNode* folder = m_root.get();
    for (const std::string& part : PartsOf(path)) {
        const auto found = folder->entries.find(part);
        if (found == folder->entries.end() || !found->second.folder) return nullptr;
        folder = found->second.folder.get();
    }
    return folder;
}

CPowerCutDisk::FolderNode* CPowerCutDisk::ParentOf(const std::string& path,
                                                   std::string& name) const {
    const std::string normalised = Normalised(path);
    const size_t slash = normalised.rfind('/');
    name = slash == std::string::npos ? normalised : normalised.substr(slash + 1);
    return FindFolder(slash == std::string::npos ? std::string() : normalised.substr(0, slash));
}

CPowerCutDisk::Entry CPowerCutDisk::Find(const std::string& path) const {
    std::string name;
    const FolderNode* folder = ParentOf(path, name);
    if (!folder) return {};
    const auto found = folder->entries.find(name);
    return found == folder->entries.end() ? Entry{} : found->second;
}

void CPowerCutDisk::Change(FileNode& node, Edit edit) {
    edit.number = m_nextEdit++;
    edit.ApplyTo(node.bytes);
    node.edits.push_back(std::move(edit));
}

void CPowerCutDisk::ChangeName(FolderNode& folder, NameChange change) {
    change.ApplyTo(folder.entries);
    folder.pending.push_back(std::move(change));
}

std::shared_ptr<CPowerCutDisk::FileNode> CPowerCutDisk::MakeFile(const std::string& path) {
    std::string name;
    FolderNode* folder = ParentOf(path, name);
    if (!folder) {
        (void)Refuse(FileError::NotFound);
        return nullptr;
    }
    auto file = std::make_shared<FileNode>();
    ChangeName(*folder, {name, {file, nullptr}});
    return file;
}

std::unique_ptr<CFile> CPowerCutDisk::Open(const std::string& path, OpenMode mode) {
    const bool creates = mode == OpenMode::Create;
    if (!Passes(creates ? Kind::Change : Kind::Read, creates ? "create" : "open", path)) {
        return nullptr;
    }
    Entry entry = Find(path);
    if (entry.folder || (!entry.file && !creates)) {
        (void)Refuse(entry.folder ? FileError::Other : FileError::NotFound);
        return nullptr;
    }
    if (!entry.file) {
        entry.file = MakeFile(path);
        if (!entry.file) return nullptr;
    } else if (creates && !entry.file->bytes.empty()) {
        Change(*entry.file, {.size = 0, .bytes = {}});
    }
    return std::make_unique<CDiskFile>(*this, entry.file, path, mode != OpenMode::Read);
}

bool CPowerCutDisk::Exists(const std::string& path) {
    return Find(path).file != nullptr;
}

bool CPowerCutDisk::FolderExists(const std::string& path) {
    return FindFolder(path) != nullptr;
}

bool CPowerCutDisk::Remove(const std::string& path) {
    if (!Find(path).file) return Refuse(FileError::NotFound);
    if (!Passes(Kind::Change, "remove", path)) return false;
    std::string name;
    FolderNode* folder = ParentOf(path, name);
    ChangeName(*folder, {name, {}});
    return true;
}

bool CPowerCutDisk::Rename(const std::string& from, const std::string& to) {
    const Entry entry = Find(from);
    std::string oldName;
    std::string newName;
    FolderNode* folder = ParentOf(from, oldName);
    // Nothing moves a file from one folder to another.
    if (!entry || folder != ParentOf(to, newName)) return Refuse(FileError::NotFound);
    const Entry inTheWay = Find(to);
    if (inTheWay.folder || (entry.folder && inTheWay)) return Refuse(FileError::Other);
    if (!Passes(Kind::Change, "rename", from)) return false;
    ChangeName(*folder, {newName, entry, oldName});
    return true;
}

bool CPowerCutDisk::List(const std::string& path, std::vector<std::string>& names) {
    names.clear();
    if (!Passes(Kind::Read, "list", path)) return false;
    const FolderNode* folder = FindFolder(path);
    if (!folder) return Refuse(FileError::NotFound);
    for (const auto& entry : folder->entries) names.push_back(entry.first);
    return true;
}

bool CPowerCutDisk::MakeFolder(const std::string& path) {
    if (FindFolder(path)) return true;
    std::string name;
    FolderNode* folder = ParentOf(path, name);
    if (!folder) return Refuse(FileError::NotFound);
    if (!Passes(Kind::Change, "make folder", path)) return false;
    ChangeName(*folder, {name, {nullptr, std::make_shared<FolderNode>()}});
    return true;
}

bool CPowerCutDisk::RemoveFolder(const std::string& path) {
    const FolderNode* victim = FindFolder(path);
    if (!victim) return Refuse(FileError::NotFound);
    if (!victim->entries.empty()) return Refuse(FileError::NotEmpty);
    if (!Passes(Kind::Change, "remove folder", path)) return false;
    std::string name;
    FolderNode* folder = ParentOf(path, name);
    ChangeName(*folder, {name, {}});
    return true;
}

bool CPowerCutDisk::SyncFolder(const std::string& path) {
    FolderNode* folder = FindFolder(path);
    if (!folder) return Refuse(FileError::NotFound);
    if (!Passes(Kind::Sync, "sync folder", path)) return false;
    folder->synced = folder->entries;
    folder->pending.clear();
    return true;
}

std::unique_ptr<CFileLock> CPowerCutDisk::Lock(const std::string& path) {
    Entry entry = Find(path);
    if (!Passes(entry.file ? Kind::Read : Kind::Change, "lock", path)) return nullptr;
    if (!entry.file) entry.file = MakeFile(path);
    if (!entry.file) return nullptr;
    if (entry.file->locked) {
        (void)Refuse(FileError::Locked);
        return nullptr;
    }
    return std::make_unique<CDiskLock>(entry.file);
}

int64_t CPowerCutDisk::ModificationTime(const std::string& path) {
    return Exists(path) ? 133'000'000'000'000'000 : 0;
}

}  // namespace quillon
