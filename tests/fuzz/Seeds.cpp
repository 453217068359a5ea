// Inputs of the binary targets, in the form that each target takes apart.

#include <algorithm>

#include "Fuzz.h"
#include "SmallDatabase.h"
#include "foundation/TextHash.h"
#include "storage/BackupFixture.h"
#include "storage/compression/Compression.h"
#include "storage/database/SchemaFile.h"
#include "storage/history/HistoryFormat.h"
#include "storage/journal/ChecksumFile.h"
#include "storage/journal/JournalFormat.h"

namespace quillon::fuzz {
namespace {

const Bytes& File(const char* name) {
    return SmallDatabaseFiles().at(name);
}

// One byte for the length of the operations, the operations, the file.
Bytes WithOperations(const Bytes& operations, const Bytes& file) {
    return Join({static_cast<uint8_t>(operations.size())}, operations, file);
}

void AddExplode(Seeds& seeds) {
    const Bytes example = FromHex("00 04 82 24 25 8F 80 7F");
    auto& own = seeds["explode"];
    own["by-hand"] = Join({0}, example);
    const Bytes text = Text("POS PURCHASE KROGER #4417 SEATTLE WA; POS PURCHASE SHELL #4417");
    for (const bool ascii : {false, true}) {
        for (const int bits : {4, 5, 6}) {
            Bytes packed;
            if (!Implode(text, packed, 1000, {ascii, bits})) continue;
            own[(ascii ? "ascii-" : "binary-") + std::to_string(bits)] = Join({0x80}, packed);
        }
    }
    Bytes run;
    if (Implode(Bytes(3000, 'x'), run, 1000)) own["long-matches"] = Join({0}, run);
    own["plain-text"] = Join({3}, text);
}

void AddSchema(Seeds& seeds) {
    auto& own = seeds["schema"];
    own["schema"] = Join({0}, File("DatabaseSchema.dat"));
    own["definition"] = Join({1}, File("Table_1.dat"));
    own["identity"] = Join({2}, File("Database.lock"));
    JournalHeader header;
    header.databaseId = 7;
    header.salt = 8;
    own["journal"] = Join({2}, header.Encode());
    JournalGroupBuilder group;
    group.Add(JournalOperationType::Write, "a", 5, Text("bytes"));
    group.Add(JournalOperationType::Rename, "a", 0, Text("b"));
    const auto bytes = group.Finish(1, 1, 1).subspan(JournalGroupHeader::kDiskSize);
    own["operations"] = Join({2, 2}, CopyOf(bytes));
    const Bytes container = ContainerOf(SmallDatabase());
    own["backup-header"] = Join({3}, container);
    BackupEntry entry;
    entry.name = "Table_1_data.dat";
    entry.storedSize = 100;
    entry.chunkCount = 2;
    Bytes encoded(BackupEntry::kDiskSize);
    entry.Encode(encoded);
    own["backup-entry"] = Join({3}, encoded);
    BackupChunkHeader chunk;
    chunk.length = 17;
    chunk.compressed = true;
    const auto chunkBytes = chunk.Encode();
    own["backup-chunk"] = Join({3}, Bytes(chunkBytes.begin(), chunkBytes.end()));
}

void AddStores(Seeds& seeds) {
    const Bytes operations = {0x02, 0, 10, 20, 1, 0, 3, 0, 0x83, 0, 1, 1, 4, 9, 5};
    auto& dictionary = seeds["dictionary"];
    dictionary["rows"] = WithOperations(operations, File("Table_1_dict.dat"));
    dictionary["texts"] = WithOperations({}, File("Table_1_textdict.dat"));
    dictionary["no-file"] = WithOperations(operations, {});
    const Bytes& rows = File("Table_1_dict.dat");
    dictionary["an-id-twice"] = WithOperations({}, Join(rows, Slice(rows, 62, 36)));

    auto& index = seeds["index"];
    const Bytes steps = {0x03, 0xC0, 9, 0, 0xC0, 7, 1, 1, 2, 2, 0, 4, 0, 3, 0x81, 0, 1, 1, 1};
    for (int column = 1; column <= 6; ++column) {
        const auto found =
            SmallDatabaseFiles().find("Table_1_index_" + std::to_string(column) + ".dat");
        if (found == SmallDatabaseFiles().end()) continue;
        index["column-" + std::to_string(column)] =
            Join({static_cast<uint8_t>(column - 1)}, WithOperations(steps, found->second));
    }

    auto& list = seeds["freelist"];
    const Bytes file = Join(Signature("DeletedBlock"), Le32(1), Le32(3), Join(Le64(50), Le64(5)),
                            Join(Le64(10), Le64(8)), Le64(80), Le64(8));
    list["three-blocks"] =
        Join({200}, WithOperations({1, 6, 2, 0, 30, 4, 3, 2, 0, 3, 1, 9, 7}, file));
    list["empty"] = Join({200}, WithOperations({0, 30, 4, 0, 60, 4, 2, 1, 4, 4}, {}));
}

void AddJournal(Seeds& seeds) {
    auto& own = seeds["journal"];
    // type, name, offset, length, data
    const Bytes write = {3, 1, 10, 4, 'a', 'b', 'c', 'd'};
    const Bytes create = {1, 2, 0};
    const Bytes size = {2, 1, 100};
    const Bytes remove = {4, 0, 0};
    const Bytes rename = {5, 3, 0, 1};
    own["two-groups"] = Join({0, 40}, {0, 2}, write, create, {0, 2}, size, remove);
    own["rename"] = Join({0, 3}, {0, 2}, rename, {3, 0, 2, 1, 'x'});
    own["torn-tail"] = Join({0, 6}, {0, 1}, write, {1, 1}, size);
    own["damaged"] = Join({0, 6}, {0, 1}, write, {1, 1}, size, {0, 1}, remove);
    own["sequence-skipped"] = Join({0, 6}, {0, 1}, write, {4, 1}, size);
    own["wrong-count"] = Join({0, 6}, {16, 1}, write);
    own["foreign"] = Join({2, 6}, {0, 1}, write);
    own["broken-header"] = Join({4, 6}, {0, 1}, write);
    own["newer"] = Join({8, 6}, {0, 1}, write);
    own["cut"] = Join({16, 6}, {60, 16}, {0, 1}, write, {0, 1}, size);
    JournalHeader header;
    header.databaseId = 7;
    own["raw"] = Join({1, 1}, header.Encode());
}

void AddChecksum(Seeds& seeds) {
    auto& own = seeds["checksum"];
    const auto sumsOf = [](const Bytes& file) {
        FileSums sums;
        sums.size = static_cast<int64_t>(file.size());
        for (size_t at = 0; at < file.size(); at += static_cast<size_t>(kChecksumPage)) {
            const auto rest = std::span(file).subspan(at);
            sums.pages.push_back(
                Crc32c(rest.first(std::min(rest.size(), static_cast<size_t>(kChecksumPage)))));
        }
        return sums;
    };
    // Of the files that the target makes.
    SumsByName files;
    files["Table_1.dat"] = sumsOf(Text("definition"));
    files["Table_1_data.dat"] = sumsOf(Bytes(5000, 'd'));
    const Bytes sound = ChecksumFile::Encode(7, files);
    own["sound"] = Join({0}, sound);
    own["of-another-database"] = Join({0}, ChecksumFile::Encode(8, files));
    own["damaged"] = Join({0}, WithByte(sound, 75, sound[75] ^ 1));
    own["newer"] = Join({1}, WithByte(sound, 50, 2));
    files["Table_1_data.dat"].pages[1] ^= 1;
    own["of-another-page"] = Join({0}, ChecksumFile::Encode(7, files));
    files["Table_1_data.dat"] = sumsOf(Bytes(9000, 'd'));
    files["Table_2.dat"] = sumsOf(Bytes(10, 'x'));
    own["of-other-files"] = Join({0}, ChecksumFile::Encode(7, files));
    own["empty"] = {0};
}

void AddHistory(Seeds& seeds) {
    auto& own = seeds["history"];
    const Bytes& file = SmallLedgerDisk().files.at("db/History.dat");
    own["as-it-is"] = Join({14}, file);
    own["sums-put-right"] = Join({15}, file);
    own["undone"] = Join({15}, WithByte(file, 70, HistoryHeader::kDiskSize));
    own["cut"] = Join({14}, Prefix(file, file.size() - 7));
}

void AddBackup(Seeds& seeds) {
    auto& own = seeds["backup"];
    // The writer's nonces are random; a fixed start would be a different one each time.
    const Bytes container = ContainerOf(SmallDatabase());
    own["raw"] = Join({0}, Prefix(container, 400));
    own["unchanged"] = {1};
    own["changed-tag"] = {1, 90, 0, 1};
    own["changed-data"] = {1, 90, 2, 0x80};
    own["cut"] = {1, 0xFF, 0xFF, 5};
    // one file: name, time, chunks, then flags, length, bytes each, lies
    own["forged"] = Join({2, 0}, {0, 9, 1}, {0, 6}, Text("schema"), {0});
    own["forged-compressed"] = Join({2, 1}, Join({0, 9, 1}, {3, 6}, Text("schema"), {0}),
                                    Join({1, 9, 1}, {3, 20}, Text("aaaaaaaaaaaaaaaaaaaa"), {0}));
    own["forged-size"] = Join({2, 0}, {0, 9, 1}, {7, 4}, Text("abcd"), {0xF2, 0});
    own["forged-place"] = Join({2, 0}, {0, 9, 1}, {0x80, 4}, Text("abcd"), {0});
    own["forged-entry"] = Join({2, 0}, {0, 9, 1}, {0, 4}, Text("abcd"), {0xF0, 1, 1});
    own["forged-no-schema"] = Join({2, 0}, {1, 9, 0}, {0});
}

void AddDatabase(Seeds& seeds) {
    auto& own = seeds["database"];
    own["unchanged"] = {31};
    own["read-only"] = {0};
    size_t place = 0;
    for (const auto& [name, bytes] : SmallDatabaseFiles()) {
        const auto file = static_cast<uint8_t>(place++);
        own["removed-" + name] = {15, file, 7, 0, 0};
        own["cut-" + name] = {15, file, 6, static_cast<uint8_t>(bytes.size() - 3), 0};
        own["field-" + name] = {15, file, 3, 62, 0, 0xF0};
    }
}

}  // namespace

Seeds MakeSeeds() {
    Seeds seeds;
    AddExplode(seeds);
    AddSchema(seeds);
    AddStores(seeds);
    AddJournal(seeds);
    AddChecksum(seeds);
    AddHistory(seeds);
    AddBackup(seeds);
    AddDatabase(seeds);
    return seeds;
}

}  // namespace quillon::fuzz
