#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "FaultsDatabase.h"
#include "StoreContent.h"
#include "finance/QuillonDatabaseInterface.h"
#include "storage/DatabaseManager.h"
#include "support/MemoryFileSystem.h"

namespace quillon {

// What a program does with a record store, for the machine that takes its memory away.

using DiskFiles = std::map<std::string, std::vector<uint8_t>>;

// One program with its disk.
struct World {
    explicit World(const DiskFiles& files);

    CMemoryFileSystem memory;
    CBoundedFiles disk{memory};  // the disk is the machine, not the program
    CDatabaseManager store{disk};
    CQuillonDatabaseInterface finance{disk};
    std::string seen;  // what a reading work read
};

enum class Level {
    Store,    // CDatabaseManager alone
    Finance,  // with the ledger above it
};

enum class Start {
    Nothing,      // an empty disk
    Closed,       // a database closed in order
    Killed,       // one whose program was killed: the files are older than the journal
    OlderVersion  // one whose data files are of the version before
};

struct MemoryWork {
    const char* name;
    Level level;
    Start start;
    bool opens;           // opening is the work; else it is done before
    bool (*act)(World&);  // true: it said that it was done
};

inline constexpr const char* kMemoryFolder = "db/";
inline constexpr const char* kRestoredFolder = "restored/";
inline constexpr const char* kBackupPath = "backup.qbk";

const std::vector<MemoryWork>& MemoryWorks();
// The disk before the work.
const DiskFiles& FilesBefore(const MemoryWork& work);

CDatabaseManager& DatabaseOf(World& world, Level level);
// Opens as a program of that level does, and says whether all of it is there.
bool OpenWorld(World& world, Level level, const char* folder = kMemoryFolder);
// Opens and makes a change or two, so that the journal holds something.
bool PrepareWorld(World& world, const MemoryWork& work);
// Empty when all is in order: Verify and, with the ledger, the balances.
std::string DisorderOf(World& world, Level level);

}  // namespace quillon
