#include "support/CloudServer.h"

#include "foundation/Digest.h"
#include "foundation/Guarded.h"
#include "foundation/Text.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

#include <httplib.h>
#include <nlohmann/json.hpp>
#include <openssl/evp.h>

namespace larkspan::testing {
namespace {

using httplib::Request;
using httplib::Response;
using Json = nlohmann::json;

struct Stored {
    std::string bytes;
    std::uint64_t size = 0;
    std::string modified;
    bool isFolder = false;
};

struct State {
    std::map<std::string, Stored> files;
    std::map<std::string, Stored> sessions;
    std::map<std::string, std::vector<std::string>> pages;  // by cursor
    std::map<std::string, std::string> challenges;          // by code
    std::vector<std::string> accessTokens;
    std::map<std::string, std::map<int, CloudFault>> faults;  // by operation and request
    std::map<std::string, CloudFault> standingFaults;
    std::map<std::string, std::function<void()>> hooks;
    std::vector<std::string> requests;
    std::vector<std::string> tokensSeen;
    std::vector<std::uint64_t> pieces;
    size_t pageSize = 2000;
    int given = 0;  // numbers in names that are made up
    bool knowsAccount = true;
    bool revoked = false;
    bool discards = false;
    bool listsWithoutEnd = false;

    std::string fresh(const std::string& what) { return what + std::to_string(++given); }
};

std::string base64(std::string_view bytes) {
    std::string text(bytes.size() / 3 * 4 + 5, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                       reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    text.resize(static_cast<size_t>(length));
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    while (text.ends_with('=')) text.pop_back();
    return text;
}

Json metadata(const std::string& path, const Stored& stored) {
    Json json{{".tag", stored.isFolder ? "folder" : "file"},
              {"name", path.substr(path.rfind('/') + 1)},
              {"path_display", path}};
    if (stored.isFolder) return json;
    json["size"] = stored.size;
    json["server_modified"] = stored.modified;
    return json;
}

void refuse(Response& response, int status, const std::string& summary) {
    response.status = status;
    response.set_content(Json{{"error_summary", summary}}.dump(), "application/json");
}

void answer(Response& response, const Json& json) {
    response.set_content(json.dump(), "application/json");
}

Json argumentsOf(const Request& request) {
    const std::string header = request.get_header_value("Dropbox-API-Arg");
    return Json::parse(header.empty() ? request.body : header);
}

std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

}  // namespace

struct CloudServer::Server {
    std::unique_ptr<httplib::Server> http;
    bool isSecure = false;
    int port = 0;
    std::thread thread;
    Guarded<State> state;

    // ---- answers; each with the state locked ----

    static void giveToken(State& known, const Request& request, Response& response) {
        const std::string grant = request.get_param_value("grant_type");
        bool isGood = known.knowsAccount;
        if (grant == "authorization_code") {
            const auto code = known.challenges.find(request.get_param_value("code"));
            Digest digest(Digest::Algorithm::sha256);
            digest.add(request.get_param_value("code_verifier"));
            isGood = code != known.challenges.end() && code->second == base64(digest.bytes());
        } else {
            isGood = isGood && request.get_param_value("refresh_token") == refreshToken;
        }
        if (!isGood) {
            response.status = 400;
            answer(response, {{"error", "invalid_grant"}});
            return;
        }
        known.accessTokens.push_back(known.fresh("access-token-"));
        Json json{{"access_token", known.accessTokens.back()}, {"expires_in", 14400}};
        if (grant == "authorization_code") {
            json["refresh_token"] = refreshToken;
            json["account_id"] = userId;
        }
        answer(response, json);
    }

    static void store(State& known, const Json& commit, Stored stored, Response& response) {
        const std::string path = commit.at("path");
        const auto there = known.files.find(path);
        if (commit.at("mode") == "add" && there != known.files.end()) {
            const bool isSame = there->second.bytes == stored.bytes;
            if (!isSame) return refuse(response, 409, "path/conflict/file/.");
            return answer(response, metadata(path, there->second));
        }
        stored.modified = "2026-02-03T04:05:06Z";
        const Json json = metadata(path, stored);
        known.files.insert_or_assign(path, std::move(stored));
        answer(response, json);
    }

    static void addToSession(State& known, const Json& cursor, const Stored& piece) {
        Stored& session = known.sessions.at(cursor.at("session_id"));
        if (cursor.at("offset").get<std::uint64_t>() != session.size) {
            throw std::runtime_error("wrong offset");
        }
        session.bytes += piece.bytes;
        session.size += piece.size;
    }

    static void upload(State& known, const std::string& operation, const Json& arguments,
                       Stored piece, Response& response) {
        if (operation == "files/upload") return store(known, arguments, std::move(piece), response);
        known.pieces.push_back(piece.size);
        if (operation.ends_with("start")) {
            const std::string session = known.fresh("session-");
            known.sessions[session] = std::move(piece);
            return answer(response, {{"session_id", session}});
        }
        addToSession(known, arguments.at("cursor"), piece);
        if (operation.ends_with("append_v2")) return answer(response, nullptr);
        Stored whole = known.sessions.at(arguments.at("cursor").at("session_id"));
        store(known, arguments.at("commit"), std::move(whole), response);
    }

    static void list(State& known, const Json& arguments, Response& response) {
        std::vector<std::string> left;
        if (arguments.contains("cursor")) {
            left = known.pages.at(arguments.at("cursor"));
        } else {
            const std::string folder = arguments.at("path");
            for (const auto& [path, stored] : known.files) {
                if (folderOf(path) == folder) left.push_back(path);
            }
            if (left.empty() && !known.files.contains(folder)) {
                return refuse(response, 409, "path/not_found/.");
            }
        }
        Json entries = Json::array();
        const size_t count = std::min(left.size(), known.pageSize);
        for (size_t i = 0; i < count; ++i) {
            entries.push_back(metadata(left[i], known.files.at(left[i])));
        }
        left.erase(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(count));
        const std::string cursor = known.fresh("cursor-");
        const bool hasMore = !left.empty() || known.listsWithoutEnd;
        known.pages[cursor] = std::move(left);
        answer(response, {{"entries", entries}, {"cursor", cursor}, {"has_more", hasMore}});
    }

    static void remove(State& known, const Json& arguments, Response& response) {
        const std::string path = arguments.at("path");
        const size_t gone = std::erase_if(known.files, [&](const auto& file) {
            return file.first == path || file.first.starts_with(path + "/");
        });
        if (gone == 0) return refuse(response, 409, "path_lookup/not_found/.");
        answer(response, {{"metadata", {{".tag", "deleted"}}}});
    }

    static void download(State& known, const Json& arguments, Response& response) {
        const std::string path = arguments.at("path");
        const auto found = known.files.find(path);
        if (found == known.files.end()) return refuse(response, 409, "path/not_found/.");
        response.set_header("Dropbox-API-Result",
                            metadata(path, found->second).dump(-1, ' ', true));
        response.set_content(found->second.bytes, "application/octet-stream");
    }

    // ---- faults ----

    static std::optional<CloudFault> dueFault(State& known, const std::string& operation) {
        const auto standing = known.standingFaults.find(operation);
        if (standing != known.standingFaults.end()) return standing->second;
        std::optional<CloudFault> due;
        std::map<int, CloudFault> later;
        for (auto& [n, fault] : known.faults[operation]) {
            if (n == 1) {
                due = fault;
            } else {
                later.emplace(n - 1, fault);
            }
        }
        known.faults[operation] = std::move(later);
        return due;
    }

    static void spoil(const CloudFault& fault, Response& response) {
        if (fault.wrongLength) {
            for (std::string* text : {&response.body}) {
                const Json json = Json::parse(*text, nullptr, false);
                if (json.is_discarded() || !json.contains("size")) continue;
                Json changed = json;
                changed["size"] = json["size"].get<std::uint64_t>() + 1;
                *text = changed.dump();
            }
            const std::string result = response.get_header_value("Dropbox-API-Result");
            if (!result.empty()) {
                Json changed = Json::parse(result);
                changed["size"] = changed["size"].get<std::uint64_t>() + 1;
                response.headers.erase("Dropbox-API-Result");
                response.set_header("Dropbox-API-Result", changed.dump());
            }
        }
        if (fault.rubbish) response.body = "{\"entries\": [<html>";
        if (!fault.cut && fault.drip.count() == 0) return;
        const std::string body = response.body;
        response.body.clear();
        response.set_content_provider(
            body.size(), "application/octet-stream",
            [body, fault](size_t offset, size_t, httplib::DataSink& sink) {
                if (fault.cut && offset >= body.size() / 2) return false;
                if (fault.drip.count() > 0) std::this_thread::sleep_for(fault.drip);
                sink.write(body.data() + offset, 1);
                return true;
            });
    }

    // ---- a request ----

    static bool isAllowed(State& known, const Request& request) {
        const std::string header = request.get_header_value("Authorization");
        const std::string prefix = "Bearer ";
        const std::string token =
            header.starts_with(prefix) ? header.substr(prefix.size()) : header;
        known.tokensSeen.push_back(token);
        return std::ranges::find(known.accessTokens, token) != known.accessTokens.end();
    }

    void handle(State& known, const std::string& operation, const Request& request, Stored piece,
                Response& response) {
        if (operation == "oauth2/token") return giveToken(known, request, response);
        if (!isAllowed(known, request)) return refuse(response, 401, "expired_access_token/.");
        if (operation == "auth/token/revoke") {
            known.revoked = true;
            return answer(response, nullptr);
        }
        const Json arguments = argumentsOf(request);
        if (operation.starts_with("files/upload")) {
            return upload(known, operation, arguments, std::move(piece), response);
        }
        if (operation.starts_with("files/list_folder")) return list(known, arguments, response);
        if (operation == "files/download") return download(known, arguments, response);
        if (operation == "files/delete_v2") return remove(known, arguments, response);
        response.status = 404;
    }

    void serve(const std::string& operation, const Request& request, Stored piece,
               Response& response) {
        const auto hook = state.with([&](State& known) {
            known.requests.push_back(operation);
            const auto found = known.hooks.find(operation);
            return found == known.hooks.end() ? std::function<void()>() : found->second;
        });
        if (hook) hook();
        state.with([&](State& known) {
            const auto fault = dueFault(known, operation);
            if (fault && fault->status != 200) {
                response.status = fault->status;
                for (const auto& [name, value] : fault->headers) response.set_header(name, value);
                response.set_content(fault->body, "application/json");
                return;
            }
            handle(known, operation, request, std::move(piece), response);
            if (fault) spoil(*fault, response);
        });
    }

    void install() {
        const auto withBody = [this](const Request& request, Response& response,
                                     const httplib::ContentReader& read) {
            Stored piece;
            const bool discards = state.with([](State& known) { return known.discards; });
            read([&](const char* bytes, size_t count) {
                piece.size += count;
                if (!discards) piece.bytes.append(bytes, count);
                return true;
            });
            serve(request.matches[1], request, std::move(piece), response);
        };
        http->Post("/2/(files/upload.*)", withBody);
        http->Post("/2/(.*)", [this](const Request& request, Response& response) {
            serve(request.matches[1], request, {}, response);
        });
        http->Post("/(oauth2/token)", [this](const Request& request, Response& response) {
            serve(request.matches[1], request, {}, response);
        });
        http->set_exception_handler(
            [](const Request&, Response& response, const std::exception_ptr&) {
                refuse(response, 400, "bad_request/.");
            });
    }
};

CloudServer::CloudServer(const std::optional<ServerIdentity>& identity)
    : server_(std::make_unique<Server>()) {
    server_->isSecure = identity.has_value();
    if (identity) {
        server_->http = std::make_unique<httplib::SSLServer>(identity->certificate.c_str(),
                                                             identity->key.c_str());
    } else {
        server_->http = std::make_unique<httplib::Server>();
    }
    server_->install();
    server_->port = server_->http->bind_to_any_port("127.0.0.1");
    if (server_->port <= 0) throw std::runtime_error("no server can be started");
    server_->thread = std::thread([this] { server_->http->listen_after_bind(); });
    while (!server_->http->is_running()) std::this_thread::yield();
}

CloudServer::~CloudServer() {
    server_->http->stop();
    server_->thread.join();
}

std::string CloudServer::address() const {
    return (server_->isSecure ? "https://127.0.0.1:" : "http://127.0.0.1:") +
           std::to_string(server_->port);
}

std::string CloudServer::authorize(const std::string& authorizeAddress) {
    httplib::Params parameters;
    const size_t question = authorizeAddress.find('?');
    httplib::detail::parse_query_text(authorizeAddress.substr(question + 1), parameters);
    const auto value = [&](const char* name) {
        const auto found = parameters.find(name);
        return found == parameters.end() ? std::string() : found->second;
    };
    const bool isMeant = authorizeAddress.starts_with(address() + "/oauth2/authorize?") &&
                         value("response_type") == "code" &&
                         value("token_access_type") == "offline" &&
                         value("code_challenge_method") == "S256";
    if (!isMeant) return "";
    return server_->state.with([&](State& known) {
        std::string code = known.fresh("code-");
        known.challenges[code] = value("code_challenge");
        return code;
    });
}

void CloudServer::expireAccessTokens() {
    server_->state.with([](State& known) { known.accessTokens.clear(); });
}

void CloudServer::forgetAccount() {
    server_->state.with([](State& known) {
        known.accessTokens.clear();
        known.knowsAccount = false;
    });
}

bool CloudServer::isRevoked() const {
    return server_->state.with([](const State& known) { return known.revoked; });
}

void CloudServer::put(const std::string& path, const std::string& bytes,
                      const std::string& modified) {
    server_->state.with([&](State& known) {
        known.files[path] = {bytes, bytes.size(), modified, false};
    });
}

void CloudServer::putFolder(const std::string& path) {
    server_->state.with([&](State& known) { known.files[path] = {"", 0, "", true}; });
}

std::optional<std::string> CloudServer::content(const std::string& path) const {
    return server_->state.with([&](const State& known) {
        const auto found = known.files.find(path);
        return found == known.files.end() ? std::nullopt : std::optional(found->second.bytes);
    });
}

std::vector<std::string> CloudServer::paths() const {
    return server_->state.with([](const State& known) {
        std::vector<std::string> paths;
        for (const auto& file : known.files) paths.push_back(file.first);
        return paths;
    });
}

void CloudServer::setPageSize(size_t entries) {
    server_->state.with([&](State& known) { known.pageSize = entries; });
}

void CloudServer::listWithoutEnd() {
    server_->state.with([](State& known) { known.listsWithoutEnd = true; });
}

void CloudServer::discardContents() {
    server_->state.with([](State& known) { known.discards = true; });
}

void CloudServer::failOnce(const std::string& operation, CloudFault fault, int n) {
    server_->state.with([&](State& known) { known.faults[operation][n] = std::move(fault); });
}

void CloudServer::failAlways(const std::string& operation, CloudFault fault) {
    server_->state.with([&](State& known) { known.standingFaults[operation] = std::move(fault); });
}

void CloudServer::beforeAnswer(const std::string& operation, std::function<void()> hook) {
    server_->state.with([&](State& known) { known.hooks[operation] = std::move(hook); });
}

std::vector<std::string> CloudServer::requests() const {
    return server_->state.with([](const State& known) { return known.requests; });
}

size_t CloudServer::requestCount(const std::string& operation) const {
    const auto all = requests();
    return static_cast<size_t>(std::ranges::count(all, operation));
}

std::vector<std::uint64_t> CloudServer::pieceSizes() const {
    return server_->state.with([](const State& known) { return known.pieces; });
}

std::vector<std::string> CloudServer::tokensSeen() const {
    return server_->state.with([](const State& known) { return known.tokensSeen; });
}

}  // namespace larkspan::testing
