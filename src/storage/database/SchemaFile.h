#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "storage/database/FileSignature.h"

namespace quillon {

// DatabaseSchema.dat
//
// offset  size  field
//      0    50  signature "Database", zero-filled
//     50     4  version, written 1
//     54     4  number of tables
//     58     4  next table number to give out
//     62   244  each: table number (4), name (120), file name of the definition (120)
struct DatabaseSchema {
    static constexpr size_t kHeaderSize = 62;
    static constexpr size_t kRecordSize = 244;
    static constexpr size_t kNameSize = 120;
    static constexpr FileSignature kSignature{"Database", 1};

    struct Table {
        int32_t number = 0;
        std::string name;
        std::string definitionFile;
    };

    int32_t nextTableNumber = 1;
    std::vector<Table> tables;

    // Names must fit their fields, as ColumnDefinition::IsName says.
    std::vector<uint8_t> Encode() const;
    // Names without folder of the data stores that these tables and the BLOBs have.
    std::vector<std::string> DataFiles() const;
    enum class DecodeResult { Ok, NotASchema, NewerVersion, Damaged };
    // Damaged: more tables than the bytes hold, a name that is empty or without its zero, and a
    // number or a name that comes twice or was never given out. `out` is untouched unless Ok.
    static DecodeResult Decode(std::span<const uint8_t> bytes, DatabaseSchema& out);
};

// Database.lock: held while a database is open, never deleted. It also names the
// database, so that a journal from elsewhere is not taken for its own.
//
// offset  size  field
//      0    50  signature "DatabaseLock", zero-filled
//     50     4  version, written 1
//     54     8  identifier, random
//     62     8  CRC-64 of the 62 bytes before
struct DatabaseIdentity {
    static constexpr size_t kDiskSize = 70;
    static constexpr FileSignature kSignature{"DatabaseLock", 1};

    uint64_t id = 0;

    std::vector<uint8_t> Encode() const;
    // False: cut off, another signature, or a wrong checksum; `out` is untouched.
    static bool Decode(std::span<const uint8_t> bytes, DatabaseIdentity& out);
};

}  // namespace quillon
