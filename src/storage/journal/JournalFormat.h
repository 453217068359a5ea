#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "storage/database/DatabaseFiles.h"
#include "storage/database/FileSignature.h"

namespace quillon {

// Format of Journal.dat. Little-endian; header and groups start at multiples of
// kJournalAlignment, so that no torn write of one reaches its neighbour.

inline constexpr int64_t kJournalAlignment = 4096;

constexpr int64_t AlignUp(int64_t value, int64_t step) {
    return (value + step - 1) / step * step;
}

// offset  size  field
//      0    50  signature "Journal", zero-filled
//     50     4  version, written 1
//     54     8  identifier of the database
//     62     8  salt, random, new each time the journal is emptied
//     70     8  CRC-64 of the 70 bytes before
struct JournalHeader {
    static constexpr size_t kDiskSize = 78;
    static constexpr FileSignature kSignature{"Journal", 1};

    uint64_t databaseId = 0;
    uint64_t salt = 0;

    std::vector<uint8_t> Encode() const;
    enum class DecodeResult { Ok, Broken, NewerVersion };
    // Broken: cut off, another signature, or a wrong checksum. `out` is untouched unless Ok.
    static DecodeResult Decode(std::span<const uint8_t> bytes, JournalHeader& out);
};

enum class JournalOperationType : uint8_t {
    Create = 1,   // make or empty the file
    SetSize = 2,  // offset holds the size
    Write = 3,
    Remove = 4,
    Rename = 5,  // data holds the new name
    // What a run of pages holds after the group: data holds the file's new size (8) and the
    // CRC-32C of each page (4 each), from the page at the offset on. Changes no file.
    PageSums = 6,
};

// offset  size  field
//      0     1  type
//      1     2  length n of the name
//      3     8  offset in the file (Write, PageSums), new size (SetSize), else 0
//     11     8  length m of the data
//     19     n  file name without folder
//   19+n     m  data
struct JournalOperation {
    static constexpr size_t kFixedSize = 19;
    JournalOperationType type = JournalOperationType::Write;
    std::string_view name;
    int64_t offset = 0;
    std::span<const uint8_t> data;
};

// offset  size  field
//      0     4  "QGRP"
//      4     4  number of operations
//      8     8  sequence number, from 1 after each emptying
//     16     8  length of the operations in bytes
//     24     8  checksum of the group before; the salt in the first
//     32     8  CRC-64 over salt and operations
//     40     8  CRC-64 over salt and the 40 bytes before: the group's checksum
struct JournalGroupHeader {
    static constexpr size_t kDiskSize = 48;

    uint32_t operations = 0;
    uint64_t sequence = 0;
    uint64_t length = 0;
    uint64_t previous = 0;
    uint64_t payloadChecksum = 0;
    uint64_t checksum = 0;

    // False: no group header, or a broken one; `out` is untouched. Looks at the header alone:
    // whether the file holds `length` bytes more is the caller's to see.
    static bool Decode(std::span<const uint8_t> bytes, uint64_t salt, JournalGroupHeader& out);
};

// Collects operations into the bytes of one group. Throws std::bad_alloc.
class JournalGroupBuilder {
public:
    JournalGroupBuilder() : m_bytes(JournalGroupHeader::kDiskSize) {}

    void Add(JournalOperationType type, std::string_view name, int64_t offset,
             std::span<const uint8_t> data);
    bool IsEmpty() const { return m_operations == 0; }
    // Fills in the header; the bytes are then ready to be written.
    std::span<const uint8_t> Finish(uint64_t salt, uint64_t sequence, uint64_t previous);
    uint64_t Checksum() const { return m_checksum; }
    void ReserveMore(size_t bytes) { m_bytes.reserve(m_bytes.size() + bytes); }

private:
    std::vector<uint8_t> m_bytes;
    uint32_t m_operations = 0;
    uint64_t m_checksum = 0;
};

// Cuts a group's payload into `count` operations, which point into it. False: they do not fill it
// exactly, or one of them is of no known type, names a file outside the folder, or states sums that
// its file has no pages for.
bool ParseJournalOperations(std::span<const uint8_t> payload, uint32_t count,
                            std::vector<JournalOperation>& operations);

// CRC-64 of the eight bytes of `salt` and then of `bytes`.
uint64_t JournalChecksum(uint64_t salt, std::span<const uint8_t> bytes);

}  // namespace quillon
