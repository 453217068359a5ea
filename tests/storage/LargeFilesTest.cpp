// Files that are just short of, at and just above what is read, written or copied at once.

#include <gtest/gtest.h>

#include "StoreFixture.h"
#include "foundation/ByteCodec.h"
#include "storage/blocks/BLOBManager.h"
#include "storage/blocks/DictionaryManager.h"
#include "storage/index/IndexManager.h"

namespace quillon {
namespace {

// `count` records of so many bytes behind a header; the first 8 bytes of each are its number.
Bytes Records(Bytes header, size_t count, size_t size) {
    const size_t start = header.size();
    header.resize(start + count * size);
    for (size_t i = 0; i < count; ++i) {
        StoreLE<int64_t>(header, start + i * size, static_cast<int64_t>(i));
    }
    return header;
}

TEST(LargeFiles, DictionaryIsReadInChunks) {
    for (const size_t count : {9'999U, 10'000U, 10'001U, 20'001U}) {
        SCOPED_TRACE(count);
        CJournalDisk disk;
        const std::string path = std::string(kFolder) + "Table_3_dict.dat";
        Bytes file = Records(Join(Signature("Dictionary"), Le32(1), Le64(0)), count, 36);
        // The last entry is deleted, the one before it lies elsewhere.
        file[file.size() - 4] = 1;
        StoreLE<int64_t>(file, file.size() - 2 * 36 + 16, 77);
        disk.files.Bytes(path) = file;
        CDictionaryManager dictionary(disk.journal);
        dictionary.SetPath(CKeelString(path));
        ASSERT_TRUE(dictionary.Open());
        const auto last = static_cast<int64_t>(count) - 1;
        EXPECT_EQ(dictionary.LiveCount(), last);
        EXPECT_EQ(dictionary.FindLive(last), nullptr);
        ASSERT_NE(dictionary.FindLive(last - 1), nullptr);
        EXPECT_EQ(dictionary.FindLive(last - 1)->position, 77);
        EXPECT_EQ(dictionary.Add(1, 1), last + 1);
        EXPECT_EQ(disk.files.Bytes(path).size(), 62 + (count + 1) * 36);
    }
}

TEST(LargeFiles, IndexIsReadInChunks) {
    for (const size_t count : {19'999U, 20'000U, 20'001U, 40'001U}) {
        SCOPED_TRACE(count);
        CJournalDisk disk;
        const std::string path = std::string(kFolder) + "Table_3_index_1.dat";
        Bytes file =
            Records(Join(Signature("Index"), Le32(1), Le64(1), Le64(0), Le16(0)), count, 20);
        StoreLE<int64_t>(file, file.size() - 12, 5);  // key of the last
        disk.files.Bytes(path) = file;
        CIndexManager index(disk.journal, ColumnType::Int64, false);
        ASSERT_EQ(index.Open(path), IndexLoad::Ok);
        const auto last = static_cast<int64_t>(count) - 1;
        EXPECT_EQ(index.Count(), last + 1);
        // The record found is the one of the file.
        EXPECT_TRUE(index.Remove(last));
        EXPECT_EQ(disk.files.Bytes(path)[file.size() - 4], 1);
        EXPECT_EQ(index.Count(), last);
    }
}

TEST(LargeFiles, OldDataIsConvertedInChunks) {
    for (const size_t size : {10'239'999U, 10'240'000U, 10'240'001U, 20'480'001U}) {
        SCOPED_TRACE(size);
        CJournalDisk disk;
        const std::string path = std::string(kFolder) + "Table_3_data.dat";
        const Bytes blocks = Records({}, size / 8 + 1, 8);
        disk.files.Bytes(path) =
            Join(Signature("Data"), Le32(1), Text("8 bytes!"), Prefix(blocks, size));
        CDataStore store(disk.journal);
        store.SetPath(CKeelString(path));
        ASSERT_TRUE(store.Open() && store.IsOpen() && store.Close());
        EXPECT_TRUE(disk.files.Bytes(path) ==
                    Join(Signature("Data"), Le32(2), Prefix(blocks, size)));
    }
}

TEST(LargeFiles, BlocksAreCompactedInPieces) {
    constexpr size_t kAtOnce = size_t{1} << 20;
    for (const size_t size : {kAtOnce - 55, kAtOnce - 54, kAtOnce - 53, 2 * kAtOnce}) {
        SCOPED_TRACE(size);
        CJournalDisk disk;
        CBLOBManager blobs(disk.journal);
        blobs.SetBasePath(std::string(kFolder) + "DatabaseSchema.dat");
        const Bytes large = Records({}, size / 8 + 1, 8);
        ASSERT_TRUE(blobs.Open() && blobs.Add(Text("gone")) == 0 &&
                    blobs.Add(Prefix(large, size)) == 1 && blobs.Add(Text("behind it")) == 2 &&
                    blobs.Delete(0) && blobs.Compact());
        EXPECT_TRUE(disk.At("DatabaseSchema_blobdata.dat") ==
                    Join(Signature("Data"), Le32(2), Prefix(large, size), Text("behind it")));
        std::vector<uint8_t> bytes;
        EXPECT_TRUE(blobs.Read(2, bytes));
        EXPECT_EQ(ToString(bytes), "behind it");
    }
}

}  // namespace
}  // namespace quillon
