#include "storage/blocks/DataStore.h"

#include <gtest/gtest.h>

#include "StoreFixture.h"

namespace quillon {
namespace {

using Call = CMemoryFileSystem::Call;

const std::string kData = std::string(kFolder) + "Table_3_data.dat";
const std::string kFreeList = std::string(kFolder) + "Table_3_data_del.dat";

Bytes DataFile(int version, const Bytes& blocks) {
    return Join(Signature("Data"), Le32(version), blocks);
}

Bytes FreeListBytes(const std::vector<DeletedBlockEntry>& blocks) {
    Bytes bytes =
        Join(Signature("DeletedBlock"), Le32(1), Le32(static_cast<int64_t>(blocks.size())));
    for (const DeletedBlockEntry& block : blocks) {
        bytes = Join(bytes, Le64(block.position), Le64(block.size));
    }
    return bytes;
}

std::vector<DeletedBlockEntry> FreeBlocks(const CDataStore& store) {
    std::vector<DeletedBlockEntry> blocks;
    store.FreeList().Walk([&](const DeletedBlockEntry& block) { blocks.push_back(block); });
    return blocks;
}

struct CStoreDisk : CJournalDisk {
    CDataStore store{journal};
    explicit CStoreDisk(bool attach = true) : CJournalDisk(attach) {
        store.SetPath(CKeelString(kData));
    }
    int64_t Put(const Bytes& block) {
        int64_t position = -1;
        EXPECT_TRUE(
            store.AllocateAndWrite(block.data(), static_cast<int64_t>(block.size()), position));
        return position;
    }
    Bytes Get(int64_t size, int64_t position) {
        Bytes block(static_cast<size_t>(size));
        return store.ReadAt(block.data(), size, position) ? block : Bytes{};
    }
};

TEST(DataStore, FilesByteForByte) {
    for (const bool attach : {false, true}) {
        SCOPED_TRACE(attach ? "journalled" : "plain");
        CStoreDisk disk(attach);
        ASSERT_TRUE(disk.store.Open());
        EXPECT_EQ(disk.files.Bytes(kData), DataFile(2, {}));
        EXPECT_EQ(disk.files.Bytes(kData).size(), 54U);

        EXPECT_EQ(disk.Put(Text("first")), 0);
        EXPECT_EQ(disk.Put(Text("second one")), 5);
        EXPECT_EQ(disk.Put(Text("3rd")), 15);
        ASSERT_TRUE(disk.store.WriteAt(Text("FIRST").data(), 5, 0));
        EXPECT_EQ(disk.files.Bytes(kData), DataFile(2, Text("FIRSTsecond one3rd")));
        EXPECT_EQ(disk.Get(10, 5), Text("second one"));
        EXPECT_EQ(disk.store.GetStorageSize(), 54 + 18);

        ASSERT_TRUE(disk.store.FreeBlock(10, 5));
        ASSERT_TRUE(disk.store.FreeBlock(3, 15));
        EXPECT_FALSE(disk.files.Exists(kFreeList)) << "kept in memory until a flush";
        ASSERT_TRUE(disk.store.Flush());
        EXPECT_EQ(disk.files.Bytes(kFreeList), FreeListBytes({{15, 3}, {5, 10}}));
        EXPECT_EQ(disk.files.Bytes(kFreeList).size(), 58U + 2 * 16);
        EXPECT_EQ(disk.store.GetStorageSize(), 54 + 18 + 58 + 32);
        ASSERT_TRUE(disk.store.Close());

        ASSERT_TRUE(disk.store.Open());
        EXPECT_EQ(FreeBlocks(disk.store), (std::vector<DeletedBlockEntry>{{15, 3}, {5, 10}}));
        EXPECT_EQ(disk.Put(Text("abc")), 15);
        EXPECT_EQ(disk.Put(Text("0123456789")), 5);
        ASSERT_TRUE(disk.store.Close());
        EXPECT_FALSE(disk.files.Exists(kFreeList)) << "an empty list has no file";
        EXPECT_EQ(disk.files.Bytes(kData), DataFile(2, Text("FIRST0123456789abc")));

        ASSERT_TRUE(disk.store.Open());
        ASSERT_TRUE(disk.store.FreeBlock(5, 0));
        ASSERT_TRUE(disk.store.Flush());
        ASSERT_TRUE(disk.store.Reset());
        EXPECT_EQ(disk.files.Bytes(kData), DataFile(2, {}));
        EXPECT_FALSE(disk.files.Exists(kFreeList));
        EXPECT_EQ(disk.Put(Text("x")), 0);
        ASSERT_TRUE(disk.store.FreeBlock(1, 0));
        ASSERT_TRUE(disk.store.DeleteFiles());
        EXPECT_FALSE(disk.files.Exists(kData));
        EXPECT_FALSE(disk.files.Exists(kFreeList));
        EXPECT_FALSE(disk.store.Close());
    }
}

TEST(DataStore, OpensWhatItKnows) {
    const Bytes blocks = Text("0123456789");
    const struct {
        const char* name;
        Bytes file;
        bool opens;
        Bytes afterClose;
    } rows[] = {
        {"current", DataFile(2, blocks), true, DataFile(2, blocks)},
        {"version 0 passes and is stamped", DataFile(0, blocks), true, DataFile(2, blocks)},
        {"version 1 loses 8 header bytes",
         Join(Signature("Data"), Le32(1), Text("8 bytes!"), blocks), true, DataFile(2, blocks)},
        {"version 1, no blocks", Join(Signature("Data"), Le32(1), Text("8 bytes!")), true,
         DataFile(2, {})},
        {"version 1, short of its own header", Join(Signature("Data"), Le32(1), Text("8 b")), true,
         DataFile(2, {})},
        {"version 3", DataFile(3, blocks), false, DataFile(3, blocks)},
        {"other signature", Join(Signature("Date"), Le32(2), blocks), false,
         Join(Signature("Date"), Le32(2), blocks)},
        {"signature goes on", Join(Signature("DataX"), Le32(2), blocks), false,
         Join(Signature("DataX"), Le32(2), blocks)},
        {"one byte short", Prefix(DataFile(2, {}), 53), false, Prefix(DataFile(2, {}), 53)},
        {"empty file", {}, false, {}},
    };
    for (const bool attach : {false, true}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(row.name);
            CStoreDisk disk(attach);
            disk.files.Bytes(kData) = row.file;
            EXPECT_EQ(disk.store.Open(), row.opens);
            EXPECT_EQ(disk.store.IsOpen(), row.opens);
            EXPECT_EQ(disk.store.Close(), row.opens);
            EXPECT_EQ(disk.files.Bytes(kData), row.afterClose);
            EXPECT_FALSE(disk.files.Exists(kData + "_tmp"));
        }
    }
}

TEST(DataStore, RefusesWhatIsNoBlock) {
    CStoreDisk disk;
    const Bytes block = Text("block");
    Bytes into(5);
    int64_t position = 0;
    EXPECT_FALSE(disk.store.Open() && disk.store.ReadAt(into.data(), 5, 0)) << "nothing there yet";
    EXPECT_FALSE(disk.store.AllocateAndWrite(nullptr, 5, position));
    EXPECT_EQ(disk.Put(block), 0);
    const struct {
        const char* name;
        int64_t size;
        int64_t position;
    } rows[] = {
        {"no size", 0, 0},
        {"negative size", -1, 0},
        {"negative position", 5, -1},
        {"end of all positions", 5, INT64_MAX},
        {"overflow with the header", 5, INT64_MAX - 57},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.size <= 0) {
            EXPECT_FALSE(disk.store.AllocateAndWrite(block.data(), row.size, position));
        }
        EXPECT_FALSE(disk.store.WriteAt(block.data(), row.size, row.position));
        EXPECT_FALSE(disk.store.ReadAt(into.data(), row.size, row.position));
        if (row.size <= 0 || row.position < 0) {
            EXPECT_FALSE(disk.store.FreeBlock(row.size, row.position));
        }
    }
    EXPECT_FALSE(disk.store.ReadAt(into.data(), 5, 1)) << "one byte past the end";
    EXPECT_FALSE(disk.store.WriteAt(nullptr, 5, 0));
    EXPECT_EQ(disk.files.Bytes(kData), DataFile(2, block));
    ASSERT_TRUE(disk.store.Close());
    EXPECT_FALSE(disk.store.AllocateAndWrite(block.data(), 5, position));
    EXPECT_FALSE(disk.store.FreeBlock(5, 0));
    EXPECT_FALSE(disk.store.Flush());
    EXPECT_EQ(disk.store.GetStorageSize(), 0);
    disk.store.SetPath(CKeelString(""));
    EXPECT_FALSE(disk.store.Open());
}

TEST(DataStore, AllocatesBestFitFromTheFront) {
    const struct {
        const char* name;
        std::vector<DeletedBlockEntry> freed;
        int64_t size;
        int64_t expected;
        std::vector<DeletedBlockEntry> left;
    } rows[] = {
        {"best fit, split", {{0, 8}, {8, 16}, {24, 12}}, 10, 24, {{34, 2}, {0, 8}, {8, 16}}},
        {"exact fit", {{0, 8}, {8, 16}, {24, 12}}, 16, 8, {{0, 8}, {24, 12}}},
        {"last freed of equals", {{0, 8}, {16, 8}, {8, 8}}, 8, 8, {{16, 8}, {0, 8}}},
        {"rest goes before its equals",
         {{0, 4}, {8, 12}, {20, 4}},
         8,
         8,
         {{16, 4}, {20, 4}, {0, 4}}},
        {"neighbours stay apart", {{0, 8}, {8, 8}}, 16, 40, {{8, 8}, {0, 8}}},
        {"none large enough", {{0, 8}}, 9, 40, {{0, 8}}},
        {"none at all", {}, 1, 40, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CStoreDisk disk;
        ASSERT_TRUE(disk.store.Open());
        EXPECT_EQ(disk.Put(Bytes(40, 'x')), 0);
        for (const DeletedBlockEntry& block : row.freed) {
            ASSERT_TRUE(disk.store.FreeBlock(block.size, block.position));
        }
        EXPECT_EQ(disk.Put(Bytes(static_cast<size_t>(row.size), 'y')), row.expected);
        EXPECT_EQ(FreeBlocks(disk.store), row.left);
    }
}

// Which ones, Formats.FreeListIsBelievedOnlyWhereTheStoreIs tells.
TEST(DataStore, AFreeListThatIsNotBelievedGoes) {
    for (const int64_t size : {4, 5}) {
        CStoreDisk disk;
        disk.files.Bytes(kData) = DataFile(2, Bytes(40, 'x'));
        disk.files.Bytes(kFreeList) = FreeListBytes({{30, 4}, {36, size}, {0, 10}});
        ASSERT_TRUE(disk.store.Open());
        EXPECT_EQ(FreeBlocks(disk.store).size(), size == 4 ? 3U : 0U);
        ASSERT_TRUE(disk.store.Close());
        EXPECT_EQ(disk.files.Exists(kFreeList), size == 4);
    }
}

TEST(DataStore, RollbackBringsTheFreeListBack) {
    CStoreDisk disk;
    ASSERT_TRUE(disk.store.Open());
    EXPECT_EQ(disk.Put(Bytes(60, 'x')), 0);
    for (const DeletedBlockEntry& block :
         std::vector<DeletedBlockEntry>{{0, 8}, {8, 8}, {20, 12}, {40, 20}}) {
        ASSERT_TRUE(disk.store.FreeBlock(block.size, block.position));
    }
    ASSERT_TRUE(disk.store.Flush());
    const auto before = FreeBlocks(disk.store);
    const auto snapshot = disk.files.Snapshot();
    const struct {
        const char* name;
        std::function<void()> change;
    } rows[] = {
        {"take and split", [&] { disk.Put(Bytes(9, 'a')), disk.Put(Bytes(3, 'b')); }},
        {"free", [&] { EXPECT_TRUE(disk.store.FreeBlock(4, 16)); }},
        {"take, free, take",
         [&] {
             disk.Put(Bytes(8, 'a'));
             EXPECT_TRUE(disk.store.FreeBlock(8, 32));
             disk.Put(Bytes(8, 'b'));
             disk.Put(Bytes(100, 'c'));
         }},
        {"clear", [&] { EXPECT_TRUE(disk.store.ClearFreeList()); }},
        {"reset", [&] { EXPECT_TRUE(disk.store.Reset()), disk.Put(Bytes(5, 'a')); }},
        {"flush", [&] { EXPECT_TRUE(disk.store.FreeBlock(4, 16) && disk.store.Flush()); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(disk.journal.BeginBatch());
        row.change();
        EXPECT_EQ(disk.files.Snapshot(), snapshot) << "nothing reaches the disk before the commit";
        disk.journal.RollbackBatch();
        EXPECT_EQ(FreeBlocks(disk.store), before);
        EXPECT_EQ(disk.store.BlockAreaSize(), 60);
        EXPECT_EQ(disk.files.Snapshot(), snapshot);
    }
}

// Whatever is refused or fails leaves the block on the list.
TEST(DataStore, AFailedAllocationLosesNoBlock) {
    constexpr int64_t kTooLarge = int64_t{1} << 32;
    CStoreDisk disk;
    ASSERT_TRUE(disk.store.Open());
    EXPECT_EQ(disk.Put(Bytes(40, 'x')), 0);
    for (const DeletedBlockEntry& block :
         std::vector<DeletedBlockEntry>{{0, 8}, {8, 16}, {40, 2 * kTooLarge}}) {
        ASSERT_TRUE(disk.store.FreeBlock(block.size, block.position));
    }
    const auto before = FreeBlocks(disk.store);
    const Bytes block(16, 'y');
    int64_t position = 0;
    EXPECT_FALSE(disk.store.AllocateAndWrite(block.data(), kTooLarge, position));
    EXPECT_EQ(FreeBlocks(disk.store), before);
    for (const int64_t size : {4, 16}) {
        disk.files.FailNth(Call::Write, 1, FileError::NoSpace);
        EXPECT_FALSE(disk.store.AllocateAndWrite(block.data(), size, position));
        EXPECT_EQ(FreeBlocks(disk.store), before);
    }
}

// A list that could not be written or removed is told, and written the next time.
TEST(DataStore, AFreeListThatCannotBeSavedIsAFailure) {
    const struct {
        const char* name;
        Call failing;
        bool flushedBefore;  // so that there is a file of it
        bool (*operation)(CDataStore&);
    } rows[] = {
        {"flush, not made", Call::Create, false, [](auto& store) { return store.Flush(); }},
        {"flush, cut short", Call::Write, false, [](auto& store) { return store.Flush(); }},
        {"close, cut short", Call::Write, false, [](auto& store) { return store.Close(); }},
        {"clear", Call::Remove, true, [](auto& store) { return store.ClearFreeList(); }},
        {"reset", Call::Remove, true, [](auto& store) { return store.Reset(); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CStoreDisk disk(false);
        ASSERT_TRUE(disk.store.Open());
        EXPECT_EQ(disk.Put(Bytes(40, 'x')), 0);
        ASSERT_TRUE(disk.store.FreeBlock(8, 0) && (!row.flushedBefore || disk.store.Flush()));
        disk.files.FailNth(row.failing, 1, FileError::NoSpace, CMemoryFileSystem::Times::Once, 60);
        EXPECT_FALSE(row.operation(disk.store));
        if (!disk.store.IsOpen()) continue;
        EXPECT_TRUE(row.operation(disk.store));
        EXPECT_EQ(disk.files.Exists(kFreeList), !row.flushedBefore);
        if (!row.flushedBefore) {
            EXPECT_EQ(disk.files.Bytes(kFreeList), FreeListBytes({{0, 8}}));
        }
    }
}

TEST(DataStore, NameWithoutADotHasNoFreeListFile) {
    CStoreDisk disk;
    disk.store.SetPath(CKeelString(std::string(kFolder) + "blocks"));
    ASSERT_TRUE(disk.store.Open());
    EXPECT_EQ(disk.Put(Text("12345")), 0);
    ASSERT_TRUE(disk.store.FreeBlock(5, 0));
    EXPECT_EQ(disk.Put(Text("54321")), 0) << "works in memory all the same";
    ASSERT_TRUE(disk.store.FreeBlock(5, 0));
    ASSERT_TRUE(disk.store.Close());
    ASSERT_TRUE(disk.store.Open());
    EXPECT_EQ(disk.store.FreeList().Count(), 0);
}

}  // namespace
}  // namespace quillon
