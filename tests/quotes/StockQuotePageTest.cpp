#include "quotes/StockQuotePage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

StockQuoteService Service(int number) {
    const CSettingsFile none(SettingsPlaces::Fixed(""));
    StockQuoteService service;
    StockQuoteReason reason{};
    EXPECT_EQ(LoadStockQuoteService(none, number, service, reason), StockQuoteStatus::Success);
    return service;
}

// A copy at the end of its own heap block, so that a sanitizer sees any step beyond it.
StockQuoteStatus Cut(const std::string& page, const StockQuoteService& service, double& price,
                     std::string& name) {
    const std::vector<char> exact(page.begin(), page.end());
    return CutStockQuote({exact.data(), exact.size()}, service, price, name);
}

constexpr double kNone = 0.0;

TEST(StockQuotePage, Prices) {
    // What stands behind the price marker of service 0.
    const struct {
        const char* text;
        double price;
    } rows[] = {
        {"\"189.84\"></div>", 189.84},
        {"'189.84'>", 189.84},
        {"189.84 data-other=7", 189.84},
        {" \t\"\r\n 42.5 \"", 42.5},
        {"\"1,234.56\"", 1234.56},
        {"\"12,345,678.90\"", 12345678.9},
        {"\"1'234.56\"", 1234.56},
        {"\"1 234.56\"", 1234.56},
        {"7", 7.0},
        {"\"5.\"", 5.0},
        {"\".5\"", 0.5},
        {"\"0.0001\"", 0.0001},
        {"\"189.84USD\"", 189.84},
        {"\"5,\"", 5.0},
        {"\"5, 100 more\"", 5.0},
    };
    const StockQuoteService service = Service(0);
    const auto cut = [&](const char* text, double expected) {
        SCOPED_TRACE(text);
        double price = -1.0;
        std::string name = "old";
        EXPECT_EQ(Cut(std::string("<div data-last-price=") + text, service, price, name),
                  expected > 0 ? StockQuoteStatus::Success : StockQuoteStatus::NoPrice);
        EXPECT_DOUBLE_EQ(price, expected);
        EXPECT_EQ(name, "");
    };
    for (const auto& row : rows) cut(row.text, row.price);
    // Half a number would be a wrong price.
    for (const char* text : {"\"12,50\"", "\"1.234,56\"", "\"1234,567\"", "\"1,2345\"", "\"1.2.3\"",
                             "\"1e5\"", "\"1E-7\"", "\"0\"", "\"0.00\"", "\"-5\"", "\"$5\"",
                             "\"nan\"", "\"inf\"", "\"0x10\"", "\".\"", "\"\"", ",", ""}) {
        cut(text, kNone);
    }
}

TEST(StockQuotePage, MarkersOfEachService) {
    const struct {
        const char* name;
        int service;
        std::string page;
        StockQuoteStatus status;
        double price;
        const char* company;
    } rows[] = {
        {"search engine", 0,
         "<meta property=\"og:title\" content=\"Acme Corp (ACME) Stock Price &amp; News\">"
         "<div data-last-price=\"1,234.56\" data-x=\"1\">",
         StockQuoteStatus::Success, 1234.56, "Acme Corp"},
        {"the name behind the price", 0,
         "data-last-price=\"3\"<meta property=\"og:title\" content=\"Acme\" data-rh=\"true\"/>",
         StockQuoteStatus::Success, 3.0, "Acme"},
        {"analysis site", 1,
         "a,p:1,u:0,quote:{c:2,p:189.84,u:\"Nov 24\"},nameFull:\"Acme, Inc.\",p:7",
         StockQuoteStatus::Success, 189.84, "Acme, Inc."},
        {"a price before the block only", 1, ",p:5,u:1,quote:{c:2}",
         StockQuoteStatus::NoPriceMarker, kNone, ""},
        {"no block", 1, "q:{,p:5,u:1", StockQuoteStatus::NoPriceMarker, kNone, ""},
        {"no second marker", 1, "quote:{a,p:5,x:1", StockQuoteStatus::Success, 5.0, ""},
        {"nothing before the second marker", 1, "quote:{a,p:,u:5", StockQuoteStatus::NoPrice, kNone,
         ""},
        {"the name before the block", 1, "nameFull:'Acme',quote:{a,p:5,u:1",
         StockQuoteStatus::Success, 5.0, "'Acme'"},
        {"news site", 2,
         "<meta name=\"name\" content=\"Moody's & Co\"><meta name=\"price\" content=\"42.50\">",
         StockQuoteStatus::Success, 42.5, "Moody's & Co"},
        {"a page of another service", 2, "<div data-last-price=\"5\">",
         StockQuoteStatus::NoPriceMarker, kNone, ""},
        {"marker at the end", 2, "<meta name=\"price\" content=\"", StockQuoteStatus::NoPrice,
         kNone, ""},
        {"half a marker at the end", 2, "<meta name=\"price\" cont",
         StockQuoteStatus::NoPriceMarker, kNone, ""},
        {"name marker at the end", 2,
         "<meta name=\"price\" content=\"5\"><meta name=\"name\" content=\"",
         StockQuoteStatus::Success, 5.0, ""},
        {"the first price decides", 2,
         "<meta name=\"price\" content=\"0\"><meta name=\"price\" content=\"5\">",
         StockQuoteStatus::NoPrice, kNone, ""},
        {"a name without a price", 2, "<meta name=\"name\" content=\"Acme\">",
         StockQuoteStatus::NoPriceMarker, kNone, ""},
        {"empty", 0, "", StockQuoteStatus::NoPriceMarker, kNone, ""},
        {"zeros", 0, std::string("\0\0data-last-price=\0", 19) + "5", StockQuoteStatus::NoPrice,
         kNone, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        double price = -1.0;
        std::string name = "old";
        EXPECT_EQ(Cut(row.page, Service(row.service), price, name), row.status);
        EXPECT_DOUBLE_EQ(price, row.price);
        EXPECT_EQ(name, row.company);
    }
}

TEST(StockQuotePage, Names) {
    const std::string longest(kLongestName, 'x');
    const struct {
        int service;
        std::string text;  // behind the name marker
        std::string name;
    } rows[] = {
        {2, "Acme\">", "Acme"},
        {2, "Acme\" />", "Acme"},
        {2, "Acme\" itemprop=\"name\">", "Acme"},
        {2, "  Acme \t\r\n Corp \">", "Acme Corp"},
        {2, "Acme", "Acme"},
        {2, "\">", ""},
        {2, "Acme \"The\" Corp\">", "Acme The Corp"},
        {2, "A/S Acme\">", "A/S Acme"},
        {2, "AT&amp;T &lt;&quot;&#39;&#x27;&#233;&gt;\">", "AT&T <\"''\xC3\xA9>"},
        {2, "R&D &unknown; &#xZZ; & &amp\">", "R&D &unknown; &#xZZ; & &amp"},
        {2, "a&#0;b&#10;c&#x110000;d&#99999999999;\">",
         "a\xEF\xBF\xBD"
         "b c\xEF\xBF\xBD"
         "d&#99999999999;"},
        {2, "M\xC3\xBCller\xFF\">", "M\xC3\xBCller\xEF\xBF\xBD"},
        {2, "a\x1B[31mb\x7F\">", "a [31mb"},
        {2, longest + "\">", longest},
        {2, longest + "x\">", ""},
        {0, "Acme Corp (ACME) Prices\">", "Acme Corp"},
        {1, "\"Acme, Inc.\",x:1", "Acme, Inc."},
        {1, "\"Acme\", x:1", "Acme"},
        {1, "\"Acme\"}", "Acme"},
        {1, R"("A\u0026B \uD83D\uDE00 \"X\" \uD83D",)", "A&B \xF0\x9F\x98\x80 X \xEF\xBF\xBD"},
        {1, R"("A\u00)", R"(A\u00)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const StockQuoteService service = Service(row.service);
        double price = 0.0;
        std::string name;
        const std::string page =
            service.blockMarker + service.priceMarker + "5;" + service.nameMarker + row.text;
        EXPECT_EQ(Cut(page, service, price, name), StockQuoteStatus::Success);
        EXPECT_EQ(name, row.name);
    }
}

// Ten megabytes of what could make a scanner start over again and again, each within the
// time of a plain read or so: work that grows with the square would take hours.
TEST(StockQuotePage, LargePages) {
    constexpr size_t kSize = 10'240'000;
    const auto repeated = [](const std::string& piece) {
        std::string page;
        page.reserve(kSize + 4'096);
        while (page.size() < 4'096) page += piece;
        const std::string block = page;
        while (page.size() < kSize) page += block;
        return page;
    };
    for (int number = 0; number < kStockQuoteServices; ++number) {
        const StockQuoteService service = Service(number);
        const std::string start = service.blockMarker + service.priceMarker;
        const std::string almost = service.priceMarker.substr(0, service.priceMarker.size() - 1);
        const struct {
            std::string page;
            StockQuoteStatus status;
        } rows[] = {
            {repeated(almost), StockQuoteStatus::NoPriceMarker},
            {start + repeated("9"), StockQuoteStatus::NoPrice},
            {start + repeated("1,"), StockQuoteStatus::NoPrice},
            {start + repeated(" \""), StockQuoteStatus::NoPrice},
            {start + "5;" + service.nameMarker + repeated("&#"), StockQuoteStatus::Success},
            {start + "5;" + service.nameMarker + repeated("\" "), StockQuoteStatus::Success},
            {repeated("x") + start + "5", StockQuoteStatus::Success},
        };
        for (const auto& row : rows) {
            double price = 0.0;
            std::string name;
            EXPECT_EQ(CutStockQuote(row.page, service, price, name), row.status);
            EXPECT_EQ(name, "");
        }
    }
}

// Pages cut off anywhere and torn by random bytes never give more than the page held.
TEST(StockQuotePage, DamagedPages) {
    const std::string page =
        "<meta property=\"og:title\" content=\"A&amp;B \\u0026 (X)\">quote:{a,p:12.5,u:1,"
        "nameFull:\"A, B\",data-last-price=\"12.5\"<meta name=\"name\" content=\"C\">"
        "<meta name=\"price\" content=\"12.5\">";
    std::minstd_rand random(7);
    for (int number = 0; number < kStockQuoteServices; ++number) {
        const StockQuoteService service = Service(number);
        double price = 0.0;
        std::string name;
        for (size_t length = 0; length <= page.size(); ++length) {
            const StockQuoteStatus status = Cut(page.substr(0, length), service, price, name);
            // 1, 12, 12. and 12.5 are what a cut can leave.
            EXPECT_EQ(status == StockQuoteStatus::Success, price > 0.0);
            EXPECT_LE(price, 12.5);
        }
        for (int round = 0; round < 2'000; ++round) {
            std::string torn = page;
            for (int change = 0; change < 3; ++change) {
                torn[random() % torn.size()] = static_cast<char>(random() % 256);
            }
            const StockQuoteStatus status = Cut(torn, service, price, name);
            EXPECT_EQ(status == StockQuoteStatus::Success, price > 0.0);
            EXPECT_LE(name.size(), page.size());
        }
    }
}

}  // namespace
}  // namespace quillon
