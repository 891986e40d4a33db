#pragma once

#include "foundation/Result.h"
#include "foundation/Secret.h"
#include "sync/CancelFlag.h"
#include "sync/CloudSettings.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// A body that is read while it is sent.
struct HttpBody {
    std::uint64_t size = 0;
    // Fills the buffer from that position on and gives the bytes read.
    std::function<Result<size_t>(std::uint64_t position, std::span<char> buffer)> read;
};

// A POST.
struct HttpRequest {
    std::string address;
    std::vector<std::string> headers = {};  // "Name: value"
    const Secret* token = nullptr;          // for the Authorization header
    Secret* form = nullptr;                 // the body; holds what nobody is to see
    std::string text = {};                  // the body otherwise
    std::optional<HttpBody> body = {};      // the body otherwise
    // Takes the body of an answer with the status 200 piece by piece, in place of `body` there.
    std::function<std::optional<Error>(std::string_view bytes)> take = {};
    // Bytes of bodies that have moved; `toReceive` is 0 while it is not known.
    std::function<void(std::uint64_t sent, std::uint64_t received, std::uint64_t toReceive)>
        progress = {};
};

struct HttpAnswer {
    long status = 0;
    std::map<std::string, std::string> headers;  // names in lower case
    std::string body;

    std::string header(const std::string& name) const {
        const auto found = headers.find(name);
        return found == headers.end() ? std::string() : found->second;
    }
};

// Speaks HTTP, one request at a time, and keeps connections open between requests. Certificates are
// always verified, redirections never followed, and nothing is sent to an address that is not
// trustworthy. One thread at a time.
class HttpClient {
  public:
    using Maker = std::unique_ptr<HttpClient> (*)(const CloudSettings&);

    // A client of the kind that the program has chosen. A program that has chosen none, as the
    // helper, which never speaks with the service and is spared the library for it, gets one that
    // refuses everything.
    static std::unique_ptr<HttpClient> make(const CloudSettings& settings);
    // Before other threads start.
    static void choose(Maker maker);

    HttpClient() = default;
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;
    virtual ~HttpClient() = default;

    // Any answer of the server is a success, whatever its status. Errors have the urlErrorDomain,
    // or are those of `read` and `take`. Answers that are kept are at most 16 MiB large.
    virtual Result<HttpAnswer> post(const HttpRequest& request, CancelFlag& cancel) = 0;
};

}  // namespace larkspan
