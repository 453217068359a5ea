#pragma once

#include <map>
#include <string>

#include "Fuzz.h"
#include "support/MemoryFileSystem.h"

namespace quillon::fuzz {

// The files of a small database in the folder "db", by name without folder, closed in
// order: a table of every column type with a few rows and a free block, one without
// columns, two BLOBs. Made once, by the program itself.
const std::map<std::string, Bytes>& SmallDatabaseFiles();

// A disk with a small ledger in "db" that has a history: an account, two entries, one of them
// deleted. Made once.
const DiskImage& SmallLedgerDisk();

}  // namespace quillon::fuzz
