#include "sync/curl/CurlClient.h"

#include "foundation/Text.h"
#include "sync/CloudErrors.h"
#include "sync/curl/TransportErrors.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <mutex>
#include <utility>

#include <curl/curl.h>

namespace larkspan {
namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

constexpr size_t largestKeptAnswer = 16UL << 20U;

long milliseconds(Seconds duration) {
    return static_cast<long>(std::chrono::ceil<std::chrono::milliseconds>(duration).count());
}

// A list of header lines, overwritten when it goes: one of them bears the token.
class HeaderList {
  public:
    HeaderList() = default;
    HeaderList(const HeaderList&) = delete;
    HeaderList& operator=(const HeaderList&) = delete;
    ~HeaderList() {
        for (curl_slist* line = list_; line; line = line->next) {
            Secret::wipe(line->data, std::string_view(line->data).size());
        }
        curl_slist_free_all(list_);
    }
    void add(const char* line) {
        curl_slist* longer = curl_slist_append(list_, line);
        if (longer) list_ = longer;
    }
    void addToken(const Secret& token) {
        std::string line = "Authorization: Bearer ";
        line.reserve(line.size() + token.text().size());
        line += token.text();
        const Secret kept(std::move(line));
        add(std::string_view(kept.text()).data());
    }
    curl_slist* get() const { return list_; }

  private:
    curl_slist* list_ = nullptr;
};

}  // namespace

struct CurlClient::Handles {
    Handles() {
        static std::once_flag started;
        std::call_once(started, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
        easy = curl_easy_init();
        multi = curl_multi_init();
    }
    Handles(const Handles&) = delete;
    Handles& operator=(const Handles&) = delete;
    ~Handles() {
        curl_easy_cleanup(easy);
        curl_multi_cleanup(multi);
    }

    CURL* easy = nullptr;
    CURLM* multi = nullptr;
};

// One request and what becomes of it.
class CurlClient::Exchange {
  public:
    Exchange(const CloudSettings& settings, CURL* easy, const HttpRequest& request)
        : settings_(settings), easy_(easy), request_(request) {
        curl_easy_reset(easy_);
        setAddress();
        setHeaders();
        setBody();
        setAnswer();
    }

    Result<HttpAnswer> perform(CURLM* multi, CancelFlag& cancel) {
        curl_multi_add_handle(multi, easy_);
        const CURLcode code = run(multi, cancel);
        curl_multi_remove_handle(multi, easy_);
        if (failure_) return *failure_;
        if (code != CURLE_OK) return transportError(code);
        curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &answer_.status);
        return std::move(answer_);
    }

  private:
    template <class Value>
    void set(CURLoption option, Value value) {
        (void)curl_easy_setopt(easy_, option, value);
    }

    void setAddress() {
        set(CURLOPT_URL, request_.address.c_str());
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_FOLLOWLOCATION, 0L);
        set(CURLOPT_SSL_VERIFYPEER, 1L);
        set(CURLOPT_SSL_VERIFYHOST, 2L);
        set(CURLOPT_SSLVERSION, long{CURL_SSLVERSION_TLSv1_2});
        set(CURLOPT_CONNECTTIMEOUT_MS, milliseconds(settings_.connectTimeout));
        set(CURLOPT_ERRORBUFFER, words_.data());
        if (!settings_.certificateAuthorities.empty()) {
            set(CURLOPT_CAINFO, settings_.certificateAuthorities.c_str());
        }
        // What stands in for the service on this machine is not behind a proxy.
        if (isLoopbackAddress(request_.address)) set(CURLOPT_PROXY, "");
    }

    void setHeaders() {
        for (const std::string& header : request_.headers) headers_.add(header.c_str());
        if (request_.token) headers_.addToken(*request_.token);
        headers_.add("Expect:");  // a server that does not know it would hold every body up
        set(CURLOPT_HTTPHEADER, headers_.get());
    }

    void setBody() {
        set(CURLOPT_POST, 1L);
        if (request_.body) {
            set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body->size));
            set(CURLOPT_READFUNCTION, readBody);
            set(CURLOPT_READDATA, this);
            set(CURLOPT_SEEKFUNCTION, seekBody);
            set(CURLOPT_SEEKDATA, this);
            return;
        }
        const std::string_view text = request_.form ? request_.form->text() : request_.text;
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(text.size()));
        set(CURLOPT_POSTFIELDS, text.data());
    }

    void setAnswer() {
        set(CURLOPT_HEADERFUNCTION, takeHeader);
        set(CURLOPT_HEADERDATA, this);
        set(CURLOPT_WRITEFUNCTION, takeBody);
        set(CURLOPT_WRITEDATA, this);
        set(CURLOPT_XFERINFOFUNCTION, noteProgress);
        set(CURLOPT_XFERINFODATA, this);
        set(CURLOPT_NOPROGRESS, 0L);
    }

    // Serves the transfer until it has ended, is cancelled, or nothing has moved for too long.
    CURLcode run(CURLM* multi, CancelFlag& cancel) {
        const CancelFlag::Wakes wakes(cancel, [multi] { curl_multi_wakeup(multi); });
        begun_ = moved_ = std::chrono::steady_clock::now();
        for (;;) {
            int running = 0;
            if (curl_multi_perform(multi, &running) != CURLM_OK) return CURLE_FAILED_INIT;
            if (running == 0) return result(multi);
            if (cancel.isCancelled()) return CURLE_ABORTED_BY_CALLBACK;
            const Seconds left = settings_.stallTimeout - sinceMove();
            if (left <= Seconds::zero() || crawls()) return CURLE_OPERATION_TIMEDOUT;
            curl_multi_poll(multi, nullptr, 0, static_cast<int>(milliseconds(left)), nullptr);
        }
    }

    static CURLcode result(CURLM* multi) {
        int waiting = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi, &waiting)) {
            if (message->msg == CURLMSG_DONE) return message->data.result;
        }
        return CURLE_FAILED_INIT;
    }

    Seconds sinceMove() const { return std::chrono::steady_clock::now() - moved_; }
    // docs/behaviour.md, own 26
    bool crawls() const {
        const Seconds taken = std::chrono::steady_clock::now() - begun_;
        const auto moved = static_cast<double>(amounts_.first + amounts_.second);
        return taken > settings_.slowTimeout && moved < settings_.leastRate * taken.count();
    }

    Error transportError(CURLcode code) {
        TransportFailure failure{.code = code, .words = printable(words_.data())};
        curl_easy_getinfo(easy_, CURLINFO_OS_ERRNO, &failure.systemError);
        curl_easy_getinfo(easy_, CURLINFO_SSL_VERIFYRESULT, &failure.certificateResult);
        return errorOfTransport(failure);
    }

    long status() {
        long code = 0;
        curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &code);
        return code;
    }

    static size_t readBody(char* buffer, size_t size, size_t count, void* self) {
        auto& exchange = *static_cast<Exchange*>(self);
        const HttpBody& body = *exchange.request_.body;
        const std::uint64_t left = body.size - exchange.position_;
        const size_t wanted = std::min<std::uint64_t>(size * count, left);
        if (wanted == 0) return 0;
        const auto got = body.read(exchange.position_, {buffer, wanted});
        if (!got) {
            exchange.failure_ = got.error();
            return CURL_READFUNC_ABORT;
        }
        exchange.position_ += *got;
        return *got;
    }

    // A request whose kept connection turned out to be closed is begun again on a new one.
    static int seekBody(void* self, curl_off_t offset, int origin) {
        if (origin != SEEK_SET || offset < 0) return CURL_SEEKFUNC_FAIL;
        static_cast<Exchange*>(self)->position_ = static_cast<std::uint64_t>(offset);
        return CURL_SEEKFUNC_OK;
    }

    static size_t takeHeader(char* bytes, size_t size, size_t count, void* self) {
        auto& headers = static_cast<Exchange*>(self)->answer_.headers;
        const std::string_view line(bytes, size * count);
        if (line.starts_with("HTTP/")) headers.clear();
        if (const size_t colon = line.find(':'); colon != std::string_view::npos) {
            headers[lowercased(line.substr(0, colon))] = trimmed(line.substr(colon + 1));
        }
        return line.size();
    }

    static size_t takeBody(char* bytes, size_t size, size_t count, void* self) {
        auto& exchange = *static_cast<Exchange*>(self);
        const std::string_view piece(bytes, size * count);
        if (exchange.request_.take && exchange.status() == 200) {
            exchange.failure_ = exchange.request_.take(piece);
        } else if (exchange.answer_.body.size() + piece.size() > largestKeptAnswer) {
            exchange.failure_ =
                Error{urlErrorDomain, urlerror::badServerResponse, "The answer is too large."};
        } else {
            exchange.answer_.body += piece;
        }
        return exchange.failure_ ? CURL_WRITEFUNC_ERROR : piece.size();
    }

    static int noteProgress(void* self, curl_off_t toReceive, curl_off_t received, curl_off_t,
                            curl_off_t sent) {
        auto& exchange = *static_cast<Exchange*>(self);
        const std::pair moved(sent, received);
        if (std::exchange(exchange.amounts_, moved) == moved) return 0;
        exchange.moved_ = std::chrono::steady_clock::now();
        if (exchange.request_.progress) {
            exchange.request_.progress(static_cast<std::uint64_t>(sent),
                                       static_cast<std::uint64_t>(received),
                                       static_cast<std::uint64_t>(toReceive));
        }
        return 0;
    }

    const CloudSettings& settings_;
    CURL* const easy_;
    const HttpRequest& request_;
    HeaderList headers_;
    std::array<char, CURL_ERROR_SIZE> words_{};
    std::uint64_t position_ = 0;  // in the body
    std::pair<curl_off_t, curl_off_t> amounts_{0, 0};
    SteadyTime begun_;
    SteadyTime moved_;
    HttpAnswer answer_;
    std::optional<Error> failure_;  // of what the request reads from or is taken by
};

CurlClient::CurlClient(CloudSettings settings)
    : settings_(std::move(settings)), handles_(std::make_unique<Handles>()) {}

CurlClient::~CurlClient() = default;

std::unique_ptr<HttpClient> CurlClient::make(const CloudSettings& settings) {
    return std::make_unique<CurlClient>(settings);
}

Result<HttpAnswer> CurlClient::post(const HttpRequest& request, CancelFlag& cancel) {
    if (!isTrustworthyAddress(request.address)) {
        return Error{urlErrorDomain, urlerror::badAddress,
                     "The cloud service's address is not safe: " + printable(request.address)};
    }
    if (!handles_->easy || !handles_->multi) {
        return Error{urlErrorDomain, urlerror::cannotConnectToHost,
                     "There is not enough memory for a connection."};
    }
    return Exchange(settings_, handles_->easy, request).perform(handles_->multi, cancel);
}

}  // namespace larkspan
