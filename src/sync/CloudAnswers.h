#pragma once

#include "foundation/Result.h"
#include "foundation/Secret.h"
#include "sync/DBMetadata.h"
#include "sync/HttpClient.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// What is said to the service and what it says, as texts: pure functions. Whatever an answer holds,
// reading it gives a value or the error badServerResponse. Names are UTF-8; bytes that are not
// become U+FFFD on the way out.

namespace cloudarguments {

// Arguments that travel in a header are ASCII.
std::string upload(const RemotePath& path, const std::optional<std::string>& parentRevision);
std::string append(const std::string& session, std::uint64_t offset);
std::string finish(const std::string& session, std::uint64_t offset, const RemotePath& path,
                   const std::optional<std::string>& parentRevision);
std::string path(const RemotePath& path);
std::string listFolder(const RemotePath& path);
std::string listFolderContinue(const std::string& cursor);

// A form's body of names and values.
Secret form(const std::vector<std::pair<std::string_view, std::string_view>>& fields);
std::string percentEncoded(std::string_view text);

}  // namespace cloudarguments

struct ListedPage {
    std::vector<DBMetadata> entries;
    std::string cursor;
    bool hasMore = false;
};

struct TokenAnswer {
    Secret accessToken;
    Secret refreshToken;  // "" when there is none
    std::string accountId;
};

namespace cloudanswers {

// A file or folder; `size` of a file is that of the service's copy.
Result<DBMetadata> metadata(std::string_view body);
Result<ListedPage> listedPage(std::string_view body);
Result<std::string> sessionId(std::string_view body);
Result<TokenAnswer> token(std::string&& body);

// The failure that an answer with another status than 200 tells of.
Error failure(const HttpAnswer& answer);
// The same for a request for a token.
Error tokenFailure(const HttpAnswer& answer);

}  // namespace cloudanswers

}  // namespace larkspan
