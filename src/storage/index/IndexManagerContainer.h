#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "storage/index/IndexManager.h"

namespace quillon {

struct TableDefinition;

// The indexes of one table, each under the id of its column.
//
//   Errors     false or null; nothing is shown. std::bad_alloc passes through.
//   Ownership  Owns the indexes; a pointer lives until Delete or the container's end.
//   Threads    Callers hold the lock of the table that owns the container.
class CIndexManagerContainer {
public:
    CIndexManagerContainer(CJournal& journal, std::string definitionPath);

    // An index without a file yet. A column has at most one.
    CIndexManager& Add(int64_t columnId, ColumnType type, bool attribute);
    // Null when the column has none.
    CIndexManager* Find(int64_t columnId) const;
    // Deletes the column's index with its file; true when it has none.
    [[nodiscard]] bool Delete(int64_t columnId);

    // The same for every index. Where one fails, Close goes on and the others stop.
    bool Close();
    [[nodiscard]] bool DeleteFiles();
    bool NeedsCompaction() const;
    [[nodiscard]] bool Compact();

    // Where the index of a column is made.
    std::string PathFor(int64_t columnId) const;
    // Where the definition says that it is; no name stands for the one it was made under.
    std::string PathOf(int64_t columnId, const std::string& storedName) const;
    // Whether a definition names an index of this table for every indexed column, and none twice.
    bool HasSoundNames(const TableDefinition& definition) const;
    // The highest number in the name of an index file; 0 without any.
    int64_t HighestNumber() const;
    // Paths of the indexes, by column.
    std::vector<std::string> Paths() const;

private:
    struct Item {
        int64_t columnId;
        std::unique_ptr<CIndexManager> index;
    };

    CJournal& m_journal;
    std::string m_definitionPath;
    std::vector<Item> m_items;
};

}  // namespace quillon
