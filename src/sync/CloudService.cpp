#include "sync/CloudService.h"

#include "foundation/Text.h"
#include "foundation/Uuid.h"
#include "platform/FileStreams.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "sync/CloudAccount.h"
#include "sync/CloudErrors.h"
#include "sync/TransferFile.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace larkspan {
namespace {

constexpr size_t mostEntries = 1'000'000;
constexpr size_t mostPages = 10'000;
constexpr int mostEmptyPages = 100;  // in a row

platform::Platform& current() {
    return platform::Platform::current();
}

Error badResponse(const char* words) {
    return {urlErrorDomain, urlerror::badServerResponse, words};
}

// Whatever a server repeats (docs/behaviour.md, own 21).
Error withoutSecret(Error error, const Secret& secret) {
    error.description = replacingAll(error.description, secret.text(), "(token)");
    return error;
}

double share(std::uint64_t part, std::uint64_t whole) {
    if (whole == 0) return 0;
    return std::min(1.0, static_cast<double>(part) / static_cast<double>(whole));
}

}  // namespace

// The file that is uploaded.
class CloudService::Source {
  public:
    static Result<Source> open(const Path& file) {
        auto stream = current().streams.openForReading(file);
        if (!stream) return stream.error();
        const auto info = current().files.info(file);
        if (!info) return posixError(ENOENT, "opening " + file.str());
        return Source(std::move(*stream), info->size, file);
    }

    std::uint64_t size() const { return size_; }

    // A piece as the body of a request. A file that has become shorter fails.
    HttpBody piece(std::uint64_t start, std::uint64_t length) {
        return {.size = length, .read = [this, start](std::uint64_t at, std::span<char> buffer) {
                    auto got = stream_->readAt(start + at, buffer);
                    if (!got || *got > 0) return got;
                    return Result<size_t>(posixError(EIO, file_.str() + " has become shorter"));
                }};
    }

  private:
    Source(std::unique_ptr<platform::FileStream> stream, std::uint64_t size, Path file)
        : stream_(std::move(stream)), size_(size), file_(std::move(file)) {}

    std::unique_ptr<platform::FileStream> stream_;
    std::uint64_t size_;
    Path file_;
};

CloudService::CloudService(const DBSession& session, CloudSettings settings, CancelFlag& cancel)
    : appKey_(session.appKey),
      settings_(std::move(settings)),
      cancel_(cancel),
      client_(HttpClient::make(settings_)) {}

std::optional<Error> CloudService::refreshToken() {
    const auto account = cloudaccounts::load();
    if (!account) {
        return Error{cloudErrorDomain, cloudstatus::unauthorized, "No Dropbox account is linked."};
    }
    Secret form = cloudarguments::form({{"grant_type", "refresh_token"},
                                        {"refresh_token", account->refreshToken.text()},
                                        {"client_id", appKey_}});
    auto answer = client_->post({.address = settings_.apiAddress + "/oauth2/token",
                                 .headers = {"Content-Type: application/x-www-form-urlencoded"},
                                 .form = &form},
                                cancel_);
    if (!answer) return answer.error();
    if (answer->status != 200) {
        return withoutSecret(cloudanswers::tokenFailure(*answer), account->refreshToken);
    }
    auto token = cloudanswers::token(std::move(answer->body));
    if (!token) return token.error();
    accessToken_ = std::make_unique<Secret>(std::move(token->accessToken));
    return std::nullopt;
}

// Any answer with another status than 200 is an error.
Result<HttpAnswer> CloudService::send(HttpRequest request) {
    for (const bool isLast : {false, true}) {
        if (!accessToken_) {
            if (auto error = refreshToken()) return std::move(*error);
        }
        request.token = accessToken_.get();
        auto answer = client_->post(request, cancel_);
        if (!answer || answer->status == 200) return answer;
        if (answer->status != cloudstatus::unauthorized || isLast) {
            return withoutSecret(cloudanswers::failure(*answer), *accessToken_);
        }
        accessToken_.reset();
    }
    return badResponse("");
}

Result<HttpAnswer> CloudService::sendJson(const std::string& operation, std::string arguments) {
    return send({.address = settings_.apiAddress + "/2/" + operation,
                 .headers = {"Content-Type: application/json"},
                 .text = std::move(arguments)});
}

Result<HttpAnswer> CloudService::sendContent(const std::string& operation,
                                             const std::string& arguments, HttpBody body,
                                             const Progress& progress) {
    const std::uint64_t size = body.size;
    return send(
        {.address = settings_.contentAddress + "/2/" + operation,
         .headers = {"Content-Type: application/octet-stream", "Dropbox-API-Arg: " + arguments},
         .body = std::move(body),
         .progress = [&](std::uint64_t sent, std::uint64_t, std::uint64_t) {
             progress(share(sent, size));
         }});
}

Result<DBMetadata> CloudService::uploadFile(const Path& file, const RemotePath& toPath,
                                            const std::optional<std::string>& parentRevision,
                                            const Progress& progress) {
    auto source = Source::open(file);
    if (!source) return source.error();
    auto stored = [&]() -> Result<DBMetadata> {
        if (source->size() > settings_.largestSingleUpload) {
            return uploadInChunks(*source, toPath, parentRevision, progress);
        }
        auto answer = sendContent("files/upload", cloudarguments::upload(toPath, parentRevision),
                                  source->piece(0, source->size()), progress);
        if (!answer) return answer.error();
        return cloudanswers::metadata(answer->body);
    }();
    if (stored && stored->totalBytes != source->size()) {
        return badResponse("The cloud service stored another number of bytes than were sent.");
    }
    return stored;
}

Result<DBMetadata> CloudService::uploadInChunks(Source& source, const RemotePath& toPath,
                                                const std::optional<std::string>& parentRevision,
                                                const Progress& progress) {
    std::string session;
    std::uint64_t offset = 0;
    for (;;) {
        const std::uint64_t length = std::min(settings_.chunkSize, source.size() - offset);
        const bool isLast = offset + length == source.size();
        const std::string operation = session.empty() ? "start" : isLast ? "finish" : "append_v2";
        const std::string arguments =
            session.empty() ? "{}"
            : isLast        ? cloudarguments::finish(session, offset, toPath, parentRevision)
                            : cloudarguments::append(session, offset);
        auto answer = sendContent("files/upload_session/" + operation, arguments,
                                  source.piece(offset, length), [&](double done) {
                                      const auto sent = static_cast<double>(offset) +
                                                        done * static_cast<double>(length);
                                      progress(sent / static_cast<double>(source.size()));
                                  });
        if (!answer) return answer.error();
        if (!session.empty() && isLast) return cloudanswers::metadata(answer->body);
        if (session.empty()) {
            auto opened = cloudanswers::sessionId(answer->body);
            if (!opened) return opened.error();
            session = std::move(*opened);
        }
        offset += length;
    }
}

Result<DBMetadata> CloudService::listFolder(const RemotePath& folder) {
    DBMetadata listed;
    listed.path = folder;
    listed.isDirectory = true;
    auto answer = sendJson("files/list_folder", cloudarguments::listFolder(folder));
    int emptyPages = 0;
    for (size_t pages = 1;; ++pages) {
        if (!answer) return answer.error();
        auto page = cloudanswers::listedPage(answer->body);
        if (!page) return page.error();
        emptyPages = page->entries.empty() ? emptyPages + 1 : 0;
        std::ranges::move(page->entries, std::back_inserter(listed.contents));
        if (!page->hasMore) return listed;
        // docs/behaviour.md, own 26
        if (listed.contents.size() > mostEntries || pages >= mostPages ||
            emptyPages > mostEmptyPages) {
            return badResponse("The folder in the cloud has no end.");
        }
        answer = sendJson("files/list_folder/continue",
                          cloudarguments::listFolderContinue(page->cursor));
    }
}

std::optional<Error> CloudService::downloadFile(const RemotePath& path, const Path& intoPath,
                                                const Progress& progress) {
    platform::Files& files = current().files;
    const std::string doing = "downloading to " + intoPath.str();
    if (files.linkInfo(intoPath)) return posixError(EEXIST, doing);
    const TransferFile partial(intoPath.deletingLastPathComponent() /
                               (std::string(partialDownloadPrefix) + generateUUID()));
    if (partial.problem()) return partial.problem();
    const auto received = receive(path, partial.path(), progress);
    if (!received) return received.error();
    const auto info = files.info(partial.path());
    if (!info || info->size != received->totalBytes) {
        return Error{urlErrorDomain, urlerror::connectionLost,
                     "The file did not arrive in its whole length."};
    }
    return files.moveItem(partial.path(), intoPath);
}

Result<DBMetadata> CloudService::receive(const RemotePath& path, const Path& intoFile,
                                         const Progress& progress) {
    auto stream = current().streams.openEmptied(intoFile);
    if (!stream) return stream.error();
    std::uint64_t position = 0;
    const auto take = [&](std::string_view bytes) -> std::optional<Error> {
        const auto result = (*stream)->writeAt(position, bytes);
        if (result.errorNumber != 0) {
            return posixError(result.errorNumber, "writing " + intoFile.str());
        }
        position += bytes.size();
        return std::nullopt;
    };
    const auto answer = send(
        {.address = settings_.contentAddress + "/2/files/download",
         .headers = {"Content-Type: text/plain", "Dropbox-API-Arg: " + cloudarguments::path(path)},
         .take = take,
         .progress = [&](std::uint64_t, std::uint64_t received, std::uint64_t whole) {
             progress(share(received, whole));
         }});
    if (!answer) return answer.error();
    return cloudanswers::metadata(answer->header("dropbox-api-result"));
}

std::optional<Error> CloudService::deletePath(const RemotePath& path) {
    const auto answer = sendJson("files/delete_v2", cloudarguments::path(path));
    return answer ? std::nullopt : std::optional(answer.error());
}

std::optional<Error> CloudService::revoke() {
    const auto answer = sendJson("auth/token/revoke", "null");
    return answer ? std::nullopt : std::optional(answer.error());
}

}  // namespace larkspan
