// The files that describe a database: what is taken for one can be written again and is
// the same then. The first byte picks the kind of file.

#include <algorithm>

#include "Fuzz.h"
#include "storage/backup/BackupContainer.h"
#include "storage/database/SchemaFile.h"
#include "storage/journal/JournalFormat.h"
#include "storage/tables/TableDefinition.h"

namespace quillon::fuzz {
namespace {

// What is read can be written in one way only.
template <class Encoded>
void CheckOneWay(const Encoded& encoded, std::span<const uint8_t> bytes) {
    FUZZ_CHECK(std::ranges::equal(encoded, bytes.first(encoded.size())), "one way to write it");
}

void CheckSchema(std::span<const uint8_t> bytes) {
    DatabaseSchema schema;
    if (DatabaseSchema::Decode(bytes, schema) != DatabaseSchema::DecodeResult::Ok) {
        FUZZ_CHECK(schema.tables.empty() && schema.nextTableNumber == 1, "left untouched");
        return;
    }
    const Bytes encoded = schema.Encode();
    FUZZ_CHECK(encoded.size() <= bytes.size(), "the tables were all in the file");
    DatabaseSchema again;
    FUZZ_CHECK(DatabaseSchema::Decode(encoded, again) == DatabaseSchema::DecodeResult::Ok,
               "what was read can be written");
    FUZZ_CHECK(again.nextTableNumber == schema.nextTableNumber &&
                   again.tables.size() == schema.tables.size(),
               "the same schema");
    for (size_t i = 0; i < schema.tables.size(); ++i) {
        const DatabaseSchema::Table& table = schema.tables[i];
        FUZZ_CHECK(table.number < schema.nextTableNumber, "numbers are used once");
        FUZZ_CHECK(again.tables[i].number == table.number && again.tables[i].name == table.name &&
                       again.tables[i].definitionFile == table.definitionFile,
                   "the same tables");
    }
}

void CheckDefinition(std::span<const uint8_t> bytes) {
    TableDefinition definition;
    if (!TableDefinition::Decode(bytes, definition)) {
        FUZZ_CHECK(definition.columns.empty() && definition.name.empty(), "left untouched");
        return;
    }
    const Bytes encoded = definition.Encode();
    FUZZ_CHECK(encoded.size() <= bytes.size(), "the columns were all in the file");
    TableDefinition again;
    FUZZ_CHECK(TableDefinition::Decode(encoded, again), "what was read can be written");
    FUZZ_CHECK(again.number == definition.number && again.name == definition.name &&
                   again.columns.size() == definition.columns.size(),
               "the same definition");
    for (size_t i = 0; i < definition.columns.size(); ++i) {
        const ColumnDefinition& column = definition.columns[i];
        const ColumnDefinition& other = again.columns[i];
        FUZZ_CHECK(other.name == column.name && other.type == column.type &&
                       other.indexed == column.indexed &&
                       other.indexAttribute == column.indexAttribute &&
                       (!column.indexed || other.indexFile == column.indexFile),
                   "the same columns");
    }
}

void CheckIdentityAndJournal(std::span<const uint8_t> bytes) {
    DatabaseIdentity identity;
    if (DatabaseIdentity::Decode(bytes, identity)) {
        DatabaseIdentity again;
        FUZZ_CHECK(DatabaseIdentity::Decode(identity.Encode(), again) && again.id == identity.id,
                   "the same identifier");
    }
    JournalHeader header;
    if (JournalHeader::Decode(bytes, header) == JournalHeader::DecodeResult::Ok) {
        // What stands behind the end of the signature is under the checksum and means nothing.
        JournalHeader again;
        FUZZ_CHECK(JournalHeader::Decode(header.Encode(), again) == JournalHeader::DecodeResult::Ok,
                   "what was read can be written");
        FUZZ_CHECK(again.databaseId == header.databaseId && again.salt == header.salt,
                   "the same journal");
    }
    std::vector<JournalOperation> operations;
    if (bytes.size() < 4) return;
    const uint32_t count = bytes[0] % 8U;
    if (!ParseJournalOperations(bytes.subspan(1), count, operations)) return;
    JournalGroupBuilder group;
    for (const JournalOperation& operation : operations) {
        group.Add(operation.type, operation.name, operation.offset, operation.data);
    }
    const auto written = group.Finish(1, 1, 1).subspan(JournalGroupHeader::kDiskSize);
    FUZZ_CHECK(std::ranges::equal(written, bytes.subspan(1)), "one way to write operations");
}

void CheckBackupRecords(std::span<const uint8_t> bytes) {
    BackupHeader header;
    const auto size = static_cast<int64_t>(bytes.size());
    if (BackupHeader::Decode(bytes, size, header) == RestoreCode::Done) {
        CheckOneWay(header.Encode(), bytes);
        FUZZ_CHECK(header.directorySize <= size, "the directory lies in the file");
    }
    BackupEntry entry;
    if (bytes.size() >= BackupEntry::kDiskSize && BackupEntry::Decode(bytes, entry)) {
        Bytes encoded(BackupEntry::kDiskSize);
        entry.Encode(encoded);
        CheckOneWay(encoded, bytes);
        FUZZ_CHECK(entry.name.find_first_of("/\\:") == std::string::npos, "names stay in a folder");
    }
    BackupChunkHeader chunk;
    if (bytes.size() >= BackupChunkHeader::kDiskSize && BackupChunkHeader::Decode(bytes, chunk)) {
        CheckOneWay(chunk.Encode(), bytes);
    }
}

void Check(CInput input) {
    constexpr void (*kChecks[])(std::span<const uint8_t>) = {
        CheckSchema, CheckDefinition, CheckIdentityAndJournal, CheckBackupRecords};
    const uint8_t kind = input.Byte() % 4;
    kChecks[kind](input.Rest());
}

}  // namespace
}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Check)
