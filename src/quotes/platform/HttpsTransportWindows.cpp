// windows.h comes first.
#include <windows.h>
#include <wininet.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "quotes/HttpsTransport.h"

namespace quillon {
namespace {

constexpr size_t kPiece = 65'536;
constexpr DWORD kLongestAddress = 8'192;

HttpsAnswer Failure(StockQuoteStatus status, std::string detail) {
    HttpsAnswer answer;
    answer.status = status;
    answer.detail = std::move(detail);
    return answer;
}

class CInternetHandle {
public:
    explicit CInternetHandle(HINTERNET handle) : m_handle(handle) {}
    ~CInternetHandle() {
        if (m_handle) ::InternetCloseHandle(m_handle);
    }
    CInternetHandle(const CInternetHandle&) = delete;
    CInternetHandle& operator=(const CInternetHandle&) = delete;

    explicit operator bool() const { return m_handle != nullptr; }
    HINTERNET Get() const { return m_handle; }

private:
    HINTERNET m_handle;
};

// Owns the request's handle and closes it when time is over, which is how a call that
// waits on it is broken off: the routines' own time-outs count from byte to byte. Each
// handle is closed once, whoever comes first.
class CRequestHandle {
public:
    // Null, or one that no longer has time, is closed at once.
    CRequestHandle(HINTERNET handle, std::chrono::steady_clock::time_point deadline)
        : m_handle(handle) {
        if (m_handle) m_watchdog = std::thread([this, deadline] { Watch(deadline); });
    }
    ~CRequestHandle() {
        {
            const std::lock_guard lock(m_mutex);
            m_done = true;
        }
        m_wake.notify_all();
        if (m_watchdog.joinable()) m_watchdog.join();
        Close();
    }
    CRequestHandle(const CRequestHandle&) = delete;
    CRequestHandle& operator=(const CRequestHandle&) = delete;

    explicit operator bool() const { return m_watched; }
    HINTERNET Get() const { return m_watched; }
    bool HasExpired() {
        const std::lock_guard lock(m_mutex);
        return m_expired;
    }

private:
    void Watch(std::chrono::steady_clock::time_point deadline) {
        std::unique_lock lock(m_mutex);
        if (m_wake.wait_until(lock, deadline, [this] { return m_done; })) return;
        m_expired = true;
        lock.unlock();
        Close();
    }
    void Close() {
        HINTERNET handle = nullptr;
        {
            const std::lock_guard lock(m_mutex);
            handle = std::exchange(m_handle, nullptr);
        }
        if (handle) ::InternetCloseHandle(handle);
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    HINTERNET m_handle;              // null once it is closed
    HINTERNET m_watched = m_handle;  // its value, for the calls
    bool m_done = false;
    bool m_expired = false;
    std::thread m_watchdog;
};

// Host, port and path of an https address. False for any other.
bool SplitAddress(const std::string& address, HttpsRequest& request) {
    std::string host(kLongestAddress, '\0');
    std::string path(kLongestAddress, '\0');
    std::string extra(kLongestAddress, '\0');
    URL_COMPONENTSA parts{};
    parts.dwStructSize = sizeof parts;
    parts.lpszHostName = host.data();
    parts.dwHostNameLength = kLongestAddress;
    parts.lpszUrlPath = path.data();
    parts.dwUrlPathLength = kLongestAddress;
    parts.lpszExtraInfo = extra.data();
    parts.dwExtraInfoLength = kLongestAddress;
    if (!::InternetCrackUrlA(address.c_str(), static_cast<DWORD>(address.size()), 0, &parts) ||
        parts.nScheme != INTERNET_SCHEME_HTTPS || parts.dwHostNameLength == 0) {
        return false;
    }
    request.host.assign(host, 0, parts.dwHostNameLength);
    request.port = parts.nPort;
    request.path = path.substr(0, parts.dwUrlPathLength);
    request.path += extra.substr(0, std::min<size_t>(extra.find('#'), parts.dwExtraInfoLength));
    return true;
}

std::string AddressOf(const HttpsRequest& request) {
    return "https://" + request.host + ":" + std::to_string(request.port) + request.path;
}

bool IsRedirect(int code) {
    return code == 301 || code == 302 || code == 303 || code == 307 || code == 308;
}

StockQuoteStatus StatusOf(DWORD error) {
    switch (error) {
        case ERROR_INTERNET_TIMEOUT:
            return StockQuoteStatus::TimedOut;
        case ERROR_INTERNET_NAME_NOT_RESOLVED:
            return StockQuoteStatus::NotFound;
        case ERROR_INTERNET_CANNOT_CONNECT:
        case ERROR_INTERNET_CONNECTION_ABORTED:
        case ERROR_INTERNET_CONNECTION_RESET:
        case ERROR_INTERNET_SECURITY_CHANNEL_ERROR:
            return StockQuoteStatus::NotConnected;
        case ERROR_INTERNET_SEC_CERT_DATE_INVALID:
        case ERROR_INTERNET_SEC_CERT_CN_INVALID:
        case ERROR_INTERNET_INVALID_CA:
        case ERROR_INTERNET_SEC_CERT_ERRORS:
        case ERROR_INTERNET_SEC_CERT_NO_REV:
        case ERROR_INTERNET_SEC_CERT_REV_FAILED:
        case ERROR_INTERNET_SEC_CERT_REVOKED:
        case ERROR_INTERNET_SEC_INVALID_CERT:
            return StockQuoteStatus::CertificateRefused;
        default:
            return StockQuoteStatus::Failed;
    }
}

// One request with its redirects.
class CTransfer {
public:
    explicit CTransfer(const HttpsLimits& limits)
        : m_limits(limits),
          m_deadline(std::chrono::steady_clock::now() + std::chrono::milliseconds(limits.total)) {}

    HttpsAnswer Run(HttpsRequest request) {
        const CInternetHandle session(
            ::InternetOpenA(kHttpsAgent, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
        if (!session) return LastFailure();
        SetTimeOuts(session.Get());
        for (int redirects = 0; redirects <= m_limits.redirects; ++redirects) {
            std::string next;
            HttpsAnswer answer = Ask(session.Get(), request, next);
            if (next.empty()) return answer;
            if (!SplitAddress(next, request)) {
                answer = Failure(StockQuoteStatus::RedirectRefused, "not an https address");
                return answer;
            }
        }
        return Failure(StockQuoteStatus::RedirectRefused,
                       "more than " + std::to_string(m_limits.redirects) + " redirects");
    }

private:
    // `next` is where a redirect leads to.
    HttpsAnswer Ask(HINTERNET session, const HttpsRequest& request, std::string& next) {
        const CInternetHandle connection(::InternetConnectA(session, request.host.c_str(),
                                                            request.port, nullptr, nullptr,
                                                            INTERNET_SERVICE_HTTP, 0, 0));
        if (!connection) return LastFailure();
        // Redirects are followed by us, because the routines go from https to http.
        constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
                                 INTERNET_FLAG_SECURE | INTERNET_FLAG_PRAGMA_NOCACHE |
                                 INTERNET_FLAG_NO_AUTO_REDIRECT;
        CRequestHandle handle(::HttpOpenRequestA(connection.Get(), "GET", request.path.c_str(),
                                                 nullptr, nullptr, nullptr, kFlags, 0),
                              m_deadline);
        if (!handle) return LastFailure();
        SetTimeOuts(handle.Get());
        for (const char* header : {kHttpsLanguageHeader, kHttpsConnectionHeader}) {
            const std::string line = std::string(header) + "\r\n";
            if (!::HttpAddRequestHeadersA(handle.Get(), line.c_str(),
                                          static_cast<DWORD>(line.size()),
                                          HTTP_ADDREQ_FLAG_ADD | HTTP_ADDREQ_FLAG_REPLACE)) {
                return RequestFailure(handle);
            }
        }
        if (!::HttpSendRequestA(handle.Get(), nullptr, 0, nullptr, 0)) {
            return RequestFailure(handle);
        }
        HttpsAnswer answer;
        answer.httpCode = HttpCode(handle.Get());
        if (IsRedirect(answer.httpCode)) {
            next = Location(handle.Get(), AddressOf(request));
            if (!next.empty()) return answer;
        }
        return Receive(handle, answer.httpCode);
    }

    void SetTimeOuts(HINTERNET handle) const {
        auto connect = static_cast<DWORD>(m_limits.connect);
        auto silence = static_cast<DWORD>(m_limits.silence);
        DWORD tries = 1;
        ::InternetSetOptionA(handle, INTERNET_OPTION_CONNECT_TIMEOUT, &connect, sizeof connect);
        ::InternetSetOptionA(handle, INTERNET_OPTION_SEND_TIMEOUT, &silence, sizeof silence);
        ::InternetSetOptionA(handle, INTERNET_OPTION_RECEIVE_TIMEOUT, &silence, sizeof silence);
        ::InternetSetOptionA(handle, INTERNET_OPTION_CONNECT_RETRIES, &tries, sizeof tries);
    }

    static int HttpCode(HINTERNET handle) {
        DWORD code = 0;
        DWORD size = sizeof code;
        ::HttpQueryInfoA(handle, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &code, &size,
                         nullptr);
        return static_cast<int>(code);
    }

    // Absolute, or empty.
    static std::string Location(HINTERNET handle, const std::string& base) {
        std::string location(kLongestAddress, '\0');
        DWORD size = kLongestAddress - 1;
        if (!::HttpQueryInfoA(handle, HTTP_QUERY_LOCATION, location.data(), &size, nullptr)) {
            return {};
        }
        location.resize(size);
        std::string address(kLongestAddress, '\0');
        DWORD length = kLongestAddress - 1;
        if (!::InternetCombineUrlA(base.c_str(), location.c_str(), address.data(), &length,
                                   ICU_NO_ENCODE)) {
            return {};
        }
        address.resize(length);
        return address;
    }

    HttpsAnswer Receive(CRequestHandle& handle, int httpCode) const {
        HttpsAnswer answer;
        std::vector<char> piece(kPiece);
        for (;;) {
            DWORD count = 0;
            if (!::InternetReadFile(handle.Get(), piece.data(), kPiece, &count)) {
                return RequestFailure(handle);
            }
            if (handle.HasExpired()) return Expired();
            if (count == 0) break;
            if (count > m_limits.body - answer.body.size()) {
                return Failure(StockQuoteStatus::TooLarge,
                               "more than " + std::to_string(m_limits.body) + " bytes");
            }
            answer.body.append(piece.data(), count);
        }
        answer.status = StockQuoteStatus::Success;
        answer.httpCode = httpCode;
        return answer;
    }

    HttpsAnswer Expired() const {
        return Failure(StockQuoteStatus::TimedOut,
                       "not done within " + std::to_string(m_limits.total) + " ms");
    }

    static HttpsAnswer LastFailure() {
        const DWORD error = ::GetLastError();
        return Failure(StatusOf(error), "Windows error " + std::to_string(error));
    }

    HttpsAnswer RequestFailure(CRequestHandle& handle) const {
        const DWORD error = ::GetLastError();  // the next call may change it
        if (handle.HasExpired()) return Expired();
        return Failure(StatusOf(error), "Windows error " + std::to_string(error));
    }

    const HttpsLimits& m_limits;
    std::chrono::steady_clock::time_point m_deadline;
};

class CInternetTransport final : public CHttpsTransport {
public:
    explicit CInternetTransport(HttpsOptions options) : m_options(std::move(options)) {}

    HttpsAnswer Get(const HttpsRequest& request) override {
        if (!m_options.certificateFile.empty()) {
            return Failure(StockQuoteStatus::CertificateRefused,
                           "Windows keeps trusted authorities in its own store; install the "
                           "certificate there and remove the setting CertificateFile");
        }
        try {
            return CTransfer(m_options.limits).Run(request);
        } catch (const std::bad_alloc&) {
            return {};
        } catch (const std::system_error&) {  // no thread to be had
            return {};
        }
    }

private:
    HttpsOptions m_options;
};

}  // namespace

std::unique_ptr<CHttpsTransport> PlatformHttpsTransport(HttpsOptions options) {
    return std::make_unique<CInternetTransport>(std::move(options));
}

}  // namespace quillon
