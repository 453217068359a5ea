// The command quote against a real HTTPS server that the settings name.

#include <cstdlib>

#include "cli/CliFixture.h"
#include "support/HttpsServer.h"

namespace quillon {
namespace {

using testing::HasSubstr;

class QuoteOverTheNetwork : public CliTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_server.IsRunning()) << m_server.Messages();
        for (const char* name : {"no_proxy", "NO_PROXY"}) ::setenv(name, "127.0.0.1", 1);
        Set("StockQuotes", "CertificateFile", m_server.AuthorityFile());
        Serve("0", "refused", "/search/");
        Serve("1", "good", "/analysis/");
    }

    void Set(const std::string& section, const std::string& key, const std::string& value) {
        EXPECT_EQ(Run({"settings", "set", section, key, value}).status, 0);
    }
    void Serve(const std::string& service, const std::string& port, const std::string& prefix) {
        Set("StockQuoteService" + service, "Host", "127.0.0.1");
        Set("StockQuoteService" + service, "Port", std::to_string(m_server.Port(port)));
        Set("StockQuoteService" + service, "PathPrefix", prefix);
    }

    CHttpsServer m_server;
};

TEST_F(QuoteOverTheNetwork, PricesAndFailures) {
    // The program gives a server a second, which a busy machine may need more than once.
    CliRun run;
    for (int round = 0; round < 20; ++round) {
        run = Run("--json quote ACME --fall-through");
        if (run.status == 0) break;
    }
    ASSERT_EQ(run.status, 0) << run.err;
    const auto quote = run.Json();
    EXPECT_DOUBLE_EQ(quote.at("price"), 189.84);
    EXPECT_EQ(quote.at("name"), "Acme, Inc.");
    EXPECT_EQ(quote.at("service"), 1);

    const CliRun dead = Run("quote ACME --service 0");
    EXPECT_EQ(dead.status, 1);
    EXPECT_THAT(dead.err, HasSubstr("No price of 'ACME': no connection to '127.0.0.1'"));
    EXPECT_EQ(std::count(dead.err.begin(), dead.err.end(), '\n'), 1);

    // The list of symbols lies beside the settings.
    WriteFile(m_folder.File("StockSymbols.txt"), "ACME\tNYSE\n");
    Serve("0", "good", "/search/");
    Run("quote ACME");
    EXPECT_THAT(m_server.Requests(), HasSubstr("/search/ACME:NYSE "));
    EXPECT_THAT(m_server.Requests(), testing::Not(HasSubstr("NASDAQ")));
}

}  // namespace
}  // namespace quillon
