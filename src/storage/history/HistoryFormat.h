// Format of History.dat: what was done to the rows of a database, to take it back. Little-endian.
//
//   Errors  false, with results untouched; std::bad_alloc passes through.
//   Format  docs/file-formats.md
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "storage/database/FileSignature.h"
#include "storage/tables/ColumnType.h"

namespace quillon {

// offset  size  field
//      0    50  signature "History", zero-filled
//     50     4  version, written 1
//     54     8  number of the next action
//     62     8  where the oldest part begins
//     70     8  where the parts end that are done; those behind it were taken back
//     78     8  where the parts end
//     86     8  how many actions the parts belong to
//     94     8  CRC-64 of the 94 bytes before
struct HistoryHeader {
    static constexpr int64_t kDiskSize = 102;
    static constexpr FileSignature kSignature{"History", 1};

    int64_t nextNumber = 1;
    int64_t first = kDiskSize;
    int64_t done = kDiskSize;
    int64_t end = kDiskSize;
    int64_t actions = 0;

    friend bool operator==(const HistoryHeader&, const HistoryHeader&) = default;
    std::array<uint8_t, kDiskSize> Encode() const;
    enum class DecodeResult { Ok, Damaged, NewerVersion };
    // Damaged also when the places are in no order, or behind the end of a file of that size.
    static DecodeResult Decode(std::span<const uint8_t> bytes, int64_t fileSize,
                               HistoryHeader& out);
};

// What a table's rows look like in a part, by names: columns keep those over changes of the schema.
//
// offset  size  field
//      0     2  number of columns
//      2     4  rows added
//      6     4  rows changed
//     10     4  rows deleted
//     14     8  lowest row id of those added
//     22     8  highest
//     30   2+n  length and name of the table
//      …   3+n  for each column: type (1), length (2) and name
struct HistoryTable {
    static constexpr size_t kFixedSize = 30;

    struct Column {
        std::string name;
        ColumnType type = ColumnType::Text;
    };
    std::string name;
    std::vector<Column> columns;
    uint32_t added = 0;  // these three count changes, not rows
    uint32_t changed = 0;
    uint32_t deleted = 0;
    int64_t firstAdded = 0;
    int64_t lastAdded = 0;

    // The place of the column; nothing when there is none.
    std::optional<size_t> FindColumn(std::string_view column) const;
};

// What one commit did, or a commit's share of a longer action. Parts stand one after the other.
//
// offset  size  field
//      0     4  "HPRT"
//      4     4  length of the part
//      8     8  number of the action
//     16     8  time, a file time
//     24     2  kind of the action
//     26     2  number of tables
//     28     4  number of changes
//     32     8  subject: what it was done to, by kind
//     40   2+n  length and label
//      …        tables, then changes
//   end-12   8  CRC-64 of everything before in the part
//    end-4   4  length of the part, again
struct HistoryPart {
    static constexpr size_t kFixedSize = 42;
    static constexpr size_t kTailSize = 12;
    static constexpr size_t kLongestLabel = 1000;  // bytes

    int64_t number = 0;
    int64_t time = 0;
    uint16_t kind = 0;
    int64_t subject = 0;
    std::string label;
    std::vector<HistoryTable> tables;
    uint32_t changes = 0;

    // All up to the changes.
    std::vector<uint8_t> EncodeHead() const;
    // Fills in the length, and adds what stands behind the changes.
    static bool Finish(std::vector<uint8_t>& part);

    // Reads what stands in front of the changes. `at`: where those begin. Of a part of which only
    // the beginning is at hand, too: its sum is not looked at.
    static bool DecodeHead(std::span<const uint8_t> bytes, HistoryPart& out, size_t& at);
    // The length that the first bytes of a part state; 0 when they are none.
    static uint32_t LengthIn(std::span<const uint8_t> bytes);
    // Whether these are the bytes of one whole part, as they were written.
    static bool IsWhole(std::span<const uint8_t> bytes);
};

enum class RowAction : uint8_t { Added = 1, Changed = 2, Deleted = 3 };

// A value as an index key keeps it (CTableRowUpdateInfoValue::Key) but for texts, which stand
// by themselves; an empty one is none.
struct HistoryValue {
    int64_t bits = 0;
    std::string_view text;

    friend bool operator==(const HistoryValue&, const HistoryValue&) = default;
};

// One change of one row.
//
// offset  size  field
//      0     1  1 added, 2 changed, 3 deleted
//      1     2  number of the table in the part, from 0
//      3     8  row id
//     11     …  a bit for each column, the first the lowest of the first byte; set: added and
//               deleted, the value is not 0 and no empty text; changed, the value is another one
//      …     …  for each bit that is set the value; of a changed one that before and that behind
//
// Values: a text its length (4) and bytes, a boolean 1 byte, a 32-bit number 4, all others 8.
struct HistoryChange {
    static constexpr size_t kFixedSize = 11;

    RowAction action = RowAction::Added;
    uint16_t table = 0;
    int64_t row = 0;
    // By column; of added rows `after` counts, of deleted ones `before`.
    std::vector<bool> isSet;
    std::vector<HistoryValue> before;
    std::vector<HistoryValue> after;

    // Appends the change; its values are those of the table's columns.
    void Encode(const HistoryTable& table, std::vector<uint8_t>& part) const;
    // Reads the change at `at` and moves `at` behind it. Texts point into `bytes`.
    static bool Decode(std::span<const uint8_t> bytes, size_t& at,
                       const std::vector<HistoryTable>& tables, HistoryChange& out);
    // Where the change at `at` ends; 0 when it is none.
    static size_t EndOf(std::span<const uint8_t> bytes, size_t at,
                        const std::vector<HistoryTable>& tables);
};

}  // namespace quillon
