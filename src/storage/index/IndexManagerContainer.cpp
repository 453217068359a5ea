#include "storage/index/IndexManagerContainer.h"

#include <algorithm>
#include <set>
#include <utility>

#include "foundation/FileSystem.h"
#include "storage/database/DatabaseFiles.h"
#include "storage/tables/TableDefinition.h"

namespace quillon {

CIndexManagerContainer::CIndexManagerContainer(CJournal& journal, std::string definitionPath)
    : m_journal(journal), m_definitionPath(std::move(definitionPath)) {}

CIndexManager& CIndexManagerContainer::Add(int64_t columnId, ColumnType type, bool attribute) {
    m_items.push_back({columnId, std::make_unique<CIndexManager>(m_journal, type, attribute)});
    return *m_items.back().index;
}

CIndexManager* CIndexManagerContainer::Find(int64_t columnId) const {
    for (const Item& item : m_items) {
        if (item.columnId == columnId) return item.index.get();
    }
    return nullptr;
}

bool CIndexManagerContainer::Delete(int64_t columnId) {
    const auto found = std::find_if(m_items.begin(), m_items.end(),
                                    [&](const Item& item) { return item.columnId == columnId; });
    if (found == m_items.end()) return true;
    if (!found->index->DeleteFile()) return false;
    m_items.erase(found);
    return true;
}

bool CIndexManagerContainer::Close() {
    bool closed = true;
    for (const Item& item : m_items) closed = item.index->Close() && closed;
    return closed;
}

bool CIndexManagerContainer::DeleteFiles() {
    return std::all_of(m_items.begin(), m_items.end(),
                       [](const Item& item) { return item.index->DeleteFile(); });
}

bool CIndexManagerContainer::NeedsCompaction() const {
    return std::any_of(m_items.begin(), m_items.end(),
                       [](const Item& item) { return item.index->NeedsCompaction(); });
}

bool CIndexManagerContainer::Compact() {
    return std::all_of(m_items.begin(), m_items.end(), [](const Item& item) {
        return !item.index->NeedsCompaction() || item.index->Compact();
    });
}

std::string CIndexManagerContainer::PathFor(int64_t columnId) const {
    return IndexPath(m_definitionPath, columnId);
}

std::string CIndexManagerContainer::PathOf(int64_t columnId, const std::string& storedName) const {
    return storedName.empty() ? PathFor(columnId) : FolderOf(m_definitionPath) + storedName;
}

// An index that cannot be read is made anew over whatever bears its name, so a definition may
// name nothing but an index of its own table.
bool CIndexManagerContainer::HasSoundNames(const TableDefinition& definition) const {
    std::set<std::string> names;
    for (size_t i = 0; i < definition.columns.size(); ++i) {
        const ColumnDefinition& column = definition.columns[i];
        if (!column.indexed) continue;
        const std::string& file = column.indexFile;
        if (!file.empty() && !IsIndexNameOf(m_definitionPath, file)) return false;
        const std::string path = PathOf(static_cast<int64_t>(i) + 1, file);
        if (!names.insert(FileNameOf(path)).second) return false;
    }
    return true;
}

int64_t CIndexManagerContainer::HighestNumber() const {
    int64_t highest = 0;
    for (const Item& item : m_items) {
        highest = std::max(highest, IndexNumberOf(item.index->Path()));
    }
    return highest;
}

std::vector<std::string> CIndexManagerContainer::Paths() const {
    std::vector<std::string> paths;
    for (const Item& item : m_items) paths.push_back(item.index->Path());
    return paths;
}

}  // namespace quillon
