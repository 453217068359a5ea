// The headers and records of the stores' files, as literal bytes. What a store makes of a file
// whose header is sound is its own test's.

#include <gtest/gtest.h>

#include <array>

#include "storage/blocks/DataFormat.h"
#include "storage/blocks/DictionaryFormat.h"
#include "storage/blocks/FreeListFormat.h"
#include "storage/blocks/TextFormat.h"
#include "storage/index/IndexFormat.h"
#include "support/Bytes.h"

namespace quillon {
namespace {

template <size_t Size>
Bytes AsBytes(const std::array<uint8_t, Size>& bytes) {
    return Bytes(bytes.begin(), bytes.end());
}

// What Decode makes of headers that are the same in all formats, and of `good` cut short.
template <typename Accepts>
void ExpectOnlyItsOwn(const Bytes& good, int newest, size_t size, Accepts accepts) {
    EXPECT_TRUE(accepts(good));
    EXPECT_TRUE(accepts(WithByte(good, 50, 0))) << "versions from before the first";
    EXPECT_TRUE(accepts(WithByte(good, 53, 0x80))) << "a negative one, too";
    EXPECT_FALSE(accepts(WithByte(good, 50, newest + 1)));
    EXPECT_FALSE(accepts(WithByte(good, 53, 1))) << "all four bytes count";
    EXPECT_FALSE(accepts(WithByte(good, 0, good[0] ^ 32)));
    EXPECT_FALSE(accepts(WithByte(good, ToString(good).find('\0'), 'X'))) << "the text goes on";
    EXPECT_FALSE(accepts(Prefix(good, size - 1)));
    EXPECT_FALSE(accepts({}));
}

TEST(Formats, DataHeader) {
    const Bytes good = Join(Signature("Data"), Le32(2));
    EXPECT_EQ(AsBytes(DataHeader::Encode()), good);
    ExpectOnlyItsOwn(good, 2, 54, [](const Bytes& bytes) {
        DataHeader header{.version = 77};
        const bool accepted = DataHeader::Decode(bytes, header);
        EXPECT_EQ(header.version == 77, !accepted);
        return accepted;
    });
    DataHeader header;
    ASSERT_TRUE(DataHeader::Decode(WithByte(good, 50, 1), header));
    EXPECT_EQ(header.version, 1);
}

TEST(Formats, Dictionary) {
    const Bytes good = Join(Signature("Dictionary"), Le32(1), Le64(0x0102030405060708));
    EXPECT_EQ(AsBytes(DictionaryHeader{0x0102030405060708}.Encode()), good);
    ExpectOnlyItsOwn(good, 1, 62, [](const Bytes& bytes) {
        DictionaryHeader header{.nextId = 77};
        const bool accepted = DictionaryHeader::Decode(bytes, header);
        EXPECT_EQ(header.nextId, accepted ? 0x0102030405060708 : 77);
        return accepted;
    });
    DictionaryHeader header;
    ASSERT_TRUE(DictionaryHeader::Decode(WithByte(good, 61, 0xFF), header));
    EXPECT_EQ(header.nextId, 0) << "a negative one";

    const Bytes entry = Join(Le64(-3), Le64(98), Le64(5000), Le64(45), Le32(1));
    EXPECT_EQ(AsBytes(DictionaryRecord{-3, 98, 5000, 45, true}.Encode()), entry);
    const DictionaryRecord read = DictionaryRecord::Decode(WithByte(entry, 35, 0x80));
    EXPECT_EQ(read.id, -3);
    EXPECT_EQ(read.fileOffset, 98);
    EXPECT_EQ(read.position, 5000);
    EXPECT_EQ(read.size, 45);
    EXPECT_TRUE(read.deleted);
    EXPECT_FALSE(DictionaryRecord::Decode(WithByte(entry, 32, 0)).deleted);
    EXPECT_EQ(DictionaryRecord::OffsetOf(1), 62);
    EXPECT_EQ(DictionaryRecord::OffsetOf(UINT32_MAX), 62 + 36 * (int64_t{UINT32_MAX} - 1));
    EXPECT_EQ(DictionaryRecord::CountIn(62 + 36 + 35), 1) << "a rest is no entry";
}

TEST(Formats, FreeListIsBelievedOnlyWhereTheStoreIs) {
    const auto list = [](int count, const std::vector<DeletedBlockEntry>& blocks) {
        Bytes bytes = Join(Signature("DeletedBlock"), Le32(1), Le32(count));
        for (const auto& block : blocks)
            bytes = Join(bytes, Le64(block.position), Le64(block.size));
        return bytes;
    };
    const std::vector<DeletedBlockEntry> two = {{30, 4}, {0, 10}};
    const Bytes good = list(2, two);
    EXPECT_EQ(FreeListFile{two}.Encode(), good);
    ExpectOnlyItsOwn(good, 1, 58, [](const Bytes& bytes) {
        FreeListFile read;
        return FreeListFile::Decode(bytes, 40, read);
    });
    const struct {
        const char* name;
        Bytes bytes;
        bool accepted;
        std::vector<DeletedBlockEntry> blocks;
    } rows[] = {
        {"cut in the second entry", Prefix(good, 89), true, {{30, 4}}},
        {"fewer counted", WithByte(good, 54, 1), true, {{30, 4}}},
        {"more counted", WithByte(good, 54, 9), true, two},
        {"negative count", WithByte(good, 57, 0x80), true, {}},
        {"to the end of the store", list(1, {{36, 4}}), true, {{36, 4}}},
        {"past the end", list(1, {{37, 4}}), false, {}},
        {"larger than all", list(1, {{0, INT64_MAX}}), false, {}},
        {"negative position", WithByte(good, 65, 0x80), false, {}},
        {"size zero", WithByte(good, 66, 0), false, {}},
        {"twice the same bytes", list(2, {{6, 4}, {0, 10}}), false, {}},
        {"one inside the other", list(2, {{2, 3}, {0, 10}}), false, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        FreeListFile read{{{7, 7}}};
        EXPECT_EQ(FreeListFile::Decode(row.bytes, 40, read), row.accepted);
        EXPECT_EQ(read.blocks,
                  row.accepted ? row.blocks : (std::vector<DeletedBlockEntry>{{7, 7}}));
    }
}

TEST(Formats, Index) {
    using Result = IndexHeader::DecodeResult;
    const Bytes good = Join(Signature("Index"), Le32(1), Le64(3), Le64(4), Le16(1));
    EXPECT_EQ(AsBytes(IndexHeader{3, 4, true}.Encode()), good);
    ExpectOnlyItsOwn(good, 1, 72, [](const Bytes& bytes) {
        IndexHeader header;
        return IndexHeader::Decode(bytes, 72, header) == Result::Ok;
    });
    constexpr int64_t kMost = 72 + 20 * int64_t{UINT32_MAX};
    const struct {
        const char* name;
        Bytes bytes;
        int64_t fileSize;
        Result result;
        uint32_t records;
    } rows[] = {
        {"no records", good, 72, Result::Ok, 0},
        {"two", good, 112, Result::Ok, 2},
        {"as many as have numbers", good, kMost, Result::Ok, UINT32_MAX},
        {"one more", good, kMost + 20, Result::Damaged, 77},
        {"cut record", good, 111, Result::Damaged, 77},
        {"shorter than its header", good, 52, Result::Damaged, 77},
        {"newer", WithByte(good, 50, 2), 111, Result::NewerVersion, 77},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        IndexHeader header{.records = 77};
        EXPECT_EQ(IndexHeader::Decode(row.bytes, row.fileSize, header), row.result);
        EXPECT_EQ(header.records, row.records);
        EXPECT_EQ(header.distinctKeys, row.result == Result::Ok ? 3 : 0);
        EXPECT_EQ(header.liveRecords, row.result == Result::Ok ? 4 : 0);
        EXPECT_EQ(header.attribute, row.result == Result::Ok);
    }
    Bytes record(20);
    IndexRecord{-4, 9, true}.Encode(record);
    EXPECT_EQ(record, Join(Le64(-4), Le64(9), Le32(1)));
    const IndexRecord read = IndexRecord::Decode(WithByte(record, 19, 0x80));
    EXPECT_EQ(read.rowId, -4);
    EXPECT_EQ(read.key, 9);
    EXPECT_TRUE(read.deleted);
    EXPECT_EQ(IndexRecord::OffsetOf(3), 72 + 40);
}

TEST(Formats, TextHeader) {
    using Kind = TextHeader::Kind;
    EXPECT_EQ(AsBytes(TextHeader{Kind::Imploded, 33}.Encode()), Join({1, 0}, Le64(33)));
    const struct {
        const char* name;
        Bytes block;
        bool accepted;
    } rows[] = {
        {"stored", Join({0, 0}, Le64(2), TextZ("a")), true},
        {"any second byte", Join({0, 0xEE}, Le64(2), TextZ("a")), true},
        {"stored, longer than said", Join({0, 0}, Le64(1), TextZ("a")), false},
        {"imploded to any length", Join({1, 0}, Le64(INT64_MAX), Text("x")), true},
        {"imploded to none", Join({1, 0}, Le64(0), Text("x")), false},
        {"negative length", Join({1, 0}, Le64(-1), Text("x")), false},
        {"unknown kind", Join({2, 0}, Le64(2), TextZ("a")), false},
        {"nothing behind it", Join({0, 0}, Le64(0)), false},
        {"cut", Join({0, 0}, Zeros(7)), false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        TextHeader header{Kind::Stored, 77};
        EXPECT_EQ(TextHeader::Decode(row.block, header), row.accepted);
        EXPECT_EQ(header.length == 77, !row.accepted);
    }
}

}  // namespace
}  // namespace quillon
