#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "storage/database/DatabaseManager.h"
#include "support/Bytes.h"
#include "support/MemoryFileSystem.h"
#include "support/SampleStore.h"

namespace quillon {

inline constexpr const char* kFolder = "db/";

// A journal on a disk in memory, in charge of kFolder, or of nothing.
struct CJournalDisk {
    CMemoryFileSystem files;
    CJournal journal{files};

    explicit CJournalDisk(bool attach = true) {
        EXPECT_TRUE(files.MakeFolder(kFolder));
        if (attach) {
            EXPECT_EQ(journal.Attach(kFolder, 7), CJournal::AttachResult::Ok);
        }
    }
    const Bytes& At(const std::string& name) { return files.Bytes(kFolder + name); }
};

inline int CodeOf(CDatabaseManager& database) {
    BetweenSteps(database);
    std::vector<TableIntegrity> tables;
    const IntegrityCode code = database.Verify(tables);
    return static_cast<int>(code);
}

// The database with what keeps it open gone, as a kill leaves it.
inline DatabaseContent ContentAfterCrash(const std::map<std::string, Bytes>& disk, int& code) {
    CMemoryFileSystem files;
    files.Restore(disk);
    CDatabaseManager database(files);
    if (!database.Open(kFolder)) {
        code = 100 + static_cast<int>(database.Problem());
        return {};
    }
    code = CodeOf(database);
    return ContentOf(database);
}

// Gives the test's name for a failing step of a loop.
inline std::string Nth(const char* what, int64_t n) {
    return std::string(what) + " " + std::to_string(n);
}

}  // namespace quillon
