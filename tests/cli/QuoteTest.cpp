// The command quote: saved pages, and what fails before anything is asked of the network.

#include "cli/CliFixture.h"

namespace quillon {
namespace {

using testing::HasSubstr;

class Quote : public CliTest {
protected:
    void SetUp() override {
        m_disk.SetClock(133'485'408'000'000'000);  // 2024-01-01
        WriteFile("search.html",
                  "<meta property=\"og:title\" content=\"Acme &amp; Sons (ACME) News\">"
                  "<div data-last-price=\"1,234.56\">");
        WriteFile("analysis.html", "quote:{a,p:0.0625,u:1},nameFull:\"Acme\x1B[2J\",");
        WriteFile("news.html", "<meta name=\"price\" content=\"42.5\">");
    }

    void ExpectFailure(const Arguments& arguments, const std::string& message) {
        const CliRun run = Run(arguments);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, "quillon-cli: " + message + "\n");
        EXPECT_EQ(run.out, "");
    }
};

TEST_F(Quote, SavedPages) {
    const auto quote = Json("quote ACME --page search.html");
    EXPECT_EQ(CliRun::Keys(quote),
              (std::vector<std::string>{"symbol", "price", "name", "service", "time"}));
    EXPECT_EQ(quote.at("symbol"), "ACME");
    EXPECT_DOUBLE_EQ(quote.at("price"), 1234.56);
    EXPECT_EQ(quote.at("name"), "Acme & Sons");
    EXPECT_EQ(quote.at("service"), 0);
    EXPECT_EQ(quote.at("time"), "2024-01-01T00:00:00Z");

    EXPECT_EQ(Run("quote ACME --service 1 --page analysis.html").out,
              "ACME  0.0625  Acme [2J\nFrom service 1, 2024-01-01T00:00:00Z.\n");
    EXPECT_EQ(Run("quote BRK.B --service 2 --page news.html").out,
              "BRK.B  42.50\nFrom service 2, 2024-01-01T00:00:00Z.\n");
    // The service last chosen is the default.
    Run("settings set LastSelection LastSelectedStockQuoteService 2");
    EXPECT_EQ(Json("quote ACME --page news.html").at("service"), 2);
}

TEST_F(Quote, Failures) {
    const std::string symbolHelp =
        "it is not a symbol; write letters, digits and signs such as . - ^ =, at most 32, "
        "without blanks and slashes.";
    ExpectFailure("quote A/B", "No price of 'A/B': " + symbolHelp);
    ExpectFailure("quote 'A B' --fall-through", "No price of 'A B': " + symbolHelp);
    ExpectFailure("quote A\nB", "No price of 'A B': " + symbolHelp);
    ExpectFailure("quote '' --page news.html", "No price of '': " + symbolHelp);
    ExpectFailure("quote ACME --service 3",
                  "No price of 'ACME': there is no quote service 3; choose 0, 1 or 2.");
    ExpectFailure("quote ACME",
                  "No price of 'ACME': no host is set for it; fill in the key 'Host' of the "
                  "settings' section 'StockQuoteService0'.");
    ExpectFailure("quote ACME --page none.html",
                  "The page 'none.html' cannot be read; check its path and permissions.");
    ExpectFailure("quote ACME --service 2 --page search.html",
                  "No price of 'ACME': the page has no price marker; if the service changed its "
                  "pages, the settings' section 'StockQuoteService2' can follow it.");
    WriteFile("zero.html", "data-last-price=\"0\"");
    ExpectFailure("quote ACME --page zero.html",
                  "No price of 'ACME': the page gives no price above 0; the service may not know "
                  "the symbol.");
    m_disk.Bytes("large.html").resize(10'240'001);
    ExpectFailure("quote ACME --page large.html",
                  "The page 'large.html' is larger than 10240000 bytes; save the quote page "
                  "alone.");

    Run("settings set StockQuoteService1 Port no");
    const CliRun all = Run("quote ACME --service 1 --fall-through");
    EXPECT_EQ(all.status, 1);
    EXPECT_THAT(all.err, testing::AllOf(HasSubstr("service 1: the settings' section "
                                                  "'StockQuoteService1' cannot be used (Port"),
                                        HasSubstr("; service 2: no host is set for it"),
                                        HasSubstr("; service 0: no host is set for it")));
    EXPECT_EQ(std::count(all.err.begin(), all.err.end(), '\n'), 1);

    EXPECT_EQ(Run("quote").status, 2);
    EXPECT_EQ(Run("quote ACME --service x").status, 2);
    EXPECT_EQ(Run("quote ACME --page search.html --fall-through").status, 2);
}

}  // namespace
}  // namespace quillon
