#include "sync/CloudAnswers.h"

#include "foundation/Text.h"
#include "sync/CloudErrors.h"

#include <algorithm>
#include <charconv>
#include <functional>

#include <nlohmann/json.hpp>

namespace larkspan {
namespace {

using Json = nlohmann::json;

constexpr size_t longestReason = 200;

std::string text(const Json& json, bool asciiOnly) {
    std::string result = json.dump(-1, ' ', asciiOnly, Json::error_handler_t::replace);
    if (!asciiOnly) return result;
    // The one ASCII character that neither JSON escapes nor a header may hold, and the one that
    // some servers read as the start of an escape sequence.
    return replacingAll(replacingAll(result, "\x7f", "\\u007f"), "%", "\\u0025");
}

Json commitOf(const RemotePath& path, const std::optional<std::string>& parentRevision) {
    // Nothing is ever replaced; the same bytes under the same name are no conflict
    // (docs/behaviour.md, own 23).
    Json commit{{"path", path.text},
                {"mode", "add"},
                {"autorename", false},
                {"strict_conflict", false},
                {"mute", true}};
    if (parentRevision) commit["mode"] = {{".tag", "update"}, {"update", *parentRevision}};
    return commit;
}

Json cursorOf(const std::string& session, std::uint64_t offset) {
    return {{"session_id", session}, {"offset", offset}};
}

Error badResponse() {
    return {urlErrorDomain, urlerror::badServerResponse,
            "The cloud service gave an answer that cannot be read."};
}

// The member when it is a string, else "".
std::string stringIn(const Json& json, const char* name) {
    const auto found = json.find(name);
    return found != json.end() && found->is_string() ? found->get<std::string>() : std::string();
}

// Levels of arrays and objects; an answer of the service has four or five.
bool nestsTooDeep(std::string_view body) {
    constexpr int mostLevels = 64;
    int level = 0;
    bool isInText = false;
    for (size_t at = 0; at < body.size(); ++at) {
        const char c = body[at];
        if (c == '"') isInText = !isInText;
        if (isInText && c == '\\') ++at;
        if (isInText) continue;
        if (c == '[' || c == '{') ++level;
        if (c == ']' || c == '}') --level;
        if (level > mostLevels) return true;
    }
    return false;
}

// Discarded when it is no JSON, or nested as no answer is (docs/behaviour.md, own 26).
Json parsed(std::string_view body) {
    if (nestsTooDeep(body)) return Json(Json::value_t::discarded);
    return Json::parse(body, nullptr, false);
}

// It would end a header line and begin another.
bool hasControlCharacter(std::string_view text) {
    return std::ranges::any_of(text, [](char c) {
        constexpr unsigned char blank = 0x20;
        constexpr unsigned char erase = 0x7f;
        return static_cast<unsigned char>(c) < blank || static_cast<unsigned char>(c) == erase;
    });
}

// Reads an answer that is a JSON object.
template <class Value>
Result<Value> readObject(std::string_view body,
                         const std::function<Result<Value>(const Json&)>& read) {
    const Json json = parsed(body);
    if (json.is_discarded() || !json.is_object()) return badResponse();
    return read(json);
}

// "2026-01-31T14:03:11Z".
std::optional<Date> dateOf(const std::string& text) {
    constexpr size_t length = 20;
    if (text.size() != length || text.substr(10, 1) != "T" || text.back() != 'Z') return {};
    bool isWhole = true;
    const auto number = [&](size_t at, size_t digits) {
        unsigned value = 0;
        const char* const end = text.data() + at + digits;
        const auto read = std::from_chars(text.data() + at, end, value);
        isWhole = isWhole && read.ec == std::errc() && read.ptr == end;
        return value;
    };
    const std::chrono::year_month_day day(std::chrono::year(static_cast<int>(number(0, 4))),
                                          std::chrono::month(number(5, 2)),
                                          std::chrono::day(number(8, 2)));
    const long long time = number(11, 2) * 3600LL + number(14, 2) * 60LL + number(17, 2);
    if (!isWhole || !day.ok()) return {};
    const std::chrono::seconds midnight = std::chrono::sys_days(day).time_since_epoch();
    return dateFromUnixTime(midnight.count() + time);
}

Result<DBMetadata> metadataOf(const Json& json) {
    if (!json.is_object()) return badResponse();
    const std::string name = stringIn(json, "name");
    DBMetadata metadata;
    metadata.isDirectory = stringIn(json, ".tag") == "folder";
    // The service shows paths in the case in which they were first written, or not at all.
    metadata.path = {stringIn(json, "path_display")};
    if (metadata.path.text.empty()) metadata.path = {"/" + name};
    if (name.empty()) return badResponse();
    if (metadata.isDirectory) return metadata;
    const auto size = json.find("size");
    const auto date = dateOf(stringIn(json, "server_modified"));
    if (size == json.end() || !size->is_number_unsigned() || !date) return badResponse();
    metadata.totalBytes = size->get<std::uint64_t>();
    metadata.lastModifiedDate = *date;
    return metadata;
}

Result<ListedPage> pageOf(const Json& json) {
    const auto entries = json.find("entries");
    const auto hasMore = json.find("has_more");
    ListedPage page{.entries = {}, .cursor = stringIn(json, "cursor")};
    const bool isWhole = entries != json.end() && entries->is_array() && hasMore != json.end() &&
                         hasMore->is_boolean();
    if (!isWhole) return badResponse();
    page.hasMore = hasMore->get<bool>();
    if (page.hasMore && page.cursor.empty()) return badResponse();
    for (const Json& entry : *entries) {
        if (entry.is_object() && stringIn(entry, ".tag") == "deleted") continue;
        auto metadata = metadataOf(entry);
        if (!metadata) return metadata.error();
        page.entries.push_back(std::move(*metadata));
    }
    return page;
}

// "path/insufficient_space" of an answer that gives a reason; "" of others.
std::string reasonOf(const HttpAnswer& answer, const char* member) {
    const Json json = parsed(answer.body);
    if (json.is_discarded() || !json.is_object()) return "";
    std::string reason = printable(stringIn(json, member));
    while (reason.ends_with('.') || reason.ends_with('/')) reason.pop_back();
    return reason.size() > longestReason ? "" : reason;
}

// The service has words of its own for some failures, beside or instead of a status.
long codeFor(long status, const std::string& reason) {
    const auto tells = [&](std::string_view word) {
        return reason.find(word) != std::string::npos;
    };
    constexpr long tooManyRequests = 429;
    if (status == tooManyRequests) return cloudstatus::requestsLimited;
    if (status != cloudstatus::conflict) return status;
    if (tells("insufficient_space")) return cloudstatus::quotaExceeded;
    if (tells("too_many_")) return cloudstatus::requestsLimited;
    if (tells("not_found")) return cloudstatus::notFound;
    return status;
}

std::string describeFailure(const HttpAnswer& answer, const std::string& reason) {
    std::string words = "The cloud service answered with status " + std::to_string(answer.status);
    if (!reason.empty()) words += " (" + reason + ")";
    words += ".";
    const long wait = integerValue(answer.header("retry-after"));
    if (wait > 0) words += " It asks to wait for " + std::to_string(wait) + " seconds.";
    return words;
}

}  // namespace

namespace cloudarguments {

std::string upload(const RemotePath& path, const std::optional<std::string>& parentRevision) {
    return text(commitOf(path, parentRevision), true);
}

std::string append(const std::string& session, std::uint64_t offset) {
    return text({{"cursor", cursorOf(session, offset)}}, true);
}

std::string finish(const std::string& session, std::uint64_t offset, const RemotePath& path,
                   const std::optional<std::string>& parentRevision) {
    return text({{"cursor", cursorOf(session, offset)}, {"commit", commitOf(path, parentRevision)}},
                true);
}

std::string path(const RemotePath& path) {
    return text({{"path", path.text}}, true);
}

std::string listFolder(const RemotePath& path) {
    constexpr int entriesInAPage = 2000;
    return text({{"path", path.text}, {"recursive", false}, {"limit", entriesInAPage}}, false);
}

std::string listFolderContinue(const std::string& cursor) {
    return text({{"cursor", cursor}}, false);
}

std::string percentEncoded(std::string_view text) {
    constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(3 * text.size());
    for (const char c : text) {
        if (plain.find(c) != std::string_view::npos) {
            encoded += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        encoded += '%';
        encoded += digits[byte >> 4U];
        encoded += digits[byte & 15U];
    }
    return encoded;
}

Secret form(const std::vector<std::pair<std::string_view, std::string_view>>& fields) {
    // Reserved at once, so that no shorter copy is left behind in memory.
    size_t size = 0;
    for (const auto& [name, value] : fields) size += name.size() + 3 * value.size() + 2;
    std::string body;
    body.reserve(size);
    for (const auto& [name, value] : fields) {
        if (!body.empty()) body += '&';
        body.append(name) += '=';
        const Secret encoded(percentEncoded(value));
        body += encoded.text();
    }
    return Secret(std::move(body));
}

}  // namespace cloudarguments

namespace cloudanswers {

Result<DBMetadata> metadata(std::string_view body) {
    return readObject<DBMetadata>(body, metadataOf);
}

Result<ListedPage> listedPage(std::string_view body) {
    return readObject<ListedPage>(body, pageOf);
}

Result<std::string> sessionId(std::string_view body) {
    return readObject<std::string>(body, [](const Json& json) -> Result<std::string> {
        std::string session = stringIn(json, "session_id");
        if (session.empty()) return badResponse();
        return session;
    });
}

Result<TokenAnswer> token(std::string&& body) {
    const Secret kept(std::move(body));
    const Json json = parsed(kept.text());
    if (json.is_discarded() || !json.is_object()) return badResponse();
    TokenAnswer answer{Secret(stringIn(json, "access_token")),
                       Secret(stringIn(json, "refresh_token")), stringIn(json, "account_id")};
    // docs/behaviour.md, own 21
    if (answer.accessToken.text().empty() || hasControlCharacter(answer.accessToken.text())) {
        return badResponse();
    }
    return answer;
}

Error failure(const HttpAnswer& answer) {
    const std::string reason = reasonOf(answer, "error_summary");
    return {cloudErrorDomain, codeFor(answer.status, reason), describeFailure(answer, reason)};
}

Error tokenFailure(const HttpAnswer& answer) {
    const std::string reason = reasonOf(answer, "error");
    if (reason == "invalid_grant") {
        return {urlErrorDomain, urlerror::authenticationRequired,
                "The cloud service no longer accepts the link to the account."};
    }
    return {cloudErrorDomain, codeFor(answer.status, reason), describeFailure(answer, reason)};
}

}  // namespace cloudanswers

}  // namespace larkspan
