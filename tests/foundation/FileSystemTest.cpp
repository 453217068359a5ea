#include "foundation/FileSystem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "support/Bytes.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

// Every test runs on the machine's files and on the disk in memory, so that what
// is tested on the one holds on the other.
class FileSystemTest : public testing::TestWithParam<const char*> {
protected:
    FileSystemTest() : m_temporary("Jürgen") {
        if (std::string(GetParam()) == "memory") {
            m_files = &m_memory;
            m_folder = "home/Jürgen";
            EXPECT_TRUE(m_memory.MakeFolder(m_folder));
        } else {
            m_files = &PlatformFileSystem();
            m_folder = m_temporary.Path();
        }
    }

    std::string Path(const std::string& name) const {
        return WithTrailingSeparator(m_folder) + name;
    }
    void Put(const std::string& name, const Bytes& bytes) {
        ASSERT_TRUE(WriteWholeFile(*m_files, Path(name), bytes));
    }
    Bytes Contents(const std::string& name) {
        Bytes bytes;
        EXPECT_TRUE(ReadWholeFile(*m_files, Path(name), bytes)) << name;
        return bytes;
    }

    CFileSystem* m_files = nullptr;
    std::string m_folder;

private:
    CTemporaryFolder m_temporary;
    CMemoryFileSystem m_memory;
};

INSTANTIATE_TEST_SUITE_P(Disks, FileSystemTest, testing::Values("platform", "memory"),
                         [](const auto& info) { return std::string(info.param); });

TEST_P(FileSystemTest, OpenModesDecideWhatHappensToTheFile) {
    const struct {
        const char* name;
        OpenMode mode;
        bool existed, opened;
        int64_t sizeAfterwards;
        bool writable;
    } rows[] = {
        {"read missing", OpenMode::Read, false, false, -1, false},
        {"read existing", OpenMode::Read, true, true, 3, false},
        {"change missing", OpenMode::ReadWrite, false, false, -1, false},
        {"change existing", OpenMode::ReadWrite, true, true, 3, true},
        {"create missing", OpenMode::Create, false, true, 0, true},
        {"create existing", OpenMode::Create, true, true, 0, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.existed) Put(row.name, Text("abc"));
        const auto file = m_files->Open(Path(row.name), row.mode);
        ASSERT_EQ(file != nullptr, row.opened);
        EXPECT_EQ(m_files->Exists(Path(row.name)), row.opened);
        if (!file) {
            EXPECT_EQ(m_files->LastError(), FileError::NotFound);
            continue;
        }
        EXPECT_EQ(file->Size(), row.sizeAfterwards);
        EXPECT_EQ(file->WriteAt(0, Text("x")), row.writable);
    }
    EXPECT_EQ(m_files->Open(m_folder, OpenMode::Read), nullptr) << "a folder is no file";
    EXPECT_EQ(m_files->Open(Path("missing/file"), OpenMode::Create), nullptr);
    EXPECT_EQ(m_files->LastError(), FileError::NotFound);
}

TEST_P(FileSystemTest, TransfersKeepToTheirOffsets) {
    const auto file = m_files->Open(Path("data"), OpenMode::Create);
    ASSERT_NE(file, nullptr);
    ASSERT_TRUE(file->WriteAt(0, Text("abc")));
    ASSERT_TRUE(file->WriteAt(6, Text("xyz")));  // leaves a gap
    ASSERT_TRUE(file->WriteAt(1, Text("B")));
    ASSERT_TRUE(file->Sync());
    EXPECT_EQ(Contents("data"), Join(Text("aBc"), Zeros(3), Text("xyz")));

    const struct {
        int64_t offset;
        size_t asked;
        int64_t got;
        Bytes bytes;
    } rows[] = {
        {0, 3, 3, Text("aBc")},       {8, 1, 1, Text("z")}, {7, 10, 2, Text("yz")}, {9, 4, 0, {}},
        {int64_t{1} << 40, 4, 0, {}}, {3, 0, 0, {}},        {-1, 4, -1, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.offset);
        Bytes bytes(row.asked);
        EXPECT_EQ(file->ReadAt(row.offset, bytes), row.got);
        EXPECT_EQ(Prefix(bytes, row.bytes.size()), row.bytes);
    }
    EXPECT_FALSE(file->WriteAt(-1, Text("x")));
    EXPECT_EQ(file->Size(), 9);
}

TEST_P(FileSystemTest, SetSizeCutsAndGrowsWithZeros) {
    const auto file = m_files->Open(Path("data"), OpenMode::Create);
    ASSERT_NE(file, nullptr);
    ASSERT_TRUE(file->WriteAt(0, Text("abcdef")));
    ASSERT_TRUE(file->SetSize(2));
    ASSERT_TRUE(file->SetSize(5));
    EXPECT_EQ(file->Size(), 5);
    EXPECT_EQ(Contents("data"), Join(Text("ab"), Zeros(3)));
    EXPECT_FALSE(file->SetSize(-1));
    ASSERT_TRUE(file->SetSize(0));
    EXPECT_EQ(Contents("data"), Bytes{});
}

TEST_P(FileSystemTest, TwoHandlesSeeOneFile) {
    const auto writer = m_files->Open(Path("data"), OpenMode::Create);
    const auto reader = m_files->Open(Path("data"), OpenMode::Read);
    ASSERT_TRUE(writer && reader);
    ASSERT_TRUE(writer->WriteAt(0, Text("seen")));
    Bytes bytes(4);
    EXPECT_EQ(reader->ReadAt(0, bytes), 4);
    EXPECT_EQ(bytes, Text("seen"));
}

TEST_P(FileSystemTest, RenameReplacesAndRemoveRemoves) {
    Put("old", Text("old"));
    Put("new", Text("the new one"));
    ASSERT_TRUE(m_files->Rename(Path("new"), Path("old")));
    EXPECT_FALSE(m_files->Exists(Path("new")));
    EXPECT_EQ(Contents("old"), Text("the new one"));

    EXPECT_FALSE(m_files->Rename(Path("missing"), Path("old")));
    EXPECT_EQ(m_files->LastError(), FileError::NotFound);
    EXPECT_FALSE(m_files->Rename(Path("old"), Path("missing/old")));
    EXPECT_EQ(Contents("old"), Text("the new one")) << "a failed rename loses nothing";

    ASSERT_TRUE(m_files->Remove(Path("old")));
    EXPECT_FALSE(m_files->Exists(Path("old")));
    EXPECT_FALSE(m_files->Remove(Path("old")));
    EXPECT_EQ(m_files->LastError(), FileError::NotFound);
    EXPECT_TRUE(m_files->SyncFolder(m_folder));
    EXPECT_FALSE(m_files->SyncFolder(Path("missing")));
}

TEST_P(FileSystemTest, FoldersAreMadeListedAndRemoved) {
    const std::string inner =
        WithTrailingSeparator(Path("Geschäft")) + WithTrailingSeparator("2024") + "März";
    ASSERT_TRUE(m_files->MakeFolder(inner));
    ASSERT_TRUE(m_files->MakeFolder(WithTrailingSeparator(inner))) << "it is there already";
    EXPECT_TRUE(m_files->FolderExists(inner));
    EXPECT_FALSE(m_files->Exists(inner)) << "a folder is no file";
    Put("Überweisung 日本.dat", Text("1"));
    EXPECT_FALSE(m_files->FolderExists(Path("Überweisung 日本.dat")));
    EXPECT_FALSE(m_files->MakeFolder(WithTrailingSeparator(Path("Überweisung 日本.dat")) + "x"));

    std::vector<std::string> names;
    ASSERT_TRUE(m_files->List(m_folder, names));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"Geschäft", "Überweisung 日本.dat"}));
    ASSERT_TRUE(m_files->List(WithTrailingSeparator(inner), names));
    EXPECT_TRUE(names.empty());
    EXPECT_FALSE(m_files->List(Path("missing"), names));

    EXPECT_FALSE(m_files->RemoveFolder(Path("Geschäft")));
    EXPECT_EQ(m_files->LastError(), FileError::NotEmpty);
    EXPECT_TRUE(m_files->RemoveFolder(inner));
    EXPECT_FALSE(m_files->FolderExists(inner));
}

TEST_P(FileSystemTest, LockKeepsEverySecondHandleOut) {
    const std::string path = Path("Lock.dat");
    auto first = m_files->Lock(path);
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(m_files->Exists(path));
    EXPECT_EQ(m_files->Lock(path), nullptr);
    EXPECT_EQ(m_files->LastError(), FileError::Locked);

    // Another handle of the file that closes must not take the lock with it.
    { const auto other = m_files->Open(path, OpenMode::ReadWrite); }
    EXPECT_EQ(m_files->Lock(path), nullptr);
    EXPECT_EQ(Contents("Lock.dat"), Bytes{}) << "a backup can copy it";
    first.reset();
    EXPECT_NE(m_files->Lock(path), nullptr);
    EXPECT_EQ(m_files->Lock(Path("missing/Lock.dat")), nullptr);
}

TEST_P(FileSystemTest, ReplaceLeavesNoTemporaryFileBehind) {
    Put("data", Text("old"));
    ASSERT_TRUE(ReplaceWholeFile(*m_files, Path("data"), Text("newer")));
    EXPECT_EQ(Contents("data"), Text("newer"));
    EXPECT_FALSE(ReplaceWholeFile(*m_files, Path("missing/data"), Text("x")));
    std::vector<std::string> names;
    ASSERT_TRUE(m_files->List(m_folder, names));
    EXPECT_EQ(names, std::vector<std::string>{"data"});
}

// The file is the old one or the new one whatever call fails, and the neighbours stay.
TEST(ReplaceWholeFile, AFailureLeavesTheOldFile) {
    using Call = CMemoryFileSystem::Call;
    const Bytes own = Text("the user's own");
    for (const Call call : {Call::Create, Call::Write, Call::Sync, Call::Rename}) {
        CMemoryFileSystem files;
        files.Bytes("d/x") = Text("old");
        files.Bytes("d/x.new") = files.Bytes("d/x.1.new") = own;
        files.FailNth(call, 1);
        EXPECT_FALSE(ReplaceWholeFile(files, "d/x", Text("new")));
        files.StopFailing();
        EXPECT_EQ(files.Bytes("d/x"), Text("old"));
        EXPECT_TRUE(ReplaceWholeFile(files, "d/x", Text("new")));
        EXPECT_EQ(files.Bytes("d/x"), Text("new"));
        EXPECT_EQ(files.Snapshot().size(), 3U);
        EXPECT_EQ(files.Bytes("d/x.new"), own);
        EXPECT_EQ(files.Bytes("d/x.1.new"), own);
    }
}

TEST(PlatformFileSystem, ModificationTimeCountsFrom1601) {
    const CTemporaryFolder folder;
    CFileSystem& files = PlatformFileSystem();
    ASSERT_TRUE(WriteWholeFile(files, folder.File("now"), Text("x")));
    const auto unixTime = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::system_clock::now().time_since_epoch());
    const int64_t now = (unixTime.count() + 11'644'473'600) * 10'000'000;
    EXPECT_NEAR(static_cast<double>(files.ModificationTime(folder.File("now"))),
                static_cast<double>(now), 60.0 * 10'000'000);
    EXPECT_EQ(files.ModificationTime(folder.File("missing")), 0);
}

// Long names matter on Windows, where the classic limit is 260 characters.
TEST(PlatformFileSystem, PathsBeyondTheClassicLimit) {
    const CTemporaryFolder folder;
    CFileSystem& files = PlatformFileSystem();
    const std::string deep = folder.File(std::string(120, 'a')) + "/" + std::string(120, 'b') +
                             "/" + std::string(120, 'c');
    ASSERT_TRUE(files.MakeFolder(deep));
    ASSERT_TRUE(WriteWholeFile(files, deep + "/one", Text("1")));
    ASSERT_TRUE(files.Rename(deep + "/one", deep + "/two"));
    std::vector<std::string> names;
    ASSERT_TRUE(files.List(deep, names));
    EXPECT_EQ(names, std::vector<std::string>{"two"});
}

// The disk in memory is told to fail; what it leaves behind is what tests of the
// record store build on.
TEST(MemoryFileSystem, FailsTheOrderedCallsAndNoOthers) {
    CMemoryFileSystem disk;
    using Call = CMemoryFileSystem::Call;
    const auto file = disk.Open("data", OpenMode::Create);
    ASSERT_NE(file, nullptr);

    disk.FailNth(Call::Write, 2, FileError::NoSpace, CMemoryFileSystem::Times::Once, 2);
    EXPECT_TRUE(file->WriteAt(0, Text("abc")));
    EXPECT_FALSE(disk.HasFailed());
    EXPECT_FALSE(file->WriteAt(3, Text("def")));
    EXPECT_EQ(disk.LastError(), FileError::NoSpace);
    EXPECT_TRUE(disk.HasFailed());
    EXPECT_EQ(disk.Bytes("data"), Text("abcde")) << "torn after two bytes";
    EXPECT_TRUE(file->WriteAt(3, Text("def")));
    EXPECT_EQ(disk.Count(Call::Write), 3);

    disk.FailNth(Call::AnyChangeOrSync, 2, FileError::Other, CMemoryFileSystem::Times::ForEver);
    EXPECT_TRUE(file->Sync());
    EXPECT_FALSE(disk.Rename("data", "other"));
    EXPECT_FALSE(file->Sync());
    EXPECT_FALSE(file->SetSize(0));
    EXPECT_EQ(disk.Lock("new lock"), nullptr);
    Bytes bytes(6);
    EXPECT_EQ(file->ReadAt(0, bytes), 6) << "reading goes on";
    disk.StopFailing();
    const auto before = disk.Snapshot();
    EXPECT_TRUE(disk.Remove("data"));
    disk.Restore(before);
    EXPECT_EQ(disk.Bytes("data"), Text("abcdef"));
}

}  // namespace
}  // namespace quillon
