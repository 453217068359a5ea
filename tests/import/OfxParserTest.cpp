#include "import/ofx/OfxParser.h"

#include <gtest/gtest.h>

#include "foundation/TextHash.h"
#include "import/ImportLedger.h"
#include "import/ofx/OfxInferred.h"
#include "import/ofx/OfxRewrite.h"
#include "import/ofx/OfxTags.h"
#include "import/ofx/OfxValues.h"

namespace quillon {
namespace {

using Code = ImportNoteCode;

const int64_t kToday = FileTimeFromDate(2030, 5, 6);

struct Read {
    Lines records;
    std::vector<int64_t> ids;
    std::vector<ImportRecord> kept;  // the texts are gone
    std::vector<ImportNote> notes;
    OfxSurvey survey;

    bool Take(const ImportRecord& record) {
        records.push_back(Shown(record));
        ids.push_back(record.fitId);
        kept.push_back(record);
        return true;
    }
};

Read ReadPlain(std::string_view text) {
    const Bytes bytes = NormaliseStatement(Text(text));
    CReadOnlyTextFileManager lines;
    EXPECT_EQ(lines.LoadBlock(bytes.data(), static_cast<int64_t>(bytes.size())),
              TextFileStatus::Ok);
    Read read;
    ReadPlainOfx(lines, kToday, [&](ImportRecord& record) { return read.Take(record); });
    return read;
}

// All accounts of the text.
Read ReadInferred(std::string_view text) {
    Read read;
    CImportNotes notes;
    Dialect dialect;
    const ImportOptions options;
    CInferredOfx reader(text, kToday, options, dialect, notes);
    reader.Survey();
    read.survey = reader.Found();
    for (ImportSource& source : read.survey.sources) source.chosen = true;
    reader.Read(read.survey.sources, [&](ImportRecord& record) { return read.Take(record); });
    read.notes = notes.Take();
    return read;
}

TEST(PlainOfx, FollowsItsRulesLineByLine) {
    const struct {
        const char* name;
        const char* text;
        Lines records;
    } rows[] = {
        {"one line each",
         "<STMTTRN>\n<TRNTYPE>DEBIT\n<DTPOSTED>20210315120000[-5:EST]\n<TRNAMT>-1,250.00\n"
         "<FITID>7\n<CHECKNUM>12\n<NAME>Shop\n<MEMO>m\n</STMTTRN>\n",
         {"2021-03-15 -1250 Shop (m) #12 EFT"}},
        {"all on one line, closed",
         "<OFX><STMTTRN><TRNTYPE>CREDIT</TRNTYPE><DTPOSTED>20210315</DTPOSTED><TRNAMT>5</TRNAMT>"
         "<NAME>A</NAME></STMTTRN></OFX>",
         {"2021-03-15 5 A"}},
        {"short date is today's", "<DTPOSTED>2021031\n<TRNAMT>5\n</STMTTRN>\n", {"2030-05-06 5"}},
        {"no such date", "<DTPOSTED>20210231\n<TRNAMT>5\n</STMTTRN>\n", {"2030-05-06 5"}},
        {"indented", "\t <NAME> A \n\t </STMTTRN>\n", {"2030-05-06 0 A"}},
        {"types",
         "<TRNTYPE>PAYMENT\n</STMTTRN>\n<TRNTYPE>XFER\n</STMTTRN>\n<TRNTYPE>DIRECTDEBIT\n"
         "</STMTTRN>\n<TRNTYPE>DIRECTDEP\n</STMTTRN>\n",
         {"2030-05-06 0 EFT", "2030-05-06 0 Transfer", "2030-05-06 0 EFT", "2030-05-06 0"}},
        {"negative check number", "<CHECKNUM>-4\n</STMTTRN>\n", {"2030-05-06 0"}},
        {"entities",
         "<NAME>T&amp;T &lt;3\n<MEMO>&#233;\n</STMTTRN>\n",
         {"2030-05-06 0 T&T <3 (\xC3\xA9)"}},
        {"not closed", "<STMTTRN><NAME>A\n", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ReadPlain(row.text).records, row.records);
    }
}

TEST(PlainOfx, IdentifiersAreNumbersHashesOrMade) {
    const Read read = ReadPlain(
        "<FITID>0000486\n</STMTTRN>\n<FITID>A-1\n</STMTTRN>\n"
        // Without an identifier: made, and different for identical lines.
        "<NAME>A\n<TRNAMT>1\n</STMTTRN>\n<NAME>A\n<TRNAMT>1\n</STMTTRN>\n"
        // Nor a name: none.
        "<TRNAMT>1\n</STMTTRN>\n"
        "<FITID>9223372036854775807\n</STMTTRN>\n");
    ASSERT_EQ(read.ids.size(), 6U);
    EXPECT_EQ(read.ids[0], 486);
    EXPECT_EQ(read.ids[1], TextHash("A-1"));
    EXPECT_EQ(read.ids[2], TextHash("1A"));
    EXPECT_NE(read.ids[3], read.ids[2]);
    EXPECT_NE(read.ids[3], 0);
    EXPECT_EQ(read.ids[4], 0);
    EXPECT_EQ(read.ids[5], INT64_MAX);
}

TEST(InferredOfx, ReadsElementsWhereverTheyStand) {
    const struct {
        const char* name;
        const char* text;
        Lines records;
        Noted note = {};
    } rows[] = {
        {"several on a line",
         "<STMTTRN><TRNTYPE>DEBIT<DTPOSTED>20210315<TRNAMT>-1.50<FITID>1<NAME>A<MEMO>B</STMTTRN>",
         {"2021-03-15 -1.5 A (B) EFT"},
         {}},
        {"closed and indented",
         "<STMTTRN>\r\n\t<DTPOSTED>20210315</DTPOSTED>\r\n\t<TRNAMT>2</TRNAMT>\r\n"
         "\t<FITID>1</FITID><NAME>A</NAME>\r\n</STMTTRN>",
         {"2021-03-15 2 A"},
         {}},
        {"values on lines of their own",
         "<STMTTRN><DTPOSTED>\n\t20210315\n</DTPOSTED><TRNAMT>\n\t2.5\n</TRNAMT><FITID>\n12\n\t34"
         "\n</FITID><NAME>A  B\n\t C</NAME></STMTTRN>",
         {"2021-03-15 2.5 A  B C"},
         {}},
        {"comments behind values",
         "<STMTTRN> <!-- <STMTTRN> -->\n<DTPOSTED>20210315 <!-- March -->\n<TRNAMT>-2 <!-- $2 -->\n"
         "<FITID>3 <!-- id -->\n<NAME>A <!-- a <b> c -->\n</STMTTRN> <!-- end -->",
         {"2021-03-15 -2 A"},
         {}},
        {"CDATA",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<NAME><![CDATA[ A &amp; <b> ]]></NAME>"
         "<MEMO><![CDATA[x\r\n<y]]></STMTTRN>",
         {"2021-03-15 2 A &amp; <b> (x<y)"},
         {}},
        {"entities",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<NAME>T&amp;T &#233;&#xE9; &quot; & &amp;lt;"
         "</STMTTRN>",
         {"2021-03-15 2 T&T \xC3\xA9\xC3\xA9 \" & &lt;"},
         {}},
        {"a stray < is text",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<NAME>a < b <3 <and so on> c</STMTTRN>",
         {"2021-03-15 2 a < b <3 <and so on> c"},
         {}},
        {"zero bytes",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<NAME>A\x01"
         "B</STMTTRN>",
         {"2021-03-15 2 AB"},
         {}},
        {"lower case",
         "<stmttrn><dtposted>20210315<trnamt>2<fitid>3<name>A</stmttrn>",
         {"2021-03-15 2 A"},
         {}},
        {"decimal commas",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>-530,86<FITID>3<NAME>A</STMTTRN>"
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>-3.34<FITID>4<NAME>A</STMTTRN>",
         {"2021-03-15 -530.86 A", "2021-03-15 -3.34 A"},
         {1, Code::DecimalCommaMostly, {"-530,86", "-3.34", 1}}},
        {"the balance proves the comma",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>1.000<FITID>3<NAME>A</STMTTRN><BALAMT>200,29",
         {"2021-03-15 1000 A"},
         {}},
        {"memo as payee",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<MEMO>M</STMTTRN>",
         {"2021-03-15 2 M (M)"},
         {}},
        {"payee aggregate",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<PAYEE><NAME>P<CITY>C</PAYEE></STMTTRN>",
         {"2021-03-15 2 P"},
         {}},
        {"neither name nor memo",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3</STMTTRN>",
         {"2021-03-15 2"},
         {1, Code::NoNameNoMemo}},
        {"text for a check number",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<NAME>A<CHECKNUM>INV-1</STMTTRN>",
         {"2021-03-15 2 A"},
         {1, Code::NumberLeftOut, {"INV-1"}}},
        {"no date",
         "<STMTTRN><TRNAMT>2<FITID>3<NAME>A</STMTTRN>",
         {"2030-05-06 2 A"},
         {1, Code::NoDate}},
        {"date of use",
         "<STMTTRN><DTPOSTED>?<DTUSER>20210314<TRNAMT>2<FITID>3<NAME>A</STMTTRN>",
         {"2021-03-14 2 A"},
         {1, Code::DateUnreadableButOfUse, {"?", "20210314"}}},
        {"a month by its name",
         "<STMTTRN><DTPOSTED>15-Mar-2021 12:30<TRNAMT>2<FITID>3<NAME>A</STMTTRN>",
         {"2021-03-15 2 A"},
         {}},
        {"dashes in a date",
         "<STMTTRN><DTPOSTED>2021-03-15<TRNAMT>2<FITID>3<NAME>A</STMTTRN>",
         {"2021-03-15 2 A"},
         {}},
        {"amount without digits",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>   .  <FITID>3<NAME>A</STMTTRN>",
         {"2021-03-15 0 A"},
         {1, Code::AmountUnreadable, {"."}}},
        {"correction",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<CORRECTFITID>2<CORRECTACTION>REPLACE"
         "<NAME>A</STMTTRN>",
         {"2021-03-15 2 A"},
         {1, Code::CorrectsLine, {"2"}}},
        {"withdrawn line",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<CORRECTFITID>2<CORRECTACTION>DELETE"
         "</STMTTRN>",
         {},
         {1, Code::LineWithdrawn, {"2"}}},
        {"no closing element",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<NAME>A\n<STMTTRN>"
         "<DTPOSTED>20210316<TRNAMT>3<FITID>4<NAME>B</BANKTRANLIST>",
         {"2021-03-15 2 A", "2021-03-16 3 B"},
         {1, Code::LineNotClosed}},
        {"cut off",
         "\n<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<NAME>Sh",
         {},
         {2, Code::LineCutOff}},
        {"unclosed comment hides nothing",
         "<!-- <STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<NAME>A</STMTTRN>",
         {"2021-03-15 2 A"},
         {}},
        {"nothing to enter", "<STMTTRN><NAME>A</STMTTRN>", {}, {1, Code::LineEmpty}},
        {"another currency, converted here",
         "<STMTRS><CURDEF>USD<STMTTRN><DTPOSTED>20210315<TRNAMT>-10.00<FITID>3<NAME>A<CURRENCY>"
         "<CURRATE>1,255<CURSYM>EUR</CURRENCY></STMTTRN></STMTRS>",
         {"2021-03-15 -12.55 A"},
         {1, Code::CurrencyConverted, {"-10.00", "EUR", -12.55, "1,255", "USD"}}},
        {"another currency, converted by the bank",
         "<STMTRS><CURDEF>USD<STMTTRN><DTPOSTED>20210315<TRNAMT>-10.00<FITID>3<NAME>A"
         "<ORIGCURRENCY><CURRATE>1.25<CURSYM>EUR</ORIGCURRENCY></STMTTRN></STMTRS>",
         {"2021-03-15 -10 A"},
         {1, Code::CurrencyConvertedByBank, {"EUR", "-10.00"}}},
        {"another currency without a rate",
         "<STMTRS><CURDEF>USD<STMTTRN><DTPOSTED>20210315<TRNAMT>-10.00<FITID>3<NAME>A<CURRENCY>EUR"
         "</CURRENCY></STMTTRN></STMTRS>",
         {"2021-03-15 -10 A"},
         {1, Code::CurrencyWithoutRate, {"-10.00", "EUR", "USD"}}},
        {"the statement's own currency",
         "<STMTRS><CURDEF>USD<STMTTRN><DTPOSTED>20210315<TRNAMT>-10<FITID>3<NAME>A<CURRENCY>"
         "<CURRATE>1.00<CURSYM>USD</CURRENCY></STMTTRN></STMTRS>",
         {"2021-03-15 -10 A"},
         {}},
        {"a type against the sign",
         "<STMTTRN><TRNTYPE>DEBIT<DTPOSTED>20210315<TRNAMT>10<FITID>3<NAME>A</STMTTRN>",
         {"2021-03-15 10 A EFT"},
         {1, Code::TypeSaysOut, {"DEBIT"}}},
        {"more decimals add up to the balance",
         "<STMTRS><STMTTRN><DTPOSTED>20210315<TRNAMT>0.334<FITID>3</STMTTRN><STMTTRN>"
         "<DTPOSTED>20210315<TRNAMT>0.333<FITID>4</STMTTRN><STMTTRN><DTPOSTED>20210315"
         "<TRNAMT>0.333<FITID>5</STMTTRN><LEDGERBAL><BALAMT>1.00</LEDGERBAL></STMTRS>",
         {"2021-03-15 0.33", "2021-03-15 0.34", "2021-03-15 0.33"},
         {1, Code::AmountRounded, {"0.334", 0.33}}},
        {"more decimals without a balance",
         "<STMTRS><STMTTRN><DTPOSTED>20210315<TRNAMT>0.334<FITID>3</STMTTRN><STMTTRN>"
         "<DTPOSTED>20210315<TRNAMT>0.335<FITID>4</STMTTRN></STMTRS>",
         {"2021-03-15 0.33", "2021-03-15 0.34"},
         {}},
        {"a break in front of a stray <",
         "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<NAME>a<b and c</STMTTRN>",
         {"2021-03-15 2 a<b and c"},
         {1, Code::IdentifierMade}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Read read = ReadInferred(row.text);
        EXPECT_EQ(read.records, row.records);
        ExpectNoted(read.notes, row.note);
        // The file's normal form on disk says the same.
        const Bytes normal = NormaliseStatement(Text(row.text));
        EXPECT_EQ(ReadInferred(ToString(normal)).records, read.records);
        EXPECT_EQ(ReadInferred(ToString(normal)).ids, read.ids);
    }
}

TEST(InferredOfx, IdentifiersNeverFallTogether) {
    const auto line = [](const char* id, const char* date, const char* amount, const char* name) {
        return std::string("<STMTTRN><DTPOSTED>") + date + "<TRNAMT>" + amount + "<FITID>" + id +
               "<NAME>" + name + "</STMTTRN>\n";
    };
    const Read read =
        ReadInferred(line("42", "20210315", "1", "A") +
                     // 34 digits do not fit; two that differ stay different.
                     line("2018030607232002046000000061553574", "20210315", "1", "A") +
                     line("2018030607232002046000000061553575", "20210315", "1", "A") +
                     // none, twice the same line
                     line("", "20210316", "1", "A") + line("0", "20210316", "1", "A"));
    ASSERT_EQ(read.ids.size(), 5U);
    EXPECT_EQ(read.ids[0], 42);
    EXPECT_EQ(read.ids[1], TextHash("2018030607232002046000000061553574"));
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_NE(read.ids[i], 0);
        for (size_t j = 0; j < i; ++j) EXPECT_NE(read.ids[i], read.ids[j]);
    }

    const Read repeated =
        ReadInferred(line("42", "20210315", "1", "A") + line("42", "20210315", "1.00", "A") +
                     line("42", "20210315", "1", "B"));
    const auto& records = repeated.kept;
    EXPECT_TRUE(records[1].saidBefore);
    EXPECT_FALSE(records[1].idShared);
    EXPECT_FALSE(records[2].saidBefore);
    EXPECT_TRUE(records[2].idShared);
    EXPECT_TRUE(records[0].idShared);
    EXPECT_NE(records[2].ownId, records[0].ownId);
    EXPECT_NE(records[2].ownId, 0);
}

TEST(InferredOfx, SaysWhatTheBankReports) {
    const Read read = ReadInferred(
        "<OFX><SONRS><STATUS><CODE>15500<SEVERITY>ERROR<MESSAGE>Wrong password</STATUS></SONRS>"
        "<INVSTMTRS><BUYSTOCK><INVTRAN><FITID>1</INVTRAN></BUYSTOCK></INVSTMTRS></OFX>");
    EXPECT_TRUE(read.survey.hasBody);
    EXPECT_TRUE(read.survey.report.isError);
    EXPECT_EQ(read.survey.report.code, "15500");
    EXPECT_EQ(read.survey.report.message, "Wrong password");
    EXPECT_EQ(read.survey.investmentActions, 1);
    EXPECT_TRUE(read.records.empty());
}

TEST(InferredOfx, TellsTheAccountsApart) {
    const auto statement = [](const char* from, const char* lines) {
        return "<STMTRS><BANKACCTFROM>" + std::string(from) + "</BANKACCTFROM>" + lines +
               "</STMTRS>";
    };
    const char* const kLine = "<STMTTRN><DTPOSTED>20210315<TRNAMT>2<FITID>3<NAME>A</STMTTRN>";
    const struct {
        const char* name;
        std::string text;
        const char* sources;
        size_t records;  // that are no repetition
    } rows[] = {
        {"one in two statements", statement("<ACCTID>1", kLine) + statement("<ACCTID>1", kLine),
         "1:2 ", 1},
        {"two that say the same", statement("<ACCTID>1", kLine) + statement("<ACCTID>2", kLine),
         "1:1 2:1 ", 2},
        {"one number, two kinds",
         statement("<ACCTID>1<ACCTTYPE>CHECKING", kLine) +
             statement("<ACCTID>1<ACCTTYPE>SAVINGS", kLine),
         "1 CHECKING:1 1 SAVINGS:1 ", 2},
        {"one number at two banks",
         statement("<BANKID>A<ACCTID>1", kLine) + statement("<BANKID>B<ACCTID>1", kLine),
         "1 A:1 1 B:1 ", 2},
        {"without numbers", "<STMTRS>" + std::string(kLine) + "</STMTRS><CCSTMTRS>" + kLine,
         "bank:1 card:1 ", 2},
        {"without a statement", std::string("<OFX>") + kLine + "</OFX>", "bank:1 ", 1},
        {"the number behind the lines",
         "<STMTRS>" + std::string(kLine) + "<BANKACCTFROM><ACCTID>1</BANKACCTFROM></STMTRS>",
         "1:1 ", 1},
        {"statements without lines", statement("<ACCTID>1", "") + statement("<ACCTID>2", kLine),
         "1:0 2:1 ", 1},
        {"a statement that is not closed",
         "<STMTRS><BANKACCTFROM><ACCTID>1</BANKACCTFROM>" + std::string(kLine) +
             "<BANKACCTFROM><ACCTID>2</BANKACCTFROM>" + kLine,
         "1:1 2:1 ", 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Read read = ReadInferred(row.text);
        std::string sources;
        for (const ImportSource& source : read.survey.sources) {
            sources += source.name + ":" + std::to_string(source.lines) + " ";
        }
        EXPECT_EQ(sources, row.sources);
        size_t records = 0;
        for (const ImportRecord& record : read.kept) records += !record.saidBefore;
        EXPECT_EQ(records, row.records);
    }
}

// Text that never becomes a tag, and openings that never close, cost one pass.
TEST(InferredOfx, HostileTextIsReadInOnePass) {
    for (const char* piece : {"<", "<!--", "<![CDATA[", "<NAME", "<NAME>", "&", "<STMTTRN>"}) {
        SCOPED_TRACE(piece);
        std::string text = "<STMTTRN><NAME>";
        for (int i = 0; i < 300'000; ++i) text += piece;
        EXPECT_LE(ReadInferred(text).records.size(), 300'001U);
    }
}

TEST(OfxRewrite, PutsEveryElementOnALineOfItsOwn) {
    const struct {
        const char* name;
        Bytes bytes;
        Bytes normal;
    } rows[] = {
        {"nothing to do", Text("no elements\n\n"), Text("no elements\n\n")},
        {"one line", Text("<A><B>c"), Text("\r\n<A>\r\n<B>c")},
        {"lines of CR LF stay", Text("h\r\n<A>\r\n<B>"), Text("h\r\n<A>\r\n<B>")},
        {"line feeds get a CR LF more", Text("a\n<B>"), Text("a\n\r\n<B>")},
        {"blank lines are halved in one pass", Text("a\r\n\r\n\r\n\r\nb<"),
         Text("a\r\n\r\nb\r\n<")},
        {"UTF-16", {0xFF, 0xFE, 'a', 0, '<', 0}, {0xFF, 0xFE, 'a', 0, 13, 0, 10, 0, '<', 0}},
        // U+3C00 holds the byte of "<".
        {"UTF-16 without an element", {0xFF, 0xFE, 0, '<'}, {0xFF, 0xFE, 0, '<'}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(NormaliseStatement(row.bytes), row.normal);
        if (!Contains(row.name, "halved")) {
            EXPECT_EQ(NormaliseStatement(row.normal), row.normal);
        }
    }
}

}  // namespace
}  // namespace quillon
