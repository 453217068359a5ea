#include "support/PowerCutDisk.h"

#include <algorithm>
#include <random>

namespace quillon {
namespace {

constexpr size_t kSector = 512;

}  // namespace

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

    quillon::Bytes Of(const FileNode& node) const {
        quillon::Bytes bytes = node.synced;
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

CPowerCutDisk::CPowerCutDisk() : CMemoryFileSystem(true) {}

CPowerCutDisk::CPowerCutDisk(const DiskImage& image) : CPowerCutDisk() {
    Restore(image);
}

// Copies files and folders, each once, under all of their names.
class CPowerCutDisk::CCopier {
public:
    std::shared_ptr<FolderNode> Copy(const std::shared_ptr<FolderNode>& folder) {
        std::shared_ptr<FolderNode>& place = m_folders[folder.get()];
        if (place) return place;
        const auto copy = place = std::make_shared<FolderNode>();
        for (const auto& [name, entry] : folder->entries) copy->entries[name] = Copy(entry);
        for (const auto& [name, entry] : folder->synced) copy->synced[name] = Copy(entry);
        for (const NameChange& change : folder->pending) {
            copy->pending.push_back({change.name, Copy(change.entry), change.oldName});
        }
        return copy;
    }

private:
    Entry Copy(const Entry& entry) {
        if (entry.folder) return {nullptr, Copy(entry.folder)};
        if (!entry.file) return {};
        std::shared_ptr<FileNode>& copy = m_files[entry.file.get()];
        if (!copy) {
            copy = std::make_shared<FileNode>(*entry.file);
            copy->locked = false;
        }
        return {copy, nullptr};
    }

    std::map<const FileNode*, std::shared_ptr<FileNode>> m_files;
    std::map<const FolderNode*, std::shared_ptr<FolderNode>> m_folders;
};

std::unique_ptr<CPowerCutDisk> CPowerCutDisk::AfterKill() const {
    auto disk = std::make_unique<CPowerCutDisk>();
    disk->m_root = CCopier().Copy(m_root);
    disk->m_nextEdit = m_nextEdit;
    return disk;
}

void CPowerCutDisk::ForEachCut(const CutPlan& plan, const Visitor& visit) const {
    const std::lock_guard guard(m_mutex);
    CCutter(*m_root, plan, visit).Run();
}

}  // namespace quillon
