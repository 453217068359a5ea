#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "foundation/Unicode.h"
#include "foundation/platform/Clock.h"
#include "foundation/platform/Console.h"
#include "foundation/platform/Folders.h"

namespace quillon {
namespace {

TEST(Clock, RunsAndStops) {
    const int64_t before = NowFileTime();
    const int64_t built = FileTimeFromDate(2024, 1, 1);
    EXPECT_GT(before, built);
    EXPECT_LT(before, kMaximumFileTime);
    // Time zones reach 14 hours from UTC.
    EXPECT_LE(std::llabs(DaysBetween(before, TodayFileTime())), 1);
    {
        const int64_t then = FileTimeFromDate(2021, 2, 3) + 5;
        CStoppedClock clock(then);
        EXPECT_EQ(NowFileTime(), then);
        EXPECT_EQ(TodayLocal(), (CivilDate{2021, 2, 3}));
        EXPECT_EQ(TodayFileTime(), then - 5);
        clock.Set(0);
        EXPECT_EQ(NowFileTime(), 0);
        EXPECT_EQ(TodayLocal(), (CivilDate{1601, 1, 1}));
    }
    EXPECT_GE(NowFileTime(), before);
    const int64_t tick = MonotonicMilliseconds();
    EXPECT_GE(MonotonicMilliseconds(), tick);
}

TEST(Folders, AreAbsoluteWithoutASeparatorAtTheEnd) {
    for (const std::string& folder :
         {ExecutableFolder(), TemporaryFolder(), CurrentFolder(), RoamingDataFolder()}) {
        SCOPED_TRACE(folder);
        ASSERT_FALSE(folder.empty());
        EXPECT_TRUE(IsValidUtf8(folder));
        const std::filesystem::path path(std::u8string(folder.begin(), folder.end()));
        EXPECT_TRUE(path.is_absolute());
        EXPECT_TRUE(path.has_filename() || path == path.root_path());
    }
    const std::string here = ExecutableFolder();
    EXPECT_TRUE(std::filesystem::is_directory(std::u8string(here.begin(), here.end())));
}

TEST(Folders, ReadsEnvironmentVariables) {
    EXPECT_FALSE(EnvironmentVariable("PATH").empty());
    EXPECT_EQ(EnvironmentVariable("QUILLON_NO_SUCH_VARIABLE"), "");
}

TEST(Console, KnowsNoOtherStreams) {
    EXPECT_FALSE(IsTerminal(-1));
    EXPECT_FALSE(IsTerminal(77));
    EXPECT_GT(TerminalColumns(), 0);
}

}  // namespace
}  // namespace quillon
