#include "storage/tables/TableDefinition.h"

#include "foundation/ByteCodec.h"

namespace quillon {
namespace {

bool DecodeColumn(std::span<const uint8_t> bytes, ColumnDefinition& out) {
    out.name = LoadText(bytes, 0, ColumnDefinition::kNameSize);
    out.indexFile = LoadText(bytes, 120, ColumnDefinition::kNameSize);
    const auto type = LoadLE<int32_t>(bytes, 240);
    if (out.name.empty()) return false;
    // A field that is full has lost its zero, and with it where its text ends.
    if (out.name.size() == ColumnDefinition::kNameSize ||
        out.indexFile.size() == ColumnDefinition::kNameSize) {
        return false;
    }
    out.type = static_cast<ColumnType>(type);
    out.indexed = bytes[244] != 0;
    out.indexAttribute = bytes[245] != 0;
    return true;
}

}  // namespace

std::vector<uint8_t> TableDefinition::Encode() const {
    std::vector<uint8_t> bytes(kHeaderSize + columns.size() * ColumnDefinition::kDiskSize);
    kSignature.Store(bytes);
    StoreLE<int32_t>(bytes, 54, number);
    StoreLE<int32_t>(bytes, 58, static_cast<int32_t>(columns.size()));
    StoreText(bytes, 62, 120, name);
    size_t at = kHeaderSize;
    for (const ColumnDefinition& column : columns) {
        StoreText(bytes, at, ColumnDefinition::kNameSize, column.name);
        if (column.indexed) {
            StoreText(bytes, at + 120, ColumnDefinition::kNameSize, column.indexFile);
        }
        StoreLE<int32_t>(bytes, at + 240, static_cast<int32_t>(column.type));
        StoreLE<uint8_t>(bytes, at + 244, column.indexed ? 1 : 0);
        StoreLE<uint8_t>(bytes, at + 245, column.indexAttribute ? 1 : 0);
        at += ColumnDefinition::kDiskSize;
    }
    return bytes;
}

bool TableDefinition::Decode(std::span<const uint8_t> bytes, TableDefinition& out) {
    if (bytes.size() < kHeaderSize || !kSignature.IsReadable(bytes)) return false;
    TableDefinition definition;
    definition.number = LoadLE<int32_t>(bytes, 54);
    const auto count = LoadLE<int32_t>(bytes, 58);
    const size_t held = (bytes.size() - kHeaderSize) / ColumnDefinition::kDiskSize;
    if (count < 0 || static_cast<size_t>(count) > held) return false;
    definition.name = LoadText(bytes, 62, ColumnDefinition::kNameSize);
    if (definition.name.size() == ColumnDefinition::kNameSize) return false;
    for (size_t i = 0; i < static_cast<size_t>(count); ++i) {
        ColumnDefinition column;
        if (!DecodeColumn(bytes.subspan(kHeaderSize + i * ColumnDefinition::kDiskSize,
                                        ColumnDefinition::kDiskSize),
                          column)) {
            return false;
        }
        definition.columns.push_back(std::move(column));
    }
    out = std::move(definition);
    return true;
}

}  // namespace quillon
