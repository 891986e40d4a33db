#include "sync/DBRestClient.h"

#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <utility>

namespace larkspan {

DBRestClient::DBRestClient(std::shared_ptr<const DBSession> session, CloudSettings settings)
    : session_(std::move(session)),
      settings_(std::move(settings)),
      self_(std::make_shared<DBRestClient*>(this)),
      weak_(self_) {}

DBRestClient::~DBRestClient() {
    self_.reset();
    cancel_.cancel();
}

void DBRestClient::perform(Work work) {
    queue_.addOperation([this, work = std::move(work)] {
        if (cancel_.isCancelled()) return;
        if (!service_) service_ = std::make_unique<CloudService>(*session_, settings_, cancel_);
        tell(work(*service_));
    });
}

void DBRestClient::tell(Telling telling) const {
    const std::weak_ptr<DBRestClient*> client = weak_;
    platform::Platform::current().mainThread.post([client, telling = std::move(telling)] {
        // Clients go on the main thread only. The delegate may let this one go.
        const auto alive = client.lock();
        if (!alive || !(*alive)->delegate_) return;
        telling(**alive, *(*alive)->delegate_);
    });
}

CloudService::Progress DBRestClient::progress(
    std::function<void(DBRestClient&, DBRestClientDelegate&, double)> telling) const {
    return [this, telling = std::move(telling), told = -1](double done) mutable {
        const int hundredths = static_cast<int>(done * 100);
        if (std::exchange(told, hundredths) == hundredths) return;
        tell([telling, done](DBRestClient& client, DBRestClientDelegate& delegate) {
            telling(client, delegate, done);
        });
    };
}

void DBRestClient::uploadFile(const std::string& filename, const RemotePath& toPath,
                              const std::optional<std::string>& withParentRev,
                              const Path& fromPath) {
    const RemotePath target{toPath.text + "/" + filename};
    perform([this, target, withParentRev, fromPath](CloudService& service) -> Telling {
        const auto stored = service.uploadFile(
            fromPath, target, withParentRev,
            progress([target, fromPath](auto& client, auto& delegate, double done) {
                delegate.uploadProgress(client, done, target, fromPath);
            }));
        return [stored, target, fromPath](auto& client, auto& delegate) {
            if (stored) {
                delegate.uploadedFile(client, target, fromPath, *stored);
            } else {
                delegate.uploadFileFailedWithError(client, stored.error());
            }
        };
    });
}

void DBRestClient::loadMetadata(const RemotePath& path) {
    perform([path](CloudService& service) -> Telling {
        return [listed = service.listFolder(path)](auto& client, auto& delegate) {
            if (listed) {
                delegate.loadedMetadata(client, *listed);
            } else {
                delegate.loadMetadataFailedWithError(client, listed.error());
            }
        };
    });
}

void DBRestClient::loadFile(const RemotePath& path, const Path& intoPath) {
    perform([this, path, intoPath](CloudService& service) -> Telling {
        const auto error = service.downloadFile(
            path, intoPath, progress([intoPath](auto& client, auto& delegate, double done) {
                delegate.loadProgress(client, done, intoPath);
            }));
        return [error, intoPath](auto& client, auto& delegate) {
            if (error) {
                delegate.loadFileFailedWithError(client, *error);
            } else {
                delegate.loadedFile(client, intoPath);
            }
        };
    });
}

void DBRestClient::deletePath(const RemotePath& path) {
    perform([path](CloudService& service) -> Telling {
        return [error = service.deletePath(path), path](auto& client, auto& delegate) {
            if (error) {
                delegate.deletePathFailedWithError(client, *error);
            } else {
                delegate.deletedPath(client, path);
            }
        };
    });
}

}  // namespace larkspan
