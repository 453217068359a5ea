// What only this platform's transport has.

#include <gtest/gtest.h>

#include "quotes/HttpsTransport.h"

namespace quillon {
namespace {

// A setting that cannot be kept must not look as if it were.
TEST(HttpsTransportWindows, CertificateFilesAreRefused) {
    HttpsOptions options;
    options.certificateFile = "authority.pem";
    const HttpsAnswer answer = PlatformHttpsTransport(options)->Get({"127.0.0.1", 1, "/"});
    EXPECT_EQ(answer.status, StockQuoteStatus::CertificateRefused);
    EXPECT_EQ(answer.detail.reason, StockQuoteReason::NoCertificateFiles);
}

}  // namespace
}  // namespace quillon
