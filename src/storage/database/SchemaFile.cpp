#include "storage/database/SchemaFile.h"

#include "foundation/ByteCodec.h"
#include "foundation/TextHash.h"
#include "storage/database/DatabaseFiles.h"

namespace quillon {

std::vector<uint8_t> DatabaseSchema::Encode() const {
    std::vector<uint8_t> bytes(kHeaderSize + tables.size() * kRecordSize);
    kSignature.Store(bytes);
    StoreLE<int32_t>(bytes, 54, static_cast<int32_t>(tables.size()));
    StoreLE<int32_t>(bytes, 58, nextTableNumber);
    size_t at = kHeaderSize;
    for (const Table& table : tables) {
        StoreLE<int32_t>(bytes, at, table.number);
        StoreText(bytes, at + 4, kNameSize, table.name);
        StoreText(bytes, at + 124, kNameSize, table.definitionFile);
        at += kRecordSize;
    }
    return bytes;
}

std::vector<std::string> DatabaseSchema::DataFiles() const {
    std::vector<std::string> names{kBlobFiles.Data(kSchemaName)};
    for (const Table& table : tables) {
        for (const BlockFiles& files : {kRowFiles, kTextFiles}) {
            names.push_back(files.Data(TableFileName(table.number)));
        }
    }
    return names;
}

DatabaseSchema::DecodeResult DatabaseSchema::Decode(std::span<const uint8_t> bytes,
                                                    DatabaseSchema& out) {
    if (bytes.size() < kHeaderSize || !kSignature.IsIn(bytes)) {
        return DecodeResult::NotASchema;
    }
    if (kSignature.IsNewerIn(bytes)) return DecodeResult::NewerVersion;
    DatabaseSchema schema;
    const auto count = LoadLE<int32_t>(bytes, 54);
    schema.nextTableNumber = LoadLE<int32_t>(bytes, 58);
    const size_t held = (bytes.size() - kHeaderSize) / kRecordSize;
    if (count < 0 || static_cast<size_t>(count) > held || schema.nextTableNumber < 0) {
        return DecodeResult::Damaged;
    }
    for (size_t i = 0; i < static_cast<size_t>(count); ++i) {
        const size_t at = kHeaderSize + i * kRecordSize;
        Table table;
        table.number = LoadLE<int32_t>(bytes, at);
        table.name = LoadText(bytes, at + 4, kNameSize);
        table.definitionFile = LoadText(bytes, at + 124, kNameSize);
        // A field that is full has lost its zero, and with it where its text ends.
        if (table.name.empty() || table.name.size() == kNameSize ||
            table.definitionFile.size() == kNameSize || table.number < 0 ||
            table.number >= schema.nextTableNumber) {
            return DecodeResult::Damaged;
        }
        for (const Table& other : schema.tables) {
            if (other.number == table.number || other.name == table.name) {
                return DecodeResult::Damaged;
            }
        }
        schema.tables.push_back(std::move(table));
    }
    out = std::move(schema);
    return DecodeResult::Ok;
}

std::vector<uint8_t> DatabaseIdentity::Encode() const {
    std::vector<uint8_t> bytes(kDiskSize);
    kSignature.Store(bytes);
    StoreLE<uint64_t>(bytes, 54, id);
    StoreLE<uint64_t>(bytes, 62, Crc64(std::span<const uint8_t>(bytes).first(62)));
    return bytes;
}

bool DatabaseIdentity::Decode(std::span<const uint8_t> bytes, DatabaseIdentity& out) {
    if (bytes.size() < kDiskSize || !kSignature.IsIn(bytes) ||
        LoadLE<uint64_t>(bytes, 62) != Crc64(bytes.first(62))) {
        return false;
    }
    out.id = LoadLE<uint64_t>(bytes, 54);
    return true;
}

}  // namespace quillon
