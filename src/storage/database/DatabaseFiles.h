// Which files a database has and what they are called: the one place that knows.
//
//   DatabaseSchema.dat                                      the list of tables
//   DatabaseSchema_blobdict.dat, DatabaseSchema_blobdata.dat  BLOBs
//   Table_N.dat                                             a table's columns
//   Table_N_dict.dat, Table_N_data.dat                      its rows
//   Table_N_textdict.dat, Table_N_textdata.dat              its texts
//   Table_N_index_C.dat                                     the index of a column
//   ..._del.dat                                             free list of a data file
//   History.dat                                             what was done, to take it back
//   Database.lock, Journal.dat, Journal.damaged.N, Checksums.dat
//   Restore.mark                                            while a restore goes on
//   ....dat_tmp, ....new                                    a copy that is not finished
//
// Names of stores come from the name of their owner's file by a suffix in front of the extension;
// what takes a `base` takes that file's name or path, and gives a name or path alike.
//
//   Errors  std::bad_alloc.
//   Format  What the files hold: docs/file-formats.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

inline constexpr const char* kSchemaName = "DatabaseSchema.dat";
// The lock that whoever opens or replaces a database holds; it stays in the folder.
inline constexpr const char* kDatabaseLockName = "Database.lock";
inline constexpr const char* kJournalName = "Journal.dat";
inline constexpr const char* kChecksumsName = "Checksums.dat";
inline constexpr const char* kHistoryName = "History.dat";
// Tells what a folder is while a restore replaces it; see RestoreFolders.h.
inline constexpr const char* kRestoreMarkName = "Restore.mark";
// In a folder that a backup was taken out into for a look: it may be removed at any time.
inline constexpr const char* kLookMarkName = "Look.mark";

// Without the zero that ends it in the files that hold such names.
inline constexpr size_t kLongestFileName = 119;

// A dictionary and the data file beside it.
struct BlockFiles {
    const char* dictionarySuffix;
    const char* dataSuffix;

    std::string Dictionary(const std::string& base) const;
    std::string Data(const std::string& base) const;
};
inline constexpr BlockFiles kRowFiles{"_dict", "_data"};
inline constexpr BlockFiles kTextFiles{"_textdict", "_textdata"};
inline constexpr BlockFiles kBlobFiles{"_blobdict", "_blobdata"};

// Of a table's definition, without folder; its other files' names come from it.
std::string TableFileName(int32_t number);
// "" when `dataPath` has no extension: such a store keeps its free list in memory alone.
std::string FreeListPath(const std::string& dataPath);
// A copy of a data file, about to take its place.
std::string CopyPath(const std::string& dataPath);
// Where a damaged journal is kept; numbered from 1.
std::string SetAsideJournalName(int number);

std::string IndexPath(const std::string& base, int64_t number);
bool IsIndexName(std::string_view name);
// Whether `name` (without folder) is that of an index of the table with that definition.
bool IsIndexNameOf(const std::string& base, std::string_view name);
// The number in an index's name; 0 when it holds none.
int64_t IndexNumberOf(const std::string& path);

// True for the names a database gives the files that make it up, which backups hold and
// Checksums.dat covers: "History.dat"; or "DatabaseSchema" or "Table_" and a number, nothing or
// "_" with lower-case letters, digits and "_", and ".dat". So no such name leaves its folder,
// means a device, or differs from another by case only.
bool IsDatabaseFileName(std::string_view name);
// True for the names above, the lock's, the restore mark's, the checksums' and the journal's,
// kept-aside ones included, and each of them with the ending of an unfinished copy: everything
// that the program itself ever puts into a database folder.
bool BelongsToDatabaseFolder(std::string_view name);

}  // namespace quillon
