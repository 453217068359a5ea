#include "storage/journal/Journal.h"

#include <gtest/gtest.h>

#include "StoreFixture.h"
#include "foundation/ByteCodec.h"
#include "foundation/FileInterface.h"

namespace quillon {
namespace {

using Call = CMemoryFileSystem::Call;
using Result = CJournal::AttachResult;

const std::string kJournal = std::string(kFolder) + "Journal.dat";
constexpr uint64_t kSalt = 0x1122334455667788;

// CRC-64 bit by bit, the straightforward way.
uint64_t SlowCrc64(const Bytes& bytes) {
    uint64_t state = ~uint64_t{0};
    for (const uint8_t byte : bytes) {
        state ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            state = (state >> 1) ^ ((state & 1) ? 0x95AC9329AC4BC9B5 : 0);
        }
    }
    return ~state;
}

Bytes Le64u(uint64_t value) {
    return LittleEndian(value, 8);
}

Bytes HeaderBytes(uint64_t databaseId, uint64_t salt) {
    const Bytes fields = Join(Signature("Journal"), Le32(1), Le64u(databaseId), Le64u(salt));
    Bytes bytes = Join(fields, Le64u(SlowCrc64(fields)));
    bytes.resize(4096);
    return bytes;
}

Bytes Operation(int type, const std::string& name, int64_t offset, const Bytes& data) {
    return Join({static_cast<uint8_t>(type)}, Le16(static_cast<int>(name.size())), Le64(offset),
                Le64u(data.size()), Text(name), data);
}
Bytes Create(const std::string& name) {
    return Operation(1, name, 0, {});
}
Bytes SetSize(const std::string& name, int64_t size) {
    return Operation(2, name, size, {});
}
Bytes Write(const std::string& name, int64_t offset, const std::string& text) {
    return Operation(3, name, offset, Text(text));
}
Bytes Remove(const std::string& name) {
    return Operation(4, name, 0, {});
}
Bytes Rename(const std::string& from, const std::string& to) {
    return Operation(5, from, 0, Text(to));
}

Bytes Sums(int64_t offset, int64_t fileSize, size_t pages) {
    return Operation(6, "a.dat", offset, Join(Le64(fileSize), Zeros(4 * pages)));
}

// A group padded to the next multiple of 4096, chained to the one before.
struct CGroupChain {
    uint64_t salt = kSalt;
    uint64_t sequence = 1;
    uint64_t previous = kSalt;

    Bytes Group(const std::vector<Bytes>& operations) {
        Bytes payload;
        for (const Bytes& operation : operations) payload = Join(payload, operation);
        Bytes head = Join(Text("QGRP"), Le32(static_cast<int64_t>(operations.size())),
                          Le64u(sequence), Le64u(payload.size()), Le64u(previous),
                          Le64u(SlowCrc64(Join(Le64u(salt), payload))));
        previous = SlowCrc64(Join(Le64u(salt), head));
        ++sequence;
        Bytes bytes = Join(head, Le64u(previous), payload);
        bytes.resize((bytes.size() + 4095) / 4096 * 4096);
        return bytes;
    }
};

// The folder's files but the journal.
std::map<std::string, std::string> FilesOf(const CMemoryFileSystem& files) {
    std::map<std::string, std::string> found;
    for (const auto& [path, bytes] : files.Snapshot()) {
        if (path.find("Journal") == std::string::npos &&
            path.find("Checksums") == std::string::npos)
            found[path.substr(3)] = ToString(bytes);
    }
    return found;
}

bool WriteText(CFileSystem& files, const std::string& name, int64_t offset,
               const std::string& text) {
    const auto file = files.Open(kFolder + name, OpenMode::ReadWrite);
    return file && file->WriteAt(offset, Text(text));
}

std::string ReadText(CFileSystem& files, const std::string& name) {
    std::vector<uint8_t> bytes;
    return ReadWholeFile(files, kFolder + name, bytes) ? ToString(bytes) : "(none)";
}

TEST(JournalFormat, WritesHeaderAndGroupsByteForByte) {
    JournalHeader header;
    header.databaseId = 0xA1A2A3A4A5A6A7A8;
    header.salt = kSalt;
    EXPECT_EQ(header.Encode(), Prefix(HeaderBytes(0xA1A2A3A4A5A6A7A8, kSalt), 78));

    // What a commit appends.
    CJournalDisk disk;
    disk.files.Bytes("db/kept.dat") = Text("0123456789");
    disk.files.Bytes("db/gone.dat") = Text("x");
    ASSERT_TRUE(disk.journal.BeginBatch());
    ASSERT_TRUE(WriteText(disk.journal, "kept.dat", 2, "AB"));
    ASSERT_TRUE(WriteWholeFile(disk.journal, "db/new.dat", Text("new")));
    ASSERT_TRUE(disk.journal.Remove("db/gone.dat"));
    ASSERT_TRUE(disk.journal.CommitBatch());
    const Bytes journal = disk.files.Bytes(kJournal);
    CGroupChain chain;
    chain.salt = chain.previous = LoadLE<uint64_t>(journal, 62);
    EXPECT_EQ(Prefix(journal, 4096), HeaderBytes(7, chain.salt));
    const Bytes first = chain.Group({Write("kept.dat", 2, "AB"), Create("new.dat"),
                                     Write("new.dat", 0, "new"), Remove("gone.dat")});
    EXPECT_EQ(Slice(journal, 4096, first.size()), first);

    ASSERT_TRUE(disk.journal.BeginBatch());
    {
        CFileInterface file(disk.journal);
        ASSERT_TRUE(file.OpenExisting("db/kept.dat") && file.SetSize(4) && file.SetSize(20) &&
                    file.WriteAt(6, Text("zz")));
    }
    ASSERT_TRUE(disk.journal.CommitBatch());
    const Bytes second =
        chain.Group({SetSize("kept.dat", 4), Write("kept.dat", 6, "zz"), SetSize("kept.dat", 20)});
    EXPECT_EQ(Slice(disk.files.Bytes(kJournal), 8192, second.size()), second);
    EXPECT_EQ(FilesOf(disk.files),
              (std::map<std::string, std::string>{
                  {"kept.dat", "01AB" + std::string(2, '\0') + "zz" + std::string(12, '\0')},
                  {"new.dat", "new"}}));
    ASSERT_TRUE(disk.journal.Checkpoint());
    EXPECT_NE(LoadLE<uint64_t>(disk.files.Bytes(kJournal), 62), chain.salt);
    ASSERT_TRUE(disk.journal.Detach());
    EXPECT_EQ(disk.files.Bytes(kJournal).size(), 78U);
}

TEST(JournalFormat, RefusesOperationsThatDoNotFit) {
    const Bytes good = Join(Create("a.dat"), Write("a.dat", 3, "xyz"));
    const struct {
        const char* name;
        Bytes payload;
        uint32_t count;
        bool accepted;
    } rows[] = {
        {"intact", good, 2, true},
        {"none", {}, 0, true},
        {"one more counted", good, 3, false},
        {"one fewer counted", good, 1, false},
        {"cut", Prefix(good, good.size() - 1), 2, false},
        {"type 0", WithByte(good, 0, 0), 2, false},
        {"type 6", WithByte(good, 0, 6), 2, false},
        {"negative offset", Operation(3, "a.dat", -1, Text("x")), 1, false},
        {"name longer than the rest", WithByte(good, 2, 1), 2, false},
        {"data longer than all memory", WithByte(good, 18, 0xFF), 2, false},
        {"no name", Create(""), 1, false},
        {"out of the folder", Create("../a.dat"), 1, false},
        {"the folder above", Create(".."), 1, false},
        {"in a folder below", Create("b/a.dat"), 1, false},
        {"a drive", Create("C:a.dat"), 1, false},
        {"backslash", Create("b\\a.dat"), 1, false},
        {"zero in a name", Create(std::string("a\0b", 3)), 1, false},
        {"renamed out of the folder", Rename("a.dat", "../b.dat"), 1, false},
        {"renamed to nothing", Rename("a.dat", ""), 1, false},
        {"checksums", Sums(4096, 4097, 1), 1, true},
        {"of no page", Sums(0, 0, 0), 1, true},
        {"of pages behind the end", Sums(4096, 4096, 1), 1, false},
        {"of a file of negative size", Sums(0, -1, 0), 1, false},
        {"from the middle of a page", Sums(100, 5000, 1), 1, false},
        {"with half a checksum", Operation(6, "a.dat", 0, Join(Le64(1), Zeros(2))), 1, false},
        {"without a size", Operation(6, "a.dat", 0, Zeros(4)), 1, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<JournalOperation> operations;
        EXPECT_EQ(ParseJournalOperations(row.payload, row.count, operations), row.accepted);
    }
}

TEST(Journal, ReplaysWhatIsWhole) {
    const std::map<std::string, Bytes> before = {
        {"db/a.dat", Text("aaaa")}, {"db/b.dat", Text("bbbb")}, {"db/c.dat_tmp", Text("cccc")}};
    using Files = std::map<std::string, std::string>;
    const Files untouched = {{"a.dat", "aaaa"}, {"b.dat", "bbbb"}, {"c.dat_tmp", "cccc"}};
    CGroupChain chain;
    const Bytes one = chain.Group({Write("a.dat", 1, "11")});
    CGroupChain skipping = chain;
    ++skipping.sequence;
    const Bytes skipped = skipping.Group({Write("a.dat", 0, "skipped")});
    const Bytes two = chain.Group(
        {Remove("b.dat"), Create("n.dat"), Write("n.dat", 2, "n"), SetSize("a.dat", 6)});
    const Bytes three = chain.Group({Write("a.dat", 0, "3"), SetSize("n.dat", 1)});
    CGroupChain renaming;
    const Bytes rename = renaming.Group({Rename("c.dat_tmp", "a.dat"), Write("b.dat", 0, "R")});
    CGroupChain stale;
    stale.salt = stale.previous = 99;
    const Bytes old = stale.Group({Write("a.dat", 0, "stale")});
    // In its place by salt and number, but after another first group than the one there.
    CGroupChain fork;
    (void)fork.Group({Write("a.dat", 1, "22")});
    const Bytes forked = fork.Group({Write("a.dat", 0, "forked")});
    const Bytes head = HeaderBytes(7, kSalt);
    const Files afterOne = {{"a.dat", "a11a"}, {"b.dat", "bbbb"}, {"c.dat_tmp", "cccc"}};
    const Files afterTwo = {{"a.dat", std::string("a11a\0\0", 6)},
                            {"c.dat_tmp", "cccc"},
                            {"n.dat", std::string("\0\0n", 3)}};
    const Files afterThree = {{"a.dat", std::string("311a\0\0", 6)},
                              {"c.dat_tmp", "cccc"},
                              {"n.dat", std::string("\0", 1)}};
    // A group cut off before its last operation's data ends.
    Bytes torn = two;
    torn.resize(100);
    const struct {
        const char* name;
        Bytes journal;
        Result result;
        Files files;
    } rows[] = {
        {"header alone", Prefix(head, 78), Result::Ok, untouched},
        {"header and room", Join(head, Zeros(1 << 20)), Result::Ok, untouched},
        {"one group", Join(head, one), Result::Ok, afterOne},
        {"three groups and room", Join(head, one, two, three, Zeros(10'000)), Result::Ok,
         afterThree},
        {"torn tail cut", Join(head, one, torn), Result::Ok, afterOne},
        {"torn tail damaged", Join(head, one, WithByte(two, 60, 0xEE)), Result::Ok, afterOne},
        {"torn tail without its head", Join(head, one, WithByte(two, 0, 0)), Result::Ok, afterOne},
        {"head with another checksum", Join(head, WithByte(one, 40, one[40] ^ 1)), Result::Ok,
         untouched},
        {"stale group behind", Join(head, one, old), Result::Ok, afterOne},
        {"stale group first", Join(head, old), Result::Ok, untouched},
        {"a group repeated", Join(head, one, one), Result::Ok, afterOne},
        {"a number left out", Join(head, one, skipped), Result::Damaged, afterOne},
        {"a group of another chain", Join(head, one, forked), Result::Damaged, afterOne},
        {"first group missing", Join(head, two, three), Result::Damaged, untouched},
        {"valid behind broken", Join(head, one, WithByte(two, 60, 0xEE), three), Result::Damaged,
         afterOne},
        {"valid behind zeros", Join(head, one, Zeros(4096), three), Result::Damaged, afterOne},
        {"another database", Join(HeaderBytes(8, kSalt), one), Result::Damaged, untouched},
        {"broken header", Join(WithByte(head, 70, head[70] ^ 1), one), Result::Damaged, untouched},
        {"header cut", Prefix(head, 77), Result::Damaged, untouched},
        {"empty file", {}, Result::Damaged, untouched},
        {"rename", Join(head, rename), Result::Ok, {{"a.dat", "cccc"}, {"b.dat", "Rbbb"}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CMemoryFileSystem files;
        files.Restore(before);
        files.Bytes(kJournal) = row.journal;
        {
            CJournal journal(files);
            EXPECT_EQ(journal.Attach(kFolder, 7), row.result);
            EXPECT_EQ(journal.IsAttached(), row.result == Result::Ok);
            EXPECT_EQ(FilesOf(files), row.files);
            const bool damaged = row.result == Result::Damaged;
            EXPECT_EQ(journal.SetAsidePath(), damaged ? "db/Journal.damaged.1" : "");
            EXPECT_EQ(files.Exists("db/Journal.damaged.1"), damaged);
            if (damaged) {
                EXPECT_EQ(files.Bytes("db/Journal.damaged.1"), row.journal);
                EXPECT_EQ(files.Bytes(kJournal).size(), 78U) << "an empty one in its place";
            }
        }
        // Replaying once more, as after a crash in the middle of it, changes nothing.
        if (row.result == Result::Ok) files.Bytes(kJournal) = row.journal;
        CJournal again(files);
        EXPECT_EQ(again.Attach(kFolder, 7), Result::Ok);
        EXPECT_EQ(FilesOf(files), row.files);
    }
}

TEST(Journal, NewerVersionIsLeftAlone) {
    Bytes fields = Join(Signature("Journal"), Le32(2), Le64(7), Le64u(kSalt));
    fields = Join(fields, Le64u(SlowCrc64(fields)));
    CMemoryFileSystem files;
    files.Bytes(kJournal) = fields;
    CJournal journal(files);
    EXPECT_EQ(journal.Attach(kFolder, 7), Result::NewerVersion);
    EXPECT_EQ(files.Bytes(kJournal), fields);
}

TEST(Journal, BracketIsAllOrNothing) {
    for (const bool commit : {false, true}) {
        SCOPED_TRACE(commit ? "commit" : "roll back");
        CJournalDisk disk;
        disk.files.Bytes("db/a.dat") = Text("aaaa");
        disk.files.Bytes("db/b.dat") = Text("bbbb");
        const auto before = disk.files.Snapshot();
        ASSERT_TRUE(disk.journal.BeginBatch());
        ASSERT_TRUE(WriteText(disk.journal, "a.dat", 3, "12"));
        ASSERT_TRUE(disk.journal.Remove("db/b.dat"));
        ASSERT_TRUE(WriteWholeFile(disk.journal, "db/c.dat", Text("c")));
        ASSERT_TRUE(disk.journal.BeginBatch());
        ASSERT_TRUE(WriteText(disk.journal, "a.dat", 0, "N"));
        ASSERT_TRUE(disk.journal.CommitBatch()) << "the inner one";

        EXPECT_EQ(disk.files.Snapshot(), before) << "nothing on the disk yet";
        EXPECT_EQ(ReadText(disk.journal, "a.dat"), "Naa12");
        EXPECT_EQ(ReadText(disk.journal, "b.dat"), "(none)");
        EXPECT_FALSE(disk.journal.Exists("db/b.dat"));
        EXPECT_FALSE(disk.journal.Remove("db/b.dat"));
        EXPECT_EQ(ReadText(disk.journal, "c.dat"), "c");
        if (commit) {
            ASSERT_TRUE(disk.journal.CommitBatch());
        } else {
            disk.journal.RollbackBatch();
        }
        EXPECT_EQ(ReadText(disk.journal, "a.dat"), commit ? "Naa12" : "aaaa");
        EXPECT_EQ(ReadText(disk.journal, "b.dat"), commit ? "(none)" : "bbbb");
        EXPECT_EQ(ReadText(disk.journal, "c.dat"), commit ? "c" : "(none)");
        if (!commit) {
            EXPECT_EQ(disk.files.Snapshot(), before);
        }
        EXPECT_FALSE(disk.journal.InBatch());
    }
}

TEST(Journal, RollbackInsideDoomsTheOutermost) {
    CJournalDisk disk;
    disk.files.Bytes("db/a.dat") = Text("aaaa");
    ASSERT_TRUE(disk.journal.BeginBatch());
    ASSERT_TRUE(WriteText(disk.journal, "a.dat", 0, "1"));
    ASSERT_TRUE(disk.journal.BeginBatch());
    disk.journal.RollbackBatch();
    EXPECT_FALSE(WriteText(disk.journal, "a.dat", 1, "2")) << "no change is acknowledged any more";
    EXPECT_FALSE(disk.journal.CommitBatch());
    EXPECT_EQ(FilesOf(disk.files), (std::map<std::string, std::string>{{"a.dat", "aaaa"}}));
    ASSERT_TRUE(WriteText(disk.journal, "a.dat", 0, "2")) << "the next one is free of it";
    EXPECT_EQ(ReadText(disk.journal, "a.dat"), "2aaa");
    EXPECT_FALSE(disk.journal.CommitBatch()) << "none is open";
}

TEST(Journal, FilesOfOtherFoldersPassThrough) {
    CJournalDisk disk;
    ASSERT_TRUE(disk.files.MakeFolder("db/below") && disk.files.MakeFolder("other"));
    ASSERT_TRUE(disk.journal.BeginBatch());
    ASSERT_TRUE(WriteWholeFile(disk.journal, "other/x.dat", Text("x")));
    ASSERT_TRUE(WriteWholeFile(disk.journal, "db/below/x.dat", Text("x")));
    disk.journal.RollbackBatch();
    EXPECT_TRUE(disk.files.Exists("other/x.dat"));
    EXPECT_TRUE(disk.files.Exists("db/below/x.dat"));
}

TEST(Journal, AfterAFailedSyncNothingIsAcknowledged) {
    for (const int64_t nth : {1, 2, 3}) {
        SCOPED_TRACE(nth);
        CJournalDisk disk;
        disk.files.Bytes("db/a.dat") = Text("aaaa");
        ASSERT_TRUE(WriteText(disk.journal, "a.dat", 0, "1"));
        disk.files.FailNth(Call::AnySync, nth);
        // The first sync is the commit's, the others belong to the checkpoint.
        const bool written = WriteText(disk.journal, "a.dat", 1, "2");
        EXPECT_EQ(written, nth > 1);
        if (nth > 1) {
            EXPECT_FALSE(disk.journal.Checkpoint());
        }
        disk.files.StopFailing();
        EXPECT_TRUE(disk.journal.IsBroken());
        EXPECT_FALSE(WriteText(disk.journal, "a.dat", 2, "3"));
        EXPECT_FALSE(disk.journal.BeginBatch());
        EXPECT_FALSE(disk.journal.Checkpoint());
        EXPECT_FALSE(disk.journal.Remove("db/a.dat"));
        EXPECT_EQ(ReadText(disk.journal, "a.dat"), written ? "12aa" : "1aaa");
        EXPECT_FALSE(disk.journal.Detach());
        ASSERT_EQ(disk.journal.Attach(kFolder, 7), Result::Ok);
        const std::string now = ReadText(disk.journal, "a.dat");
        EXPECT_TRUE(now == "12aa" || (!written && now == "1aaa")) << now;
        EXPECT_TRUE(WriteText(disk.journal, "a.dat", 2, "3"));
    }
}

}  // namespace
}  // namespace quillon
