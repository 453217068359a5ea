// What the system answers when something happens between two of its calls. The linker puts the
// wrappers below in their place.

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <functional>

#include "foundation/FileSystem.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

int entriesLeft = -1;  // until reading a folder breaks off; -1: it does not
std::function<void(const char* path)> beforeMakingFolder;

}  // namespace
}  // namespace quillon

// NOLINTBEGIN: names that the linker demands
extern "C" {
dirent64* __real_readdir64(DIR* folder);
int __real_mkdir(const char* path, mode_t mode);

dirent64* __wrap_readdir64(DIR* folder) {
    if (quillon::entriesLeft != 0) {
        if (quillon::entriesLeft > 0) --quillon::entriesLeft;
        return __real_readdir64(folder);
    }
    errno = EIO;
    return nullptr;
}
int __wrap_mkdir(const char* path, mode_t mode) {
    if (quillon::beforeMakingFolder) quillon::beforeMakingFolder(path);
    return __real_mkdir(path, mode);
}
}
// NOLINTEND

namespace quillon {
namespace {

TEST(FileSystemPosix, AListingThatBreaksOffIsNoListing) {
    const CTemporaryFolder folder;
    CFileSystem& files = PlatformFileSystem();
    for (const char* name : {"a", "b", "c"}) {
        ASSERT_TRUE(WriteWholeFile(files, folder.File(name), {}));
    }
    std::vector<std::string> names;
    for (int entries = 0; entries <= 5; ++entries) {  // with "." and ".." there are five
        entriesLeft = entries;
        EXPECT_FALSE(files.List(folder.Path(), names)) << entries;
        EXPECT_TRUE(names.empty()) << entries;
    }
    entriesLeft = -1;
    EXPECT_TRUE(files.List(folder.Path(), names));
    EXPECT_EQ(names.size(), 3U);
}

TEST(FileSystemPosix, AFolderThatAnotherProgramMadeMeanwhileIsThere) {
    const CTemporaryFolder folder;
    CFileSystem& files = PlatformFileSystem();
    const std::string path = folder.File("ledger");
    beforeMakingFolder = [](const char* made) { (void)__real_mkdir(made, 0777); };
    EXPECT_TRUE(files.MakeFolder(path + "/2026"));
    beforeMakingFolder = [&](const char* made) { (void)WriteWholeFile(files, made, {}); };
    EXPECT_FALSE(files.MakeFolder(path + "/2027")) << "what was made is no folder";
    beforeMakingFolder = nullptr;
    EXPECT_TRUE(files.FolderExists(path + "/2026"));
}

}  // namespace
}  // namespace quillon
