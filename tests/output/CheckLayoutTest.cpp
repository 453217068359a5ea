#include "finance/records/CheckLayout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "output/CheckLayouts.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

TEST(CheckLayout, ParsesPositionsStrictly) {
    const struct {
        const char* text;
        CheckPosition position;
    } rows[] = {
        {"10,2155,230", {10, 2155, 230}},
        {"1,1,1", {1, 1, 1}},
        {" 10 , 2155,\t230 ", {10, 2155, 230}},
        {"2147483647,1,1", {2147483647, 1, 1}},
        {"010,1,1", {10, 1, 1}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        CheckPosition position{7, 7, 7};
        EXPECT_TRUE(ParseCheckPosition(row.text, position));
        EXPECT_EQ(position, row.position);
    }
    for (const char* refused :
         {"", "10", "10,2155", "10,2155,", "10,2155,230,", "10,2155,230,1", "10;2155;230", "0,1,1",
          "1,0,1", "1,1,0", "10,-5,230", "+10,1,1", "10.5,1,1", "10,1e3,1", "1 0,1,1", "10,21x,230",
          "2147483648,1,1", "a,b,c"}) {
        SCOPED_TRACE(refused);
        CheckPosition position{7, 7, 7};
        EXPECT_FALSE(ParseCheckPosition(refused, position));
        EXPECT_EQ(position, (CheckPosition{7, 7, 7}));
    }
    EXPECT_EQ(FormatCheckPosition({10, 2155, 230}), "10,2155,230");
}

TEST(CheckLayout, ChecksTheWholeLayout) {
    EXPECT_EQ(FindLayoutProblem({}), CheckLayoutProblem::None);
    for (const CheckField field : kCheckFields) {
        CCheckPrintFormat format;
        PositionText(format, field) = "10,0,230";
        EXPECT_EQ(FindLayoutProblem(format), CheckLayoutProblem::BadPosition);
    }
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double width : {0.0, -6.0, infinity, std::nan("")}) {
        CCheckPrintFormat format;
        format.checkWidth = width;
        EXPECT_EQ(FindLayoutProblem(format), CheckLayoutProblem::BadWidth) << width;
    }
    EXPECT_EQ(MessageOf(CheckLayoutProblem::BadPosition),
              "One or more of the values entered are not valid.\n\nMake sure the values entered "
              "are all positive integers.");
    EXPECT_EQ(MessageOf(CheckLayoutProblem::BadWidth),
              "The check width must be a positive value.\n\nTypical check widths are 6 inches for "
              "personal checks and 8.5 inches for corporate checks.");
    EXPECT_EQ(PositionTitle(CheckField::Amount), "Numeric Amount Position");
}

class CheckLayouts : public testing::Test {
protected:
    CheckLayouts() {
        EXPECT_TRUE(m_database.Open("ledger").opened);
        CAccountEntry account;
        account.name = "Checking";
        EXPECT_TRUE(m_database.Add(account));
        m_account = account.id;
    }

    void Set(const char* key, const char* value) {
        ASSERT_TRUE(m_settings.WriteString("CheckPrint", key, value));
    }
    CCheckPrintFormatEntry Read() {
        CCheckPrintFormatEntry entry;
        EXPECT_TRUE(m_layouts.Read(m_account, entry));
        return entry;
    }

    CTemporaryFolder m_folder{"checks"};
    CSettingsFile m_settings{SettingsPlaces::Fixed(m_folder.File("Quillon.cfg"))};
    CMemoryFileSystem m_disk;
    CQuillonDatabaseInterface m_database{m_disk};
    CCheckLayouts m_layouts{m_database, m_settings};
    int64_t m_account = kNoRow;
};

TEST_F(CheckLayouts, DefaultsComeFromTheSettings) {
    const auto isBuiltIn = [](const CCheckPrintFormat& format) {
        return format.dateText == "10,2155,230" && format.payeeText == "10,690,530" &&
               format.amountText == "10,2910,530" && format.writtenAmountText == "10,230,700" &&
               format.memoText == "10,310,1180" && format.checkWidth == 6.0 &&
               !format.verticalOrientation;
    };
    EXPECT_TRUE(isBuiltIn(m_layouts.Defaults()));
    ASSERT_TRUE(m_settings.WriteDefaultFile());
    EXPECT_TRUE(isBuiltIn(m_layouts.Defaults()));

    Set("DateText", "12, 2000, 240");
    Set("PayeeText", "ten,690,530");
    Set("AmountText", "10,0,530");
    Set("WrittenAmountText", "11,231");
    Set("MemoText", "9,311,1181");
    Set("CheckWidth", "8.5");
    const CCheckPrintFormat changed = m_layouts.Defaults();
    EXPECT_EQ(changed.dateText, "12,2000,240");
    EXPECT_EQ(changed.payeeText, "10,690,530");
    EXPECT_EQ(changed.amountText, "10,2910,530");
    EXPECT_EQ(changed.writtenAmountText, "10,230,700");
    EXPECT_EQ(changed.memoText, "9,311,1181");
    EXPECT_EQ(changed.checkWidth, 8.5);
    for (const char* width : {"0", "-6", "6,5", "six", "inf", "nan", "1e999"}) {
        Set("CheckWidth", width);
        EXPECT_EQ(m_layouts.Defaults().checkWidth, 6.0) << width;
    }
}

TEST_F(CheckLayouts, OneRecordPerAccountMadeWhenItIsFirstChanged) {
    Set("MemoText", "9,311,1181");
    CCheckPrintFormatEntry entry = Read();
    EXPECT_EQ(entry.id, kNoRow);
    EXPECT_EQ(entry.format.memoText, "9,311,1181");
    EXPECT_EQ(m_database.RowCount("CheckFormat"), 0);

    CCheckPrintFormatEntry second(entry);
    entry.format.dateText = " 8, 2155 ,230";
    entry.format.verticalOrientation = true;
    ASSERT_EQ(m_layouts.Store(entry), CheckLayoutStatus::Ok);
    EXPECT_EQ(Read().format.dateText, "8,2155,230");

    // A window that was opened before the record was there changes the same record.
    second.format.checkWidth = 8.5;
    ASSERT_EQ(m_layouts.Store(second), CheckLayoutStatus::Ok);
    EXPECT_EQ(second.id, entry.id);
    EXPECT_EQ(m_database.RowCount("CheckFormat"), 1);

    ASSERT_TRUE(m_database.Close());
    ASSERT_TRUE(m_database.Open("ledger").opened);
    entry = Read();
    EXPECT_EQ(entry.format.checkWidth, 8.5);
    EXPECT_EQ(entry.format.memoText, "9,311,1181");
    // Later defaults are not for this account.
    Set("MemoText", "7,7,7");
    EXPECT_EQ(Read().format.memoText, "9,311,1181");
}

TEST_F(CheckLayouts, ABadLayoutAndAFullDiskStoreNothing) {
    CCheckPrintFormatEntry entry = Read();
    entry.format.checkWidth = 8.5;
    ASSERT_EQ(m_layouts.Store(entry), CheckLayoutStatus::Ok);

    CCheckPrintFormatEntry bad(entry);
    bad.format.dateText = "10,10,20";
    bad.format.memoText = "memo";
    EXPECT_EQ(m_layouts.Store(bad), CheckLayoutStatus::BadPosition);
    bad.format.memoText = "10,1,1";
    bad.format.checkWidth = -1;
    EXPECT_EQ(m_layouts.Store(bad), CheckLayoutStatus::BadWidth);

    bad.format.checkWidth = 7;
    m_disk.FailNth(CMemoryFileSystem::Call::AnyChange, 1, FileError::NoSpace,
                   CMemoryFileSystem::Times::ForEver);
    EXPECT_EQ(m_layouts.Store(bad), CheckLayoutStatus::StoreFailed);
    m_disk.StopFailing();
    EXPECT_EQ(Read().format.dateText, "10,2155,230");
    EXPECT_EQ(Read().format.checkWidth, 8.5);
}

}  // namespace
}  // namespace quillon
