// windows.h comes first.
#include <windows.h>
// After it.
#include <process.h>
#include <wininet.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "quotes/HttpsTransport.h"

namespace quillon {
namespace {

constexpr size_t kPiece = 65'536;
constexpr DWORD kLongestAddress = 8'192;

HttpsAnswer Failure(StockQuoteStatus status, StockQuoteReason reason, int64_t value = 0) {
    HttpsAnswer answer;
    answer.status = status;
    answer.detail = {reason, value};
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

using Clock = std::chrono::steady_clock;

// What the caller and the thread that works for it share; the last of them frees it. The
// routines' own time-outs count from byte to byte and do not cover every wait, so the
// caller waits beside them: when time is over it closes the request's handle, which breaks
// off the call that waits on it, and goes its way without the thread.
class CSharedRequest {
public:
    // --- the caller
    // False: there was no answer before `end`, or a phase took too long.
    bool WaitUntil(Clock::time_point end, HttpsAnswer& answer) {
        std::unique_lock lock(m_mutex);
        while (!m_done) {
            const Clock::time_point next = std::min(end, m_phaseEnd);
            if (Clock::now() >= next) {
                m_abandoned = true;
                const HINTERNET handle = std::exchange(m_handle, nullptr);
                lock.unlock();
                if (handle) ::InternetCloseHandle(handle);
                return false;
            }
            m_changed.wait_until(lock, next);
        }
        answer = std::move(m_answer);
        return true;
    }

    // --- the thread
    // Takes the handle. False: nobody waits any more, and the handle is closed.
    bool Open(HINTERNET handle) {
        const std::lock_guard lock(m_mutex);
        if (m_abandoned) {
            ::InternetCloseHandle(handle);
            return false;
        }
        m_handle = handle;
        return true;
    }
    // Closes the handle unless the caller did.
    void Close() {
        HINTERNET handle = nullptr;
        {
            const std::lock_guard lock(m_mutex);
            handle = std::exchange(m_handle, nullptr);
        }
        if (handle) ::InternetCloseHandle(handle);
    }
    // What comes next must end within so many milliseconds.
    void BeginPhase(int64_t limit) { SetPhaseEnd(Clock::now() + std::chrono::milliseconds(limit)); }
    void EndPhase() { SetPhaseEnd(Clock::time_point::max()); }
    void Finish(HttpsAnswer answer) {
        {
            const std::lock_guard lock(m_mutex);
            m_answer = std::move(answer);
            m_done = true;
        }
        m_changed.notify_all();
    }

private:
    void SetPhaseEnd(Clock::time_point end) {
        {
            const std::lock_guard lock(m_mutex);
            m_phaseEnd = end;
        }
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    HINTERNET m_handle = nullptr;  // closed once, by whoever takes it out of here
    Clock::time_point m_phaseEnd = Clock::time_point::max();
    HttpsAnswer m_answer;
    bool m_done = false;
    bool m_abandoned = false;
};

// A request's handle in the care of a CSharedRequest.
class CRequestHandle {
public:
    // Null, or a handle for which there is no time left, is none.
    CRequestHandle(CSharedRequest& shared, HINTERNET handle)
        : m_shared(shared), m_handle(handle && shared.Open(handle) ? handle : nullptr) {}
    ~CRequestHandle() { m_shared.Close(); }
    CRequestHandle(const CRequestHandle&) = delete;
    CRequestHandle& operator=(const CRequestHandle&) = delete;

    explicit operator bool() const { return m_handle != nullptr; }
    HINTERNET Get() const { return m_handle; }

private:
    CSharedRequest& m_shared;
    HINTERNET m_handle;
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
    CTransfer(const HttpsLimits& limits, CSharedRequest& shared)
        : m_limits(limits), m_shared(shared) {}

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
                answer = Failure(StockQuoteStatus::RedirectRefused, StockQuoteReason::NotHttps);
                return answer;
            }
        }
        return Failure(StockQuoteStatus::RedirectRefused, StockQuoteReason::TooManyRedirects,
                       m_limits.redirects);
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
        const CRequestHandle handle(
            m_shared, ::HttpOpenRequestA(connection.Get(), "GET", request.path.c_str(), nullptr,
                                         nullptr, nullptr, kFlags, 0));
        if (!handle) return LastFailure();
        SetTimeOuts(handle.Get());
        for (const char* header : {kHttpsLanguageHeader, kHttpsConnectionHeader}) {
            const std::string line = std::string(header) + "\r\n";
            if (!::HttpAddRequestHeadersA(handle.Get(), line.c_str(),
                                          static_cast<DWORD>(line.size()),
                                          HTTP_ADDREQ_FLAG_ADD | HTTP_ADDREQ_FLAG_REPLACE)) {
                return LastFailure();
            }
        }
        // Connecting, sending, and the wait for the head of the answer.
        m_shared.BeginPhase(m_limits.connect + 2 * m_limits.silence);
        if (!::HttpSendRequestA(handle.Get(), nullptr, 0, nullptr, 0)) return LastFailure();
        m_shared.EndPhase();
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

    HttpsAnswer Receive(const CRequestHandle& handle, int httpCode) const {
        HttpsAnswer answer;
        std::vector<char> piece(kPiece);
        for (;;) {
            DWORD count = 0;
            if (!::InternetReadFile(handle.Get(), piece.data(), kPiece, &count)) {
                return LastFailure();
            }
            if (count == 0) break;
            if (count > m_limits.body - answer.body.size()) {
                return Failure(StockQuoteStatus::TooLarge, StockQuoteReason::BodyTooLarge,
                               static_cast<int64_t>(m_limits.body));
            }
            answer.body.append(piece.data(), count);
        }
        answer.status = StockQuoteStatus::Success;
        answer.httpCode = httpCode;
        return answer;
    }

    static HttpsAnswer LastFailure() {
        const DWORD error = ::GetLastError();
        return Failure(StatusOf(error), StockQuoteReason::WindowsError, error);
    }

    const HttpsLimits& m_limits;
    CSharedRequest& m_shared;
};

class CInternetTransport final : public CHttpsTransport {
public:
    explicit CInternetTransport(HttpsOptions options) : m_options(std::move(options)) {}

    HttpsAnswer Get(const HttpsRequest& request) override {
        if (!m_options.certificateFile.empty()) {
            return Failure(StockQuoteStatus::CertificateRefused,
                           StockQuoteReason::NoCertificateFiles);
        }
        try {
            return Run(m_options.limits, request);
        } catch (const std::bad_alloc&) {
            return {};
        } catch (const std::system_error&) {  // no lock to be had
            return {};
        }
    }

private:
    // What the thread of a request works on.
    struct Job {
        std::shared_ptr<CSharedRequest> shared;
        HttpsLimits limits;
        HttpsRequest request;
    };

    static HttpsAnswer Run(const HttpsLimits& limits, const HttpsRequest& request) {
        const auto shared = std::make_shared<CSharedRequest>();
        const auto end = Clock::now() + std::chrono::milliseconds(limits.total);
        if (!Start(std::make_unique<Job>(Job{shared, limits, request}))) return {};
        HttpsAnswer answer;
        if (shared->WaitUntil(end, answer)) return answer;
        if (Clock::now() < end) {
            return Failure(StockQuoteStatus::TimedOut, StockQuoteReason::NoAnswer);
        }
        return Failure(StockQuoteStatus::TimedOut, StockQuoteReason::NotDone, limits.total);
    }

    // On a thread of its own, which may outlive the wait. Not std::thread: letting go of one that
    // has ended already is an error there, and then the end of the program.
    static bool Start(std::unique_ptr<Job> job) {
        const uintptr_t thread = ::_beginthreadex(nullptr, 0, RunJob, job.get(), 0, nullptr);
        if (thread == 0) return false;
        (void)job.release();
        ::CloseHandle(reinterpret_cast<HANDLE>(thread));
        return true;
    }

    static unsigned __stdcall RunJob(void* given) {
        const std::unique_ptr<Job> job(static_cast<Job*>(given));
        Work(*job->shared, job->limits, job->request);
        return 0;
    }

    static void Work(CSharedRequest& shared, const HttpsLimits& limits,
                     const HttpsRequest& request) {
        HttpsAnswer answer;
        try {
            answer = CTransfer(limits, shared).Run(request);
        } catch (const std::bad_alloc&) {
            answer = {};
        }
        shared.Finish(std::move(answer));
    }

    HttpsOptions m_options;
};

}  // namespace

std::unique_ptr<CHttpsTransport> PlatformHttpsTransport(HttpsOptions options) {
    return std::make_unique<CInternetTransport>(std::move(options));
}

}  // namespace quillon
