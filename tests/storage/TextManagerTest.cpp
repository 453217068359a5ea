// Texts and BLOBs.

#include "storage/blocks/TextManager.h"

#include <gtest/gtest.h>

#include <random>

#include "StoreFixture.h"
#include "storage/blocks/BLOBManager.h"
#include "storage/compression/Compression.h"

namespace quillon {
namespace {

const std::string kBase = std::string(kFolder) + "Table_3.dat";
const std::string kTextData = std::string(kFolder) + "Table_3_textdata.dat";
const std::string kTextDict = std::string(kFolder) + "Table_3_textdict.dat";

struct CTextDisk : CJournalDisk {
    CTextManager texts{journal};
    CTextDisk() { texts.SetBasePath(kBase); }
    std::string Get(int64_t id) {
        CKeelString text;
        return texts.Read(id, text) ? text.ToUtf8() : "(unreadable)";
    }
};

TEST(Texts, FilesByteForByte) {
    CTextDisk disk;
    ASSERT_TRUE(disk.texts.Open());
    EXPECT_EQ(disk.texts.Add(CKeelString("Caf\xC3\xA9")), 0);
    EXPECT_EQ(disk.texts.Add(CKeelString("AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA")), 1);
    ASSERT_TRUE(disk.texts.Close());

    const Bytes plain =
        Join(FromHex("00 00 06 00 00 00 00 00 00 00"), FromHex("43 61 66 C3 A9 00"));
    const Bytes head =
        Join(Signature("Data"), Le32(2), plain, FromHex("01 00 21 00 00 00 00 00 00 00"));
    const Bytes data = disk.files.Bytes(kTextData);
    ASSERT_GT(data.size(), head.size());
    EXPECT_EQ(Prefix(data, head.size()), head);
    const Bytes stream = Slice(data, head.size());
    EXPECT_EQ(Prefix(stream, 2), FromHex("00 06")) << "binary literals, 4,096-byte dictionary";
    EXPECT_LT(stream.size(), 33U);

    const auto size = static_cast<int64_t>(stream.size()) + 10;
    EXPECT_EQ(disk.files.Bytes(kTextDict),
              Join(Signature("Dictionary"), Le32(1), Le64(2),
                   Join(Le64(0), Le64(62), Le64(0), Le64(16), Le32(0)),
                   Join(Le64(1), Le64(98), Le64(16), Le64(size), Le32(0))));
}

TEST(Texts, CompressedOnlyWhenWorthIt) {
    std::string noise;
    std::mt19937 random(3);
    while (noise.size() < 200) noise += static_cast<char>('!' + random() % 90);
    const struct {
        const char* name;
        std::string text;
        int flag;
    } rows[] = {
        {"empty", "", 0},
        {"31 characters are 32 bytes", std::string(31, 'A'), 0},
        {"32 characters are 33 bytes", std::string(32, 'A'), 1},
        {"long and plain", WordyText(1), 1},
        {"noise does not shrink", noise.substr(0, 40), 0},
        {"megabytes", std::string(3'000'000, 'z'), 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CTextDisk disk;
        ASSERT_TRUE(disk.texts.Open());
        EXPECT_EQ(disk.texts.Add(CKeelString(row.text)), 0);
        EXPECT_EQ(disk.Get(0), row.text);
        EXPECT_EQ(disk.files.Bytes(kTextData)[54], row.flag);
        EXPECT_EQ(Slice(disk.files.Bytes(kTextData), 56, 8),
                  Le64(static_cast<int64_t>(row.text.size()) + 1));
    }
}

// Texts as other programs may have written them.
TEST(Texts, ReadsOtherWriters) {
    const std::string text = WordyText(7);
    const Bytes plain = TextZ(text);
    const auto compressed = [&](bool ascii, int bits) {
        Bytes out;
        EXPECT_TRUE(
            Implode(plain, out, plain.size(), {.asciiLiterals = ascii, .dictionaryBits = bits}));
        return out;
    };
    const auto record = [&](int flag, int unused, int64_t length, const Bytes& payload) {
        return Join({static_cast<uint8_t>(flag), static_cast<uint8_t>(unused)}, Le64(length),
                    payload);
    };
    const auto length = static_cast<int64_t>(plain.size());
    const Bytes best = compressed(false, 6);
    const struct {
        const char* name;
        Bytes record;
        bool readable;
    } rows[] = {
        {"stored long text", record(0, 0, length, plain), true},
        {"any second byte", record(0, 0xEE, length, plain), true},
        {"ASCII, 1,024 bytes", record(1, 0, length, compressed(true, 4)), true},
        {"ASCII, 2,048 bytes", record(1, 0, length, compressed(true, 5)), true},
        {"ASCII, 4,096 bytes", record(1, 0, length, compressed(true, 6)), true},
        {"binary, 1,024 bytes", record(1, 0, length, compressed(false, 4)), true},
        {"unknown flag", record(2, 0, length, plain), false},
        {"longer than said", record(1, 0, length - 1, best), false},
        {"shorter than said", record(1, 0, length + 1, best), false},
        {"exabytes promised", record(1, 0, INT64_MAX, best), false},
        {"negative length", record(1, 0, -1, best), false},
        {"cut stream", record(1, 0, length, Prefix(best, best.size() - 2)), false},
        {"no end byte", record(0, 0, 3, Text("abc")), false},
        {"bytes behind the end", record(0, 0, 4, FromHex("61 00 62 00")), false},
        {"header alone", record(0, 0, 0, {}), false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CTextDisk disk;
        const auto size = static_cast<int64_t>(row.record.size());
        disk.files.Bytes(kTextData) = Join(Signature("Data"), Le32(2), row.record);
        disk.files.Bytes(kTextDict) = Join(Signature("Dictionary"), Le32(1), Le64(1), Le64(0),
                                           Le64(62), Le64(0), Le64(size), Le32(0));
        ASSERT_TRUE(disk.texts.Open());
        EXPECT_EQ(disk.Get(0), row.readable ? text : "(unreadable)");
    }
    // Entries that point out of the file are refused before anything is allocated.
    for (const auto& [position, size] : std::vector<std::pair<int64_t, int64_t>>{
             {0, INT64_MAX}, {-1, 20}, {INT64_MAX, 20}, {5, 20}, {0, -1}, {INT64_MIN, INT64_MIN}}) {
        SCOPED_TRACE(position);
        CTextDisk disk;
        disk.files.Bytes(kTextData) = Join(Signature("Data"), Le32(2), Zeros(20));
        disk.files.Bytes(kTextDict) = Join(Signature("Dictionary"), Le32(1), Le64(1), Le64(0),
                                           Le64(62), Le64(position), Le64(size), Le32(0));
        ASSERT_TRUE(disk.texts.Open());
        EXPECT_EQ(disk.Get(0), "(unreadable)");
        EXPECT_FALSE(disk.texts.NeedsCompaction() || !disk.texts.Compact());
        // What is put in its place goes to the end of the file, and not to where the entry said.
        EXPECT_TRUE(disk.texts.Replace(0, CKeelString("better")));
        EXPECT_EQ(disk.texts.Data().FreeList().Count(), 0);
        EXPECT_EQ(disk.texts.Add(CKeelString("more")), 1);
        EXPECT_EQ(disk.Get(0) + disk.Get(1), "bettermore");
        EXPECT_EQ(disk.files.Bytes(kTextData).size(), 54U + 20 + 17 + 15);
        EXPECT_TRUE(disk.texts.Delete(0));
    }
}

TEST(Texts, ADamagedTextStopsTheCompaction) {
    CTextDisk disk;
    ASSERT_TRUE(disk.texts.Open());
    EXPECT_EQ(disk.texts.Add(CKeelString("first")), 0);
    EXPECT_EQ(disk.texts.Add(CKeelString("second")), 1);
    EXPECT_EQ(disk.texts.Add(CKeelString("third")), 2);
    EXPECT_TRUE(disk.texts.Delete(0));
    ASSERT_TRUE(disk.texts.Close());
    Bytes& data = disk.files.Bytes(kTextData);
    data.resize(data.size() - 1);
    ASSERT_TRUE(disk.texts.Open());
    EXPECT_FALSE(disk.texts.Compact());
    EXPECT_EQ(disk.Get(1), "second") << "what can be read still can";
    EXPECT_FALSE(disk.files.Exists(kTextData + "_tmp"));
}

struct CBlobDisk : CJournalDisk {
    CBLOBManager blobs{journal};
    CBlobDisk() { blobs.SetBasePath(std::string(kFolder) + "DatabaseSchema.dat"); }
    std::string Get(int64_t id) {
        Bytes bytes;
        return blobs.Read(id, bytes) ? ToString(bytes) : "(unreadable)";
    }
    int64_t Add(const std::string& text) { return blobs.Add(Text(text)); }
};

TEST(Blobs, FilesByteForByte) {
    CBlobDisk disk;
    ASSERT_TRUE(disk.blobs.Open());
    EXPECT_EQ(disk.Add(std::string("a\0b", 3)), 0);
    EXPECT_EQ(disk.Add(""), 1);
    EXPECT_EQ(disk.Add(std::string(40, 'c')), 2);
    ASSERT_TRUE(disk.blobs.Close());
    EXPECT_EQ(disk.At("DatabaseSchema_blobdata.dat"),
              Join(Signature("Data"), Le32(2), FromHex("61 00 62"), Bytes(40, 'c')));
    EXPECT_EQ(disk.At("DatabaseSchema_blobdict.dat"),
              Join(Signature("Dictionary"), Le32(1), Le64(3),
                   Join(Le64(0), Le64(62), Le64(0), Le64(3), Le32(0)),
                   Join(Le64(1), Le64(98), Le64(0), Le64(0), Le32(0)),
                   Join(Le64(2), Le64(134), Le64(3), Le64(40), Le32(0))));
}

TEST(Blobs, ReplaceDeleteAndCompact) {
    CBlobDisk disk;
    ASSERT_TRUE(disk.blobs.Open());
    EXPECT_EQ(disk.Add("zero"), 0);
    EXPECT_EQ(disk.Add(std::string(500, '1')), 1);
    EXPECT_EQ(disk.Add(""), 2);
    EXPECT_EQ(disk.Add("three"), 3);
    EXPECT_TRUE(disk.blobs.Replace(0, Text("a longer zero")));
    EXPECT_TRUE(disk.blobs.Replace(2, Text("now two")));
    EXPECT_TRUE(disk.blobs.Replace(3, {}));
    EXPECT_TRUE(disk.blobs.Delete(1));
    EXPECT_FALSE(disk.blobs.Delete(1));
    EXPECT_FALSE(disk.blobs.Replace(1, Text("x")));
    EXPECT_FALSE(disk.blobs.Replace(99, Text("x")));
    ASSERT_TRUE(disk.blobs.NeedsCompaction());
    for (const char* when : {"before", "after", "reopened"}) {
        SCOPED_TRACE(when);
        EXPECT_EQ(disk.Get(0), "a longer zero");
        EXPECT_EQ(disk.Get(1), "(unreadable)");
        EXPECT_EQ(disk.Get(2), "now two");
        EXPECT_EQ(disk.Get(3), "");
        EXPECT_EQ(disk.Get(-1), "(unreadable)");
        if (std::string_view(when) == "before") {
            ASSERT_TRUE(disk.blobs.Compact());
        }
        ASSERT_TRUE(disk.blobs.Close());
        ASSERT_TRUE(disk.blobs.Open());
    }
    EXPECT_EQ(disk.At("DatabaseSchema_blobdata.dat"),
              Join(Signature("Data"), Le32(2), Text("a longer zeronow two")));
    EXPECT_EQ(disk.Add("next"), 4);
}

}  // namespace
}  // namespace quillon
