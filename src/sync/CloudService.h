#pragma once

#include "foundation/Path.h"
#include "sync/CloudAnswers.h"
#include "sync/DBSession.h"
#include "sync/HttpClient.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace larkspan {

// The conversation with the cloud service: each operation asks, waits and returns the answer. The
// errors have the urlErrorDomain, the cloudErrorDomain, or are those of files. Nothing is tried
// again, but for a request whose access token has run out. One thread at a time.
class CloudService {
  public:
    // From 0 to 1.
    using Progress = std::function<void(double done)>;

    // The flag must outlive this.
    CloudService(const DBSession& session, CloudSettings settings, CancelFlag& cancel);

    // A local file, in one request or in chunks. It must not change meanwhile.
    Result<DBMetadata> uploadFile(const Path& file, const RemotePath& toPath,
                                  const std::optional<std::string>& parentRevision,
                                  const Progress& progress);
    // A folder with what lies directly in it.
    Result<DBMetadata> listFolder(const RemotePath& folder);
    // Into a new file; what is there is left alone (EEXIST). The file appears whole or not at all.
    std::optional<Error> downloadFile(const RemotePath& path, const Path& intoPath,
                                      const Progress& progress);
    std::optional<Error> deletePath(const RemotePath& path);
    // Ends the link to the account at the service's side.
    std::optional<Error> revoke();

  private:
    class Source;

    Result<HttpAnswer> send(HttpRequest request);
    Result<HttpAnswer> sendJson(const std::string& operation, std::string arguments);
    Result<HttpAnswer> sendContent(const std::string& operation, const std::string& arguments,
                                   HttpBody body, const Progress& progress);
    Result<DBMetadata> uploadInChunks(Source& source, const RemotePath& toPath,
                                      const std::optional<std::string>& parentRevision,
                                      const Progress& progress);
    Result<DBMetadata> receive(const RemotePath& path, const Path& intoFile,
                               const Progress& progress);
    std::optional<Error> refreshToken();

    const std::string appKey_;
    const CloudSettings settings_;
    CancelFlag& cancel_;
    const std::unique_ptr<HttpClient> client_;
    std::unique_ptr<Secret> accessToken_;  // null until the first request
};

}  // namespace larkspan
