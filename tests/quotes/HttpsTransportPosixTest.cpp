// What only this platform's transport has: proxies, certificate files by name, and no ear for
// answers without a head.

#include <gtest/gtest.h>

#include <cstdlib>

#include "quotes/HttpsTransport.h"
#include "support/HttpsServer.h"

namespace quillon {
namespace {

using Status = StockQuoteStatus;

class HttpsTransportPosix : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_server.IsRunning()) << m_server.Messages(); }
    void TearDown() override {
        ::unsetenv("https_proxy");
        for (const char* name : {"no_proxy", "NO_PROXY"}) ::setenv(name, "127.0.0.1", 1);
    }

    HttpsAnswer Get(const std::string& certificateFile,
                    const std::string& path = "/news/ACME") const {
        HttpsOptions options;
        options.limits = {.connect = 60'000, .silence = 60'000, .total = 60'000};
        options.certificateFile = certificateFile;
        return PlatformHttpsTransport(options)->Get({"127.0.0.1", m_server.Port("good"), path});
    }

    CHttpsServer m_server;
};

TEST_F(HttpsTransportPosix, CertificateFiles) {
    ::setenv("no_proxy", "127.0.0.1", 1);
    EXPECT_EQ(Get(m_server.AuthorityFile()).status, Status::Success);
    EXPECT_EQ(Get("").status, Status::CertificateRefused);  // the machine's authorities
    EXPECT_EQ(Get(m_server.AuthorityFile() + ".missing").status, Status::CertificateRefused);
}

TEST_F(HttpsTransportPosix, AnswersHaveAHead) {
    ::setenv("no_proxy", "127.0.0.1", 1);
    EXPECT_EQ(Get(m_server.AuthorityFile(), "/nohttp/x").status, Status::Failed);
}

TEST_F(HttpsTransportPosix, GoesThroughTheProxy) {
    for (const char* name : {"no_proxy", "NO_PROXY"}) ::unsetenv(name);
    const std::string proxy = "http://127.0.0.1:" + std::to_string(m_server.Port("refused"));
    ::setenv("https_proxy", proxy.c_str(), 1);
    EXPECT_EQ(Get(m_server.AuthorityFile()).status, Status::NotConnected);
    EXPECT_EQ(m_server.Requests(), "");
}

}  // namespace
}  // namespace quillon
