#include <gtest/gtest.h>

#include <iterator>
#include <random>

#include "settings/ProfileFile.h"
#include "support/Bytes.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

// Long runs of mixed calls: both implementations keep the same file, byte for byte.
TEST(Profile, OwnAndPlatformWriteTheSameFiles) {
    const CTemporaryFolder folder;
    const std::string path[] = {folder.File("own.cfg"), folder.File("platform.cfg")};
    CProfileFile own;
    CProfile* profile[] = {&own, &PlatformProfile()};
    const std::string sections[] = {"LastPosition", "lastposition", "FileFolder", "A B"};
    const std::string keys[] = {"MainFrame", "MAINFRAME", "DatabasePath", "a.b", "x y"};
    const std::string values[] = {"1,2,3,4", "D:\\Geld", "\"quoted\"", "a=b",
                                  "[x]",     ";",        "é",          std::string(2500, 'x')};
    std::mt19937 random(7);
    const auto any = [&](const auto& choices) { return choices[random() % std::size(choices)]; };
    for (int step = 0; step < 300; ++step) {
        const std::string section = any(sections), key = any(keys), value = any(values);
        const bool removes = random() % 3 == 0;
        SCOPED_TRACE(std::to_string(step) + " [" + section + "] " + key + "=" + value);
        Bytes bytes[2];
        std::string read[2];
        for (int i = 0; i < 2; ++i) {
            EXPECT_TRUE(removes ? profile[i]->Remove(path[i], section, key)
                                : profile[i]->Write(path[i], section, key, value));
            (void)ReadWholeFile(PlatformFileSystem(), path[i], bytes[i]);
            (void)profile[i]->Read(path[i], section, key, read[i]);
        }
        ASSERT_EQ(ToString(bytes[0]), ToString(bytes[1]));
        ASSERT_EQ(read[0], read[1]);
        ASSERT_EQ(profile[0]->Names(path[0], section), profile[1]->Names(path[1], section));
        ASSERT_EQ(profile[0]->Sections(path[0]), profile[1]->Sections(path[1]));
    }
}

}  // namespace
}  // namespace quillon
