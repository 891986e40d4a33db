#pragma once

#include "foundation/Date.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larkspan::testing {

// What goes wrong with an answer.
struct CloudFault {
    int status = 200;  // with another one, `body` and `headers` are the whole answer
    std::string body = {};
    std::map<std::string, std::string> headers = {};
    bool rubbish = false;      // 200, and a body that is no JSON
    bool cut = false;          // the connection ends in the middle of the answer's body
    bool wrongLength = false;  // the file's size as told is not its size
    Seconds drip{0};           // rests before each byte of the answer's body
};

// Certificate and key, as files.
struct ServerIdentity {
    std::string certificate;
    std::string key;
};

// The cloud service on the loopback address: accounts, tokens, uploads in one request and in
// sessions, listings by pages, downloads, deletions. Goes wrong where it is told to. Members may be
// called from any thread.
class CloudServer {
  public:
    // Over TLS with an identity.
    explicit CloudServer(const std::optional<ServerIdentity>& identity = std::nullopt);
    CloudServer(const CloudServer&) = delete;
    CloudServer& operator=(const CloudServer&) = delete;
    ~CloudServer();

    // "http://127.0.0.1:PORT".
    std::string address() const;

    // ---- the account ----

    static constexpr const char* userId = "dbid:editor";
    static constexpr const char* refreshToken = "refresh-token-of-the-editor";
    // What the person brings back from `authorizeAddress`, which is opened as a browser would.
    std::string authorize(const std::string& authorizeAddress);
    // Access tokens given so far are no longer good.
    void expireAccessTokens();
    // The refresh token neither.
    void forgetAccount();
    bool isRevoked() const;

    // ---- what is stored ----

    void put(const std::string& path, const std::string& bytes,
             const std::string& modified = "2026-01-31T14:03:11Z");
    void putFolder(const std::string& path);
    std::optional<std::string> content(const std::string& path) const;
    std::vector<std::string> paths() const;
    void setPageSize(size_t entries);
    // Every page of a listing says that there are more.
    void listWithoutEnd();
    // Uploads are counted, not kept.
    void discardContents();

    // ---- what happens ----

    // The n-th request of an operation ("files/upload", "oauth2/token") from now on goes wrong,
    // once. 1: the next.
    void failOnce(const std::string& operation, CloudFault fault, int n = 1);
    void failAlways(const std::string& operation, CloudFault fault);
    // Called before the request is answered.
    void beforeAnswer(const std::string& operation, std::function<void()> hook);
    // Operations in the order of their requests.
    std::vector<std::string> requests() const;
    size_t requestCount(const std::string& operation) const;
    // Bodies of the requests of a session that stored a file, in bytes.
    std::vector<std::uint64_t> pieceSizes() const;
    // Every token that came in a header.
    std::vector<std::string> tokensSeen() const;

  private:
    struct Server;
    std::unique_ptr<Server> server_;
};

}  // namespace larkspan::testing
