#include "quotes/StockQuoteGateway.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "foundation/platform/Clock.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Reason = StockQuoteReason;
using Status = StockQuoteStatus;
using OnFailure = CStockQuoteGateway::OnFailure;

constexpr char kSearchPage[] =
    "<meta property=\"og:title\" content=\"Acme (ACME)\"><p data-last-price=\"12.5\">";
constexpr char kAnalysisPage[] = "quote:{a,p:13.5,u:1},nameFull:\"Acme\",";
constexpr char kNewsPage[] = "<meta name=\"price\" content=\"14.5\">";

// Answers by host and path; what it does not know is not there.
class CFakeTransport final : public CHttpsTransport {
public:
    HttpsAnswer Get(const HttpsRequest& request) override {
        const std::string address =
            request.host + ":" + std::to_string(request.port) + request.path;
        asked.push_back(address);
        const auto found = answers.find(address);
        HttpsAnswer answer;
        answer.status = Status::NotConnected;
        return found == answers.end() ? answer : found->second;
    }

    void Serve(const std::string& address, const std::string& body, int httpCode = 200) {
        answers[address] = {Status::Success, httpCode, body, {}};
    }

    std::map<std::string, HttpsAnswer> answers;
    std::vector<std::string> asked;
};

class StockQuoteGateway : public testing::Test {
protected:
    void SetUp() override {
        for (int number = 0; number < kStockQuoteServices; ++number) {
            Set(number, "Host", "s" + std::to_string(number) + ".example");
        }
    }

    void Set(int service, const std::string& key, const std::string& value) {
        EXPECT_TRUE(
            m_settings.WriteString("StockQuoteService" + std::to_string(service), key, value));
    }
    void WriteSymbols(const std::string& folder, const std::string& text) {
        m_disk.Bytes(folder + "/StockSymbols.txt").assign(text.begin(), text.end());
    }
    static std::vector<Status> Statuses(const CStockQuoteResult& result) {
        std::vector<Status> statuses;
        statuses.reserve(result.attempts.size());
        for (const StockQuoteAttempt& attempt : result.attempts) {
            statuses.push_back(attempt.status);
        }
        return statuses;
    }

    CTemporaryFolder m_folder{"quotes"};
    CSettingsFile m_settings{SettingsPlaces::Fixed(m_folder.File("Quillon.cfg"))};
    CMemoryFileSystem m_disk;
    CFakeTransport m_transport;
    CStockQuoteGateway m_gateway{m_transport, m_settings,
                                 CStockSymbols({"own", "program"}, m_disk)};
};

TEST_F(StockQuoteGateway, EachService) {
    const struct {
        int service;
        const char* address;
        const char* page;
        double price;
        const char* name;
    } rows[] = {
        {0, "s0.example:443/finance/quote/ACME:NASDAQ", kSearchPage, 12.5, "Acme"},
        {1, "s1.example:443/stocks/ACME/", kAnalysisPage, 13.5, "Acme"},
        {2, "s2.example:443/investing/stock/ACME", kNewsPage, 14.5, ""},
    };
    const CStoppedClock clock(133'000'000'000'000'000);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.service);
        m_transport.asked.clear();
        m_transport.Serve(row.address, row.page);
        const CStockQuoteResult result = m_gateway.Request(CStockQuote("ACME"), row.service);
        EXPECT_TRUE(result.success);
        EXPECT_EQ(result.symbol, "ACME");
        EXPECT_DOUBLE_EQ(result.price, row.price);
        EXPECT_EQ(result.name, row.name);
        EXPECT_EQ(result.service, row.service);
        EXPECT_EQ(result.time, 133'000'000'000'000'000);
        EXPECT_THAT(m_transport.asked, ElementsAre(row.address));
        EXPECT_THAT(Statuses(result), ElementsAre(Status::Success));
    }
}

TEST_F(StockQuoteGateway, FailsWithoutNetwork) {
    Set(1, "Host", "");
    Set(2, "Port", "99999");
    const struct {
        const char* symbol;
        int service;
        OnFailure onFailure;
        Status status;
    } rows[] = {
        {"ACME", 3, OnFailure::Stop, Status::UnknownService},
        {"ACME", 3, OnFailure::NextService, Status::UnknownService},
        {"ACME", -1, OnFailure::Stop, Status::UnknownService},
        {"ACME", 1, OnFailure::Stop, Status::NoHost},
        {"ACME", 2, OnFailure::Stop, Status::BadSetting},
        {"", 0, OnFailure::Stop, Status::BadSymbol},
        {"A B", 0, OnFailure::NextService, Status::BadSymbol},
        {"A/B", 0, OnFailure::Stop, Status::BadSymbol},
        {"A\\B", 0, OnFailure::Stop, Status::BadSymbol},
        {"..", 0, OnFailure::Stop, Status::BadSymbol},
        {"A\r\nX: y", 0, OnFailure::Stop, Status::BadSymbol},
        {"\x7F"
         "A",
         0, OnFailure::Stop, Status::BadSymbol},
        {"M\xC3\x9CL", 0, OnFailure::Stop, Status::BadSymbol},
        {"A23456789012345678901234567890123", 0, OnFailure::Stop, Status::BadSymbol},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.symbol);
        SCOPED_TRACE(row.service);
        const CStockQuoteResult result =
            m_gateway.Request(CStockQuote(row.symbol), row.service, row.onFailure);
        EXPECT_FALSE(result.success);
        EXPECT_EQ(result.service, -1);
        EXPECT_THAT(Statuses(result), ElementsAre(row.status));
    }
    EXPECT_THAT(m_transport.asked, IsEmpty());
}

TEST_F(StockQuoteGateway, SymbolsInPaths) {
    const struct {
        const char* symbol;
        const char* path;
    } rows[] = {
        {"BRK.B", "BRK.B"},
        {"BF-B", "BF-B"},
        {"^GSPC", "%5EGSPC"},
        {"EURUSD=X", "EURUSD%3DX"},
        {"A?b#c%41", "A%3Fb%23c%2541"},
        {"A&B:C", "A%26B%3AC"},
        {"acme", "acme"},
    };
    for (const auto& row : rows) {
        m_transport.asked.clear();
        (void)m_gateway.Request(CStockQuote(row.symbol), 2);
        EXPECT_THAT(m_transport.asked,
                    ElementsAre(std::string("s2.example:443/investing/stock/") + row.path));
    }
}

TEST_F(StockQuoteGateway, ExchangeOfASymbol) {
    WriteSymbols("own",
                 "# ours\r\n\r\nACME\tNYSE\r\n acme \t NASDAQ\r\nODD\tNew York\r\nODD\tnyse\r\n"
                 "no tab\r\nBOTH\tNYSE");
    WriteSymbols("program",
                 "\xEF\xBB\xBF"
                 "FIRST\tNYSE\nBOTH\tNASDAQ\nLAST\tnasdaq");
    const std::vector<std::string> either = {"NASDAQ", "NYSE"};
    const struct {
        const char* symbol;
        std::vector<std::string> exchanges;
    } rows[] = {
        {"ACME", {"NYSE"}}, {"acme", {"NYSE"}},  {"ODD", {"NYSE"}},
        {"BOTH", {"NYSE"}}, {"FIRST", {"NYSE"}}, {"LAST", {"NASDAQ"}},
        {"ACM", either},    {"# ours", either},  {"no tab", either},
    };
    const CStockSymbols symbols({"own", "missing", "program"}, m_disk);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.symbol);
        EXPECT_EQ(symbols.ExchangesOf(row.symbol), row.exchanges);
    }
    // A file that cannot be read lists nothing, and the next one counts.
    m_disk.FailNth(CMemoryFileSystem::Call::Read, 1);
    EXPECT_EQ(symbols.ExchangesOf("BOTH"), std::vector<std::string>{"NASDAQ"});
    m_disk.StopFailing();
    m_disk.Bytes("own/StockSymbols.txt").resize(CStockSymbols::kLargestFile + 1);
    EXPECT_EQ(symbols.ExchangesOf("BOTH"), std::vector<std::string>{"NASDAQ"});
}

TEST_F(StockQuoteGateway, UnknownSymbolIsTriedAtBothExchanges) {
    const std::string nasdaq = "s0.example:443/finance/quote/ACME:NASDAQ";
    const std::string nyse = "s0.example:443/finance/quote/ACME:NYSE";
    m_transport.Serve(nasdaq, "nothing here", 404);
    m_transport.Serve(nyse, kSearchPage);
    const CStockQuoteResult result = m_gateway.Request(CStockQuote("ACME"), 0);
    EXPECT_TRUE(result.success);
    EXPECT_THAT(m_transport.asked, ElementsAre(nasdaq, nyse));
    EXPECT_THAT(Statuses(result), ElementsAre(Status::HttpError, Status::Success));

    // Where nothing answers the other exchange would not either.
    m_transport.asked.clear();
    m_transport.answers.erase(nasdaq);
    EXPECT_FALSE(m_gateway.Request(CStockQuote("ACME"), 0).success);
    EXPECT_THAT(m_transport.asked, ElementsAre(nasdaq));

    // The caller knows better than any list.
    m_transport.asked.clear();
    EXPECT_TRUE(m_gateway.Request(CStockQuote("ACME", {"NYSE"}), 0).success);
    EXPECT_THAT(m_transport.asked, ElementsAre(nyse));
}

TEST_F(StockQuoteGateway, FallsThrough) {
    WriteSymbols("own", "ACME\tNYSE\n");
    m_transport.Serve("s0.example:443/finance/quote/ACME:NYSE", kSearchPage);
    m_transport.Serve("s2.example:443/investing/stock/ACME", "<meta name=\"price\" content=\"0\">");

    const CStockQuoteResult stopped = m_gateway.Request(CStockQuote("ACME"), 1);
    EXPECT_FALSE(stopped.success);
    EXPECT_DOUBLE_EQ(stopped.price, 0.0);
    EXPECT_EQ(stopped.time, 0);
    EXPECT_THAT(Statuses(stopped), ElementsAre(Status::NotConnected));

    const CStockQuoteResult found =
        m_gateway.Request(CStockQuote("ACME"), 1, OnFailure::NextService);
    EXPECT_TRUE(found.success);
    EXPECT_EQ(found.service, 0);
    EXPECT_DOUBLE_EQ(found.price, 12.5);
    EXPECT_THAT(Statuses(found),
                ElementsAre(Status::NotConnected, Status::NoPrice, Status::Success));
    EXPECT_EQ(found.attempts.at(1).service, 2);
    EXPECT_EQ(found.attempts.at(1).httpCode, 200);
    EXPECT_EQ(found.attempts.at(2).path, "/finance/quote/ACME:NYSE");

    m_transport.answers.clear();
    Set(0, "Host", "");
    const CStockQuoteResult lost =
        m_gateway.Request(CStockQuote("ACME"), 2, OnFailure::NextService);
    EXPECT_FALSE(lost.success);
    EXPECT_EQ(lost.service, -1);
    EXPECT_THAT(Statuses(lost),
                ElementsAre(Status::NotConnected, Status::NoHost, Status::NotConnected));
}

// A page of status 404 may well show a price, of something else.
TEST_F(StockQuoteGateway, OnlyAGoodAnswerCounts) {
    for (const int code : {0, 204, 301, 404, 500}) {
        m_transport.Serve("s2.example:443/investing/stock/ACME", kNewsPage, code);
        const CStockQuoteResult result = m_gateway.Request(CStockQuote("ACME"), 2);
        EXPECT_THAT(Statuses(result), ElementsAre(Status::HttpError)) << code;
        EXPECT_EQ(result.attempts.at(0).httpCode, code);
    }
}

TEST_F(StockQuoteGateway, SettingsMendAChangedService) {
    Set(1, "Port", "8443");
    Set(1, "PathPrefix", "/v2/");
    Set(1, "PathSuffix", "none");
    Set(1, "ExchangeSeparator", "~");
    Set(1, "BlockMarker", "none");
    Set(1, "PriceMarker", "\"\"last\": \"");  // an outer pair of quotes is not part of it
    Set(1, "SecondMarker", "|");
    Set(1, "NameMarker", "title>");
    Set(1, "NameEnd", " - |</");
    m_transport.Serve("s1.example:8443/v2/ACME~NYSE",
                      "<title>Acme > all - x</title>{\"last\": 99.5|,p:1");
    const CStockQuoteResult result = m_gateway.Request(CStockQuote("ACME", {"NYSE"}), 1);
    EXPECT_THAT(Statuses(result), ElementsAre(Status::Success));
    EXPECT_DOUBLE_EQ(result.price, 99.5);
    EXPECT_EQ(result.name, "Acme > all");
}

TEST_F(StockQuoteGateway, BadSettingsAreNamed) {
    const struct {
        const char* key;
        const char* value;
        Reason reason;
    } rows[] = {
        {"Host", "https://s1.example/", Reason::HostNotBare},
        {"Host", "s1 example", Reason::HostNotBare},
        {"Host", "m\xC3\xBC.example", Reason::HostNotBare},
        {"Port", "0", Reason::PortOutOfRange},
        {"Port", "65536", Reason::PortOutOfRange},
        {"Port", "443x", Reason::PortOutOfRange},
        {"Port", "-1", Reason::PortOutOfRange},
        {"PathPrefix", "v2/", Reason::PathPrefixNotRooted},
        {"PathPrefix", "/a b/", Reason::PathPrefixNotRooted},
        {"PathPrefix", "none", Reason::PathPrefixNotRooted},
        {"PathSuffix", "a b", Reason::PathEndHasBlanks},
        {"ExchangeSeparator", "a b", Reason::PathEndHasBlanks},
        {"PriceMarker", "none", Reason::PriceMarkerEmpty},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.key) + "=" + row.value);
        std::string before;
        m_settings.ReadString("StockQuoteService1", row.key, before);
        Set(1, row.key, row.value);
        const CStockQuoteResult result = m_gateway.Request(CStockQuote("ACME"), 1);
        EXPECT_THAT(Statuses(result), ElementsAre(Status::BadSetting));
        EXPECT_EQ(result.attempts.at(0).detail.reason, row.reason);
        Set(1, row.key, before);
    }
    EXPECT_THAT(m_transport.asked, IsEmpty());
}

TEST_F(StockQuoteGateway, SavedPageNeedsNoHostAndNoNetwork) {
    Set(2, "Host", "");
    const CStockQuoteResult result = m_gateway.FromPage(CStockQuote("ACME"), 2, kNewsPage, 77);
    EXPECT_TRUE(result.success);
    EXPECT_DOUBLE_EQ(result.price, 14.5);
    EXPECT_EQ(result.service, 2);
    EXPECT_EQ(result.time, 77);
    EXPECT_THAT(Statuses(m_gateway.FromPage(CStockQuote("ACME"), 3, kNewsPage, 77)),
                ElementsAre(Status::UnknownService));
    EXPECT_THAT(Statuses(m_gateway.FromPage(CStockQuote("A/C"), 2, kNewsPage, 77)),
                ElementsAre(Status::BadSymbol));
    EXPECT_THAT(m_transport.asked, IsEmpty());
}

TEST_F(StockQuoteGateway, RemembersTheChosenService) {
    EXPECT_EQ(m_gateway.SelectedService(), 0);
    EXPECT_TRUE(m_gateway.SelectService(2));
    EXPECT_FALSE(m_gateway.SelectService(3));
    EXPECT_EQ(m_gateway.SelectedService(), 2);
    EXPECT_TRUE(m_settings.WriteInteger("LastSelection", "LastSelectedStockQuoteService", 9));
    EXPECT_EQ(m_gateway.SelectedService(), 0);
}

}  // namespace
}  // namespace quillon
