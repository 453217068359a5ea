#include <curl/curl.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <ctime>
#include <new>
#include <string_view>
#include <utility>

#include "foundation/platform/Clock.h"
#include "quotes/HttpsTransport.h"

namespace quillon {
namespace {

constexpr size_t kMostHeaderBytes = 200'000;
constexpr int64_t kLongestWait = 1'000;  // milliseconds between looks at the clock

// Once in the process; the first caller wins and all others wait.
bool CurlIsReady() {
    static const bool ready = ::curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return ready;
}

// Writing to a connection that the other side closed must not end the program. Only the
// calling thread is shielded: how the program treats the signal is not ours to change.
class CBrokenPipeShield {
public:
    CBrokenPipeShield() {
        ::sigemptyset(&m_pipe);
        ::sigaddset(&m_pipe, SIGPIPE);
        sigset_t pending;
        ::sigpending(&pending);
        m_wasPending = ::sigismember(&pending, SIGPIPE) == 1;
        ::pthread_sigmask(SIG_BLOCK, &m_pipe, &m_before);
    }
    ~CBrokenPipeShield() {
        const timespec now{};
        if (!m_wasPending) ::sigtimedwait(&m_pipe, nullptr, &now);
        ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    CBrokenPipeShield(const CBrokenPipeShield&) = delete;
    CBrokenPipeShield& operator=(const CBrokenPipeShield&) = delete;

private:
    sigset_t m_pipe{};
    sigset_t m_before{};
    bool m_wasPending = false;
};

struct EasyCleanup {
    void operator()(CURL* easy) const { ::curl_easy_cleanup(easy); }
};
struct MultiCleanup {
    void operator()(CURLM* multi) const { ::curl_multi_cleanup(multi); }
};
struct ListCleanup {
    void operator()(curl_slist* list) const { ::curl_slist_free_all(list); }
};

// One request. Time is kept here and not by libcurl, whose own measure of silence is whole
// seconds.
class CTransfer {
public:
    explicit CTransfer(const HttpsOptions& options)
        : m_options(options), m_started(MonotonicMilliseconds()) {}

    HttpsAnswer Run(const HttpsRequest& request) {
        if (!CurlIsReady() || !Prepare(request)) {
            return Failure(StockQuoteReason::LibraryNotStarted);
        }
        if (::curl_multi_add_handle(m_multi.get(), m_easy.get()) != CURLM_OK) {
            return Failure(StockQuoteReason::LibraryNotStarted);
        }
        const CBrokenPipeShield shield;
        HttpsAnswer answer = Drive();
        ::curl_multi_remove_handle(m_multi.get(), m_easy.get());
        return answer;
    }

private:
    template <typename Value>
    bool Set(CURLoption option, Value value) {
        return ::curl_easy_setopt(m_easy.get(), option, value) == CURLE_OK;
    }

    bool Prepare(const HttpsRequest& request) {
        m_easy.reset(::curl_easy_init());
        m_multi.reset(::curl_multi_init());
        if (!m_easy || !m_multi) return false;
        const std::string url =
            "https://" + request.host + ":" + std::to_string(request.port) + request.path;
        return Set(CURLOPT_URL, url.c_str()) && SetHeaders() && SetSecurity() && SetLimits() &&
               SetReceivers();
    }

    bool SetHeaders() {
        for (const char* header :
             {kHttpsLanguageHeader, kHttpsConnectionHeader, "Pragma: no-cache"}) {
            curl_slist* const longer = ::curl_slist_append(m_headers.get(), header);
            if (!longer) return false;
            (void)m_headers.release();  // part of the longer list
            m_headers.reset(longer);
        }
        return Set(CURLOPT_HTTPHEADER, m_headers.get()) && Set(CURLOPT_USERAGENT, kHttpsAgent) &&
               Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    }

    bool SetSecurity() {
        const std::string& file = m_options.certificateFile;
        if (!file.empty() && !(Set(CURLOPT_CAINFO, file.c_str()) &&
                               Set(CURLOPT_CAPATH, static_cast<const char*>(nullptr)))) {
            return false;
        }
        return Set(CURLOPT_SSL_VERIFYPEER, 1L) && Set(CURLOPT_SSL_VERIFYHOST, 2L) &&
               Set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2)) &&
               Set(CURLOPT_PROTOCOLS_STR, "https") && Set(CURLOPT_REDIR_PROTOCOLS_STR, "https") &&
               Set(CURLOPT_FOLLOWLOCATION, 1L) &&
               Set(CURLOPT_MAXREDIRS, static_cast<long>(m_options.limits.redirects));
    }

    bool SetLimits() {
        // A look-up of a name that hangs is left behind instead of waited for.
        return Set(CURLOPT_NOSIGNAL, 1L) && Set(CURLOPT_QUICK_EXIT, 1L) &&
               Set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(m_options.limits.connect)) &&
               Set(CURLOPT_TIMEOUT_MS, static_cast<long>(m_options.limits.total));
    }

    bool SetReceivers() {
        return Set(CURLOPT_ERRORBUFFER, m_error.data()) && Set(CURLOPT_PREREQFUNCTION, OnReady) &&
               Set(CURLOPT_PREREQDATA, this) && Set(CURLOPT_HEADERFUNCTION, OnHeader) &&
               Set(CURLOPT_HEADERDATA, this) && Set(CURLOPT_WRITEFUNCTION, OnBody) &&
               Set(CURLOPT_WRITEDATA, this);
    }

    // The connection stands and the request goes out.
    static int OnReady(void* self, char*, char*, int, int) {
        static_cast<CTransfer*>(self)->m_lastByte = MonotonicMilliseconds();
        return CURL_PREREQFUNC_OK;
    }

    static size_t OnHeader(char*, size_t size, size_t count, void* self) {
        auto& transfer = *static_cast<CTransfer*>(self);
        transfer.m_lastByte = MonotonicMilliseconds();
        transfer.m_headerBytes += size * count;
        if (transfer.m_headerBytes <= kMostHeaderBytes) return size * count;
        transfer.m_tooLarge = kMostHeaderBytes;
        return 0;
    }

    static size_t OnBody(char* bytes, size_t size, size_t count, void* self) {
        auto& transfer = *static_cast<CTransfer*>(self);
        transfer.m_lastByte = MonotonicMilliseconds();
        const size_t added = size * count;
        const size_t most = transfer.m_options.limits.body;
        if (added > most - transfer.m_body.size()) {
            transfer.m_tooLarge = most;
            return 0;
        }
        try {
            transfer.m_body.append(bytes, added);
        } catch (const std::bad_alloc&) {
            return 0;
        }
        return added;
    }

    // Until the silence or the whole is too long; 0 or less when it is.
    int64_t MillisecondsLeft() const {
        const int64_t now = MonotonicMilliseconds();
        const int64_t total = m_started + m_options.limits.total - now;
        if (m_lastByte == 0) return total;  // libcurl's own limit holds while connecting
        return std::min(total, m_lastByte + m_options.limits.silence - now);
    }

    HttpsAnswer Drive() {
        for (;;) {
            int running = 0;
            if (::curl_multi_perform(m_multi.get(), &running) != CURLM_OK) {
                return Failure(StockQuoteReason::LibraryFailed);
            }
            if (running == 0) return Finish();
            const int64_t left = MillisecondsLeft();
            if (left <= 0) {
                return TimedOut(MonotonicMilliseconds() - m_started >= m_options.limits.total);
            }
            const auto wait = static_cast<int>(std::min(left, kLongestWait));
            if (::curl_multi_poll(m_multi.get(), nullptr, 0, wait, nullptr) != CURLM_OK) {
                return Failure(StockQuoteReason::LibraryFailed);
            }
        }
    }

    HttpsAnswer Finish() {
        int left = 0;
        const CURLMsg* const message = ::curl_multi_info_read(m_multi.get(), &left);
        if (!message || message->msg != CURLMSG_DONE) {
            return Failure(StockQuoteReason::LibraryFailed);
        }
        const CURLcode code = message->data.result;
        if (m_tooLarge > 0) return TooLarge();
        if (code == CURLE_OPERATION_TIMEDOUT) {
            // Of its own limits, the one for connecting holds until the connection stands.
            return TimedOut(m_lastByte != 0 || m_options.limits.total <= m_options.limits.connect);
        }
        HttpsAnswer answer;
        long httpCode = 0;
        ::curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &httpCode);
        answer.httpCode = static_cast<int>(httpCode);
        answer.status = StatusOf(code);
        if (code == CURLE_UNSUPPORTED_PROTOCOL && httpCode / 100 == 3) {
            answer.status = StockQuoteStatus::RedirectRefused;
        }
        if (code == CURLE_OK) {
            answer.body = std::move(m_body);
        } else {
            answer.detail = {.reason = StockQuoteReason::PlatformText,
                             .text = m_error[0] ? m_error.data() : ::curl_easy_strerror(code)};
        }
        return answer;
    }

    static StockQuoteStatus StatusOf(CURLcode code) {
        switch (code) {
            case CURLE_OK:
                return StockQuoteStatus::Success;
            case CURLE_COULDNT_RESOLVE_HOST:
                return StockQuoteStatus::NotFound;
            case CURLE_COULDNT_RESOLVE_PROXY:
            case CURLE_COULDNT_CONNECT:
            case CURLE_SEND_ERROR:
            case CURLE_RECV_ERROR:
            case CURLE_GOT_NOTHING:
            case CURLE_PARTIAL_FILE:
            case CURLE_SSL_CONNECT_ERROR:
                return StockQuoteStatus::NotConnected;
            case CURLE_PEER_FAILED_VERIFICATION:
            case CURLE_SSL_CACERT_BADFILE:
                return StockQuoteStatus::CertificateRefused;
            case CURLE_TOO_MANY_REDIRECTS:
                return StockQuoteStatus::RedirectRefused;
            default:
                return StockQuoteStatus::Failed;
        }
    }

    // `total`: the request as a whole took too long.
    HttpsAnswer TimedOut(bool total) const {
        HttpsAnswer answer;
        answer.status = StockQuoteStatus::TimedOut;
        const HttpsLimits& limits = m_options.limits;
        if (total) {
            answer.detail = {StockQuoteReason::NotDone, limits.total};
        } else if (m_lastByte == 0) {
            answer.detail = {StockQuoteReason::NoConnection, limits.connect};
        } else {
            answer.detail = {StockQuoteReason::NoData, limits.silence};
        }
        return answer;
    }

    HttpsAnswer TooLarge() const {
        HttpsAnswer answer;
        answer.status = StockQuoteStatus::TooLarge;
        answer.detail = {StockQuoteReason::BodyTooLarge, static_cast<int64_t>(m_tooLarge)};
        return answer;
    }

    static HttpsAnswer Failure(StockQuoteReason reason) {
        HttpsAnswer answer;
        answer.detail.reason = reason;
        return answer;
    }

    const HttpsOptions& m_options;
    int64_t m_started;
    int64_t m_lastByte = 0;  // 0: not connected yet
    size_t m_headerBytes = 0;
    size_t m_tooLarge = 0;  // the limit that the answer is beyond
    std::string m_body;
    std::array<char, CURL_ERROR_SIZE> m_error{};
    // Torn down in reverse: the handle before its headers, the multi handle first.
    std::unique_ptr<curl_slist, ListCleanup> m_headers;
    std::unique_ptr<CURL, EasyCleanup> m_easy;
    std::unique_ptr<CURLM, MultiCleanup> m_multi;
};

class CCurlTransport final : public CHttpsTransport {
public:
    explicit CCurlTransport(HttpsOptions options) : m_options(std::move(options)) {}

    HttpsAnswer Get(const HttpsRequest& request) override {
        try {
            return CTransfer(m_options).Run(request);
        } catch (const std::bad_alloc&) {
            return {};
        }
    }

private:
    HttpsOptions m_options;
};

}  // namespace

std::unique_ptr<CHttpsTransport> PlatformHttpsTransport(HttpsOptions options) {
    return std::make_unique<CCurlTransport>(std::move(options));
}

}  // namespace quillon
