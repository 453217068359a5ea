#include "settings/SettingsFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "settings/ProfileFile.h"
#include "support/Bytes.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

class SettingsFileTest : public testing::Test {
protected:
    std::string Contents(const std::string& path) { return ToString(m_disk.Bytes(path)); }

    CMemoryFileSystem m_disk;
    CProfileFile m_profile{m_disk};
    std::string m_chosen, m_program = "program", m_roaming = "roaming";
    CSettingsFile m_settings{
        SettingsPlaces{[this] { return m_chosen; }, [this] { return m_program; },
                       [this] { return m_roaming; }},
        m_disk, m_profile};
};

TEST_F(SettingsFileTest, PathIsResolvedAnewAtEveryCall) {
    const std::string separator(1, PathSeparator());
    const std::string beside = "program" + separator + "Quillon.cfg";
    const std::string roaming = "roaming" + separator + "Quillon" + separator + "Quillon.cfg";
    EXPECT_EQ(m_settings.Path(), roaming);
    EXPECT_TRUE(m_settings.WriteString("FileFolder", "DatabasePath", "one"));
    EXPECT_EQ(Contents(roaming), "[FileFolder]\r\nDatabasePath=one\r\n");

    ASSERT_TRUE(m_disk.MakeFolder(beside));
    EXPECT_EQ(m_settings.Path(), roaming) << "a folder of that name is no settings file";
    ASSERT_TRUE(m_disk.RemoveFolder(beside));

    m_disk.Bytes(beside) = Text("");
    EXPECT_EQ(m_settings.Path(), beside);
    std::string value;
    EXPECT_FALSE(m_settings.ReadString("FileFolder", "DatabasePath", value));
    EXPECT_TRUE(m_settings.WriteString("FileFolder", "DatabasePath", "two"));
    EXPECT_EQ(Contents(beside), "[FileFolder]\r\nDatabasePath=two\r\n");
    EXPECT_EQ(Contents(roaming), "[FileFolder]\r\nDatabasePath=one\r\n");

    ASSERT_TRUE(m_disk.Remove(beside));
    EXPECT_TRUE(m_settings.ReadString("FileFolder", "DatabasePath", value));
    EXPECT_EQ(value, "one");

    m_program = "program" + separator;
    m_disk.Bytes(beside);
    EXPECT_EQ(m_settings.Path(), beside) << "no second separator";
    m_program = "";
    m_roaming = "";
    EXPECT_EQ(m_settings.Path(), separator + "Quillon.cfg");
    m_chosen = "elsewhere/mine.cfg";
    EXPECT_EQ(m_settings.Path(), "elsewhere/mine.cfg");
    EXPECT_TRUE(m_settings.WriteString("S", "k", "v"));
    EXPECT_EQ(Contents("elsewhere/mine.cfg"), "[S]\r\nk=v\r\n");
}

TEST_F(SettingsFileTest, EmptyValueRemovesTheKey) {
    ASSERT_TRUE(m_settings.WriteString("S", "k", "v"));
    ASSERT_TRUE(m_settings.WriteString("S", "k", ""));
    std::string value = "before";
    EXPECT_FALSE(m_settings.ReadString("S", "k", value));
    EXPECT_EQ(value, "before");
    EXPECT_EQ(Contents(m_settings.Path()), "[S]\r\n");
    m_disk.Bytes(m_settings.Path()) = Text("[S]\r\nk=1\r\nj=2\r\nK=3\r\nk=\r\nk=4\r\n");
    ASSERT_TRUE(m_settings.WriteString("S", "k", ""));
    EXPECT_FALSE(m_settings.ReadString("S", "k", value)) << "no second value comes to light";
    EXPECT_TRUE(m_settings.ReadString("S", "j", value));
    m_roaming = "never";
    EXPECT_TRUE(m_settings.WriteString("S", "k", ""));
    EXPECT_FALSE(m_disk.FolderExists("never")) << "removing makes no folder";
}

TEST_F(SettingsFileTest, NumbersAreReadFromTheStartOfTheValue) {
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
    constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();
    const struct {
        const char* text;
        bool isInteger;
        int64_t integer;
        bool isDouble;
        double real;
    } rows[] = {
        {"12", true, 12, true, 12.0},
        {"-12", true, -12, true, -12.0},
        {"+12", true, 12, true, 12.0},
        {"+-12", false, 0, false, 0.0},
        {"12abc", true, 12, true, 12.0},
        {"abc", false, 0, false, 0.0},
        {"-", false, 0, false, 0.0},
        {" 6.00", true, 6, true, 6.0},
        {"\"  6.5\"", true, 6, true, 6.5},
        {".5in", false, 0, true, 0.5},
        {"1.5e2", true, 1, true, 150.0},
        {"6,5", true, 6, true, 6.0},
        {"nan", false, 0, false, 0.0},
        {"inf", false, 0, false, 0.0},
        {"9223372036854775807", true, kMost, true, 9223372036854775807.0},
        {"-9223372036854775808", true, kLeast, true, -9223372036854775808.0},
        {"9223372036854775808", false, 0, true, 9223372036854775808.0},
        {"1e999", true, 1, false, 0.0},
        {"", false, 0, false, 0.0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        m_disk.Bytes("roaming/Quillon/Quillon.cfg") = Text("[S]\r\nk=" + std::string(row.text));
        int64_t integer = 77;
        EXPECT_EQ(m_settings.ReadInteger("S", "k", integer), row.isInteger);
        EXPECT_EQ(integer, row.integer);
        double real = 77.0;
        EXPECT_EQ(m_settings.ReadDouble("S", "k", real), row.isDouble);
        EXPECT_EQ(real, row.real);
    }
    for (const int64_t written : {kMost, kLeast, int64_t{0}}) {
        int64_t integer = 77;
        EXPECT_TRUE(m_settings.WriteInteger("LastSelection", "Account", written));
        EXPECT_TRUE(m_settings.ReadInteger("LastSelection", "Account", integer));
        EXPECT_EQ(integer, written);
    }
}

TEST_F(SettingsFileTest, CutNeverLeavesPartOfACharacter) {
    const struct {
        std::string tail;  // behind 2,045 bytes
        size_t size;
    } rows[] = {
        {"xx", 2047}, {"xxx", 2047}, {"éx", 2047}, {"xéx", 2046},
        {"€", 2045},  {"x€", 2046},  {"😀", 2045},  {"", 2045},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.tail);
        const std::string stored = std::string(2045, 'a') + row.tail;
        ASSERT_TRUE(m_settings.WriteString("S", "k", stored));
        std::string value;
        ASSERT_TRUE(m_settings.ReadString("S", "k", value));
        EXPECT_EQ(value, stored.substr(0, row.size));
    }
}

// What would come back as something else, or make lines of its own.
TEST_F(SettingsFileTest, RefusesWhatTheFileCannotHold) {
    const struct {
        const char* name;
        std::string section, key, value;
    } rows[] = {
        {"two lines", "S", "k", "a\r\nb=c"},
        {"new line", "S", "k", "a\n[T]"},
        {"zero", "S", "k", std::string("a\0b", 3)},
        {"no section", "", "k", "v"},
        {"no key", "S", "", "v"},
        {"equals sign in key", "S", "a=b", "v"},
        {"comment as key", "S", ";k", "v"},
        {"section as key", "S", "[k]", "v"},
        {"bracket in section", "S]x", "k", "v"},
        {"line break in section", "S\r\n", "k", "v"},
        {"blank in front of key", "S", " k", "v"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_FALSE(m_settings.WriteString(row.section, row.key, row.value));
        EXPECT_TRUE(m_disk.Snapshot().empty());
    }
    EXPECT_TRUE(m_settings.WriteString("S", "k", "a=b;[c]"));
}

TEST_F(SettingsFileTest, DefaultFileIsWrittenOnce) {
    ASSERT_TRUE(m_settings.WriteDefaultFile());
    const std::string path = m_settings.Path();
    const std::string text = Contents(path);
    EXPECT_TRUE(
        text.starts_with("[CheckPrint]\r\nDateText=10,2155,230\r\nPayeeText=10,690,530\r\n"
                         "AmountText=10,2910,530\r\nWrittenAmountText=10,230,700\r\n"
                         "MemoText=10,310,1180\r\nCheckWidth= 6.00\r\n[LastPosition]\r\n"
                         "MainFrame=227,44,1427,879\r\n[ColumnWidths]\r\n"));
    EXPECT_TRUE(text.ends_with("\r\nNetIncomeDetailReport=57,273,110,197,330,83,106,113\r\n"));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 29);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\r'), 29);
    EXPECT_EQ(m_settings.Sections(),
              (std::vector<std::string>{"CheckPrint", "LastPosition", "ColumnWidths"}));
    EXPECT_EQ(m_settings.Keys("ColumnWidths").size(), 19U);

    ASSERT_TRUE(m_settings.WriteString("CheckPrint", "MemoText", ""));
    EXPECT_FALSE(m_settings.WriteDefaultFile());
    std::string value;
    EXPECT_FALSE(m_settings.ReadString("CheckPrint", "MemoText", value));
    ASSERT_TRUE(m_disk.Remove(path));
    EXPECT_TRUE(m_settings.WriteDefaultFile());
    EXPECT_EQ(Contents(path), text);

    m_disk.FailNth(CMemoryFileSystem::Call::Create, 1, FileError::NoPermission);
    ASSERT_TRUE(m_disk.Remove(path));
    EXPECT_FALSE(m_settings.WriteDefaultFile());
    EXPECT_FALSE(m_disk.Exists(path));
}

TEST_F(SettingsFileTest, SectionsThatDifferInCaseAreOne) {
    m_disk.Bytes("roaming/Quillon/Quillon.cfg") = Text("[A]\r\nx=1\r\n[B]\r\n[a]\r\ny=1\r\n");
    EXPECT_EQ(m_settings.Sections(), (std::vector<std::string>{"A", "B"}));
    EXPECT_EQ(m_settings.Keys("a"), std::vector<std::string>{"x"});
}

// The machine's own files and profile routines, in a folder beyond ASCII.
TEST(SettingsFile, WorksOnTheMachinesFiles) {
    const CTemporaryFolder folder("Jürgen");
    const CSettingsFile settings(SettingsPlaces::Fixed(folder.File("new/Quillon.cfg")));
    ASSERT_TRUE(settings.WriteDefaultFile());
    double width = 0.0;
    EXPECT_TRUE(settings.ReadDouble("checkprint", "CHECKWIDTH", width));
    EXPECT_EQ(width, 6.0);
    EXPECT_TRUE(settings.WriteString("FileFolder", "DatabasePath", folder.Path()));
    std::string path;
    EXPECT_TRUE(settings.ReadString("FileFolder", "DatabasePath", path));
    EXPECT_EQ(path, folder.Path());
    EXPECT_EQ(settings.Sections().back(), "FileFolder");
}

}  // namespace
}  // namespace quillon
