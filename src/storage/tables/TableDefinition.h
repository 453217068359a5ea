#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "storage/database/FileSignature.h"
#include "storage/tables/ColumnType.h"

namespace quillon {

// A column as the definition file holds it.
//
// offset  size  field
//      0   120  name, NUL-terminated
//    120   120  file name of the index, without folder; zeros when not indexed
//    240     4  type code
//    244     1  indexed flag
//    245     1  index attribute flag
struct ColumnDefinition {
    static constexpr size_t kDiskSize = 246;
    static constexpr size_t kNameSize = 120;

    // A name of a table or column that a file gives back as it is: neither empty nor too long
    // for its field, and without a zero.
    static bool IsName(std::string_view name) {
        return !name.empty() && name.size() < kNameSize &&
               name.find('\0') == std::string_view::npos;
    }

    std::string name;
    std::string indexFile;
    ColumnType type = ColumnType::Text;
    bool indexed = false;
    bool indexAttribute = false;
};

// A table definition file.
//
// offset  size  field
//      0    50  signature "TableDefinition", zero-filled
//     50     4  version, written 1
//     54     4  table number
//     58     4  column count
//     62   120  table name, NUL-terminated
//    182   246  each: a column, in column order
struct TableDefinition {
    static constexpr size_t kHeaderSize = 182;
    static constexpr FileSignature kSignature{"TableDefinition", 1};

    int32_t number = 0;
    std::string name;
    std::vector<ColumnDefinition> columns;

    std::vector<uint8_t> Encode() const;
    // False: not one of ours, too new, cut off, or a column without name.
    static bool Decode(std::span<const uint8_t> bytes, TableDefinition& out);
};

}  // namespace quillon
