// The platform's transport against a real HTTPS server with an authority of its own. Limits
// that a case is not about are far away, so that a busy machine fails nothing; no time is
// measured.

#include "quotes/HttpsTransport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "HttpsTrust.h"
#include "support/HttpsServer.h"
#include "support/RunningUnderWine.h"

namespace quillon {
namespace {

using testing::HasSubstr;
using testing::Not;
using Reason = StockQuoteReason;
using Status = StockQuoteStatus;

// The number, not "localhost": a bare system need not know that name (no /etc/hosts).
constexpr const char* kHost = "127.0.0.1";
constexpr int64_t kFar = 60'000;  // milliseconds
constexpr int64_t kNear = 300;
constexpr HttpsLimits kPatient{.connect = kFar, .silence = kFar, .total = kFar};

std::string Said(const HttpsAnswer& answer) {
    return "reason " + std::to_string(static_cast<int>(answer.detail.reason)) + " (" +
           std::to_string(answer.detail.value) + ") " + answer.detail.text;
}

class HttpsTransport : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_server = std::make_unique<CHttpsServer>();
        s_trust = std::make_unique<CHttpsTrust>(s_server->AuthorityFile());
    }
    static void TearDownTestSuite() {
        s_trust.reset();
        s_server.reset();
    }

    void SetUp() override {
        if (!s_trust->WhyNot().empty()) GTEST_SKIP() << s_trust->WhyNot();
        ASSERT_TRUE(s_server->IsRunning()) << s_server->Messages();
        ASSERT_TRUE(s_trust->IsTrusted());
    }

    static HttpsOptions Options(const HttpsLimits& limits = kPatient) {
        HttpsOptions options = s_trust->Options();
        options.limits = limits;
        return options;
    }
    static HttpsAnswer Get(const std::string& port, const std::string& path,
                           const HttpsLimits& limits = kPatient, const std::string& host = kHost) {
        return PlatformHttpsTransport(Options(limits))->Get({host, s_server->Port(port), path});
    }

    static std::unique_ptr<CHttpsServer> s_server;
    static std::unique_ptr<CHttpsTrust> s_trust;
};

std::unique_ptr<CHttpsServer> HttpsTransport::s_server;
std::unique_ptr<CHttpsTrust> HttpsTransport::s_trust;

TEST_F(HttpsTransport, Answers) {
    const struct {
        const char* path;
        int httpCode;
        std::string start;
        size_t size;  // 0: any
    } rows[] = {
        {"/nomarker/ACME", 200, "<html>Nothing for sale.</html>", 30},
        {"/search/BRK.B%5E%3D", 200, "<html><meta property", 0},
        {"/rubbish/x", 200, std::string("\0\1\2\3", 4), 16'384},
        {"/unknown/x", 404, "no such page", 12},
        {"/error/x", 500, "<html>", 0},
        {"/exact/x", 200, "<html><meta property", 10'240'000},
        {"/tohttps/x", 200, "<html><meta property", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        const HttpsAnswer answer = Get("good", row.path);
        EXPECT_EQ(answer.status, Status::Success) << Said(answer);
        EXPECT_EQ(answer.httpCode, row.httpCode);
        EXPECT_TRUE(answer.body.starts_with(row.start));
        EXPECT_EQ(answer.body.size(), row.size > 0 ? row.size : answer.body.size());
    }
}

TEST_F(HttpsTransport, RequestAsSent) {
    EXPECT_EQ(Get("good", "/news/HEADERS").status, Status::Success);
    const std::string requests = s_server->Requests();
    const size_t start = requests.find("good /news/HEADERS |");
    ASSERT_NE(start, std::string::npos);
    const std::string request = requests.substr(start, requests.find('\n', start) - start);
    for (const char* header : {"Accept-Language: en", "Connection: Keep-Alive", "User-Agent: Quote",
                               "Pragma: no-cache"}) {
        EXPECT_THAT(request, HasSubstr(std::string("| ") + header));
    }
    EXPECT_THAT(request, Not(HasSubstr("Cookie")));
}

TEST_F(HttpsTransport, CertificatesAreVerified) {
    for (const char* port : {"otherAuthority", "wrongHost", "expired"}) {
        SCOPED_TRACE(port);
        const HttpsAnswer answer = Get(port, "/search/ACME");
        EXPECT_EQ(answer.status, Status::CertificateRefused) << Said(answer);
        EXPECT_EQ(answer.body, "");
    }
    // Nor is one taken on the way.
    EXPECT_EQ(Get("good", "/tootherauthority/x").status, Status::CertificateRefused);
    // The request itself, symbol and all, was never sent.
    for (const char* port : {"\notherAuthority", "\nwrongHost", "\nexpired"}) {
        EXPECT_THAT("\n" + s_server->Requests(), Not(HasSubstr(port)));
    }
}

TEST_F(HttpsTransport, RedirectsStayOnHttpsAndEnd) {
    for (const char* path : {"/tohttp/x", "/tofile/x", "/loop/x"}) {
        SCOPED_TRACE(path);
        const HttpsAnswer answer = Get("good", path);
        EXPECT_EQ(answer.status, Status::RedirectRefused) << Said(answer);
        EXPECT_EQ(answer.body, "");
    }
    EXPECT_THAT("\n" + s_server->Requests(), Not(HasSubstr("\nplain")));
    HttpsLimits none = kPatient;
    none.redirects = 0;
    EXPECT_EQ(Get("good", "/tohttps/x", none).status, Status::RedirectRefused);
}

TEST_F(HttpsTransport, SlowServersAreLeft) {
    const struct {
        const char* name;
        const char* port;
        const char* path;
        HttpsLimits limits;  // connect, silence, total
        Reason reason;       // None: on some platforms the phases are not told apart
    } rows[] = {
        {"no handshake", "silent", "/", {kNear, kNear, kFar}, Reason::None},
        {"no answer", "good", "/never/x", {kFar, kNear, kFar}, Reason::None},
        {"stops", "good", "/stall/x", {kFar, kNear, kFar}, Reason::None},
        {"bytes", "good", "/drip/x", {kFar, kFar, 2 * kNear}, Reason::NotDone},
        {"headers", "good", "/headerdrip/x", {kFar, kFar, 2 * kNear}, Reason::NotDone},
        {"never, as a whole", "good", "/never/x", {kFar, kFar, kNear}, Reason::NotDone},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const HttpsAnswer answer = Get(row.port, row.path, row.limits);
        // Wine takes silence for a broken line.
        const bool isBroken = RunningUnderWine() && answer.status == Status::NotConnected;
        EXPECT_EQ(answer.status, isBroken ? Status::NotConnected : Status::TimedOut)
            << Said(answer);
        if (row.reason != Reason::None) {
            EXPECT_EQ(answer.detail.reason, row.reason);
            EXPECT_EQ(answer.detail.value, row.limits.total);
        }
        EXPECT_EQ(answer.body, "");
    }
}

TEST_F(HttpsTransport, TooMuchIsRefused) {
    for (const char* path : {"/endless/x", "/over/x"}) {
        SCOPED_TRACE(path);
        const HttpsAnswer answer = Get("good", path);
        EXPECT_EQ(answer.status, Status::TooLarge) << Said(answer);
        EXPECT_EQ(answer.detail.reason, Reason::BodyTooLarge);
        EXPECT_EQ(answer.body, "");
    }
    HttpsLimits limits = kPatient;
    limits.total = 10 * kNear;
    EXPECT_NE(Get("good", "/headers/x", limits).status, Status::Success);
}

TEST_F(HttpsTransport, NothingThere) {
    EXPECT_EQ(Get("refused", "/").status, Status::NotConnected);
    EXPECT_EQ(Get("good", "/", kPatient, "no-such-host.invalid").status, Status::NotFound);
    // No TLS behind the port.
    EXPECT_NE(Get("plain", "/search/ACME").status, Status::Success);
}

TEST_F(HttpsTransport, ManyThreads) {
    const std::unique_ptr<CHttpsTransport> transport = PlatformHttpsTransport(Options());
    std::vector<HttpsAnswer> answers(8);
    {
        std::vector<std::jthread> threads;
        threads.reserve(answers.size());
        for (HttpsAnswer& answer : answers) {
            threads.emplace_back([&] {
                answer = transport->Get({kHost, s_server->Port("good"), "/news/ACME"});
            });
        }
    }
    for (const HttpsAnswer& answer : answers) {
        EXPECT_EQ(answer.status, Status::Success) << Said(answer);
        EXPECT_THAT(answer.body, HasSubstr("42.50"));
    }
}

}  // namespace
}  // namespace quillon
