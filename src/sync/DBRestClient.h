#pragma once

#include "foundation/OperationQueue.h"
#include "sync/CloudService.h"
#include "sync/DBRestClientDelegate.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace larkspan {

// Asks the cloud service without making anybody wait: requests are carried out one after the other
// on a thread of the client's own, and the delegate is told on the main thread what became of them.
// The members are for the main thread.
//
//   DBRestClient client(DBSession::sharedSession(), settings);
//   client.setDelegate(&mirror);
//   client.deletePath({"/ID/Cut.00001.fcp.zip"});
class DBRestClient {
  public:
    DBRestClient(std::shared_ptr<const DBSession> session, CloudSettings settings);
    DBRestClient(const DBRestClient&) = delete;
    DBRestClient& operator=(const DBRestClient&) = delete;
    // Cancels what is under way and drops what waits; the delegate hears of neither.
    ~DBRestClient();

    // Not owned; may be null.
    void setDelegate(DBRestClientDelegate* delegate) { delegate_ = delegate; }

    // Uploads a local file as `filename` into the folder `toPath`. Without a parent revision
    // it replaces nothing: other content under that name is an error (isNameTaken).
    void uploadFile(const std::string& filename, const RemotePath& toPath,
                    const std::optional<std::string>& withParentRev, const Path& fromPath);
    // A folder with what lies in it.
    void loadMetadata(const RemotePath& path);
    // Downloads into a new file; where something is already, that fails with EEXIST.
    void loadFile(const RemotePath& path, const Path& intoPath);
    // Deletes a file, or a folder with all that it holds.
    void deletePath(const RemotePath& path);

  private:
    using Telling = std::function<void(DBRestClient&, DBRestClientDelegate&)>;
    // What a request does on the client's thread. What it gives is told at its end.
    using Work = std::function<Telling(CloudService&)>;

    void perform(Work work);
    // Any thread.
    void tell(Telling telling) const;
    // Tells of progress whenever it has come a hundredth further.
    CloudService::Progress progress(
        std::function<void(DBRestClient&, DBRestClientDelegate&, double)> telling) const;

    const std::shared_ptr<const DBSession> session_;
    const CloudSettings settings_;
    DBRestClientDelegate* delegate_ = nullptr;
    std::shared_ptr<DBRestClient*> self_;      // lives as long as this does
    const std::weak_ptr<DBRestClient*> weak_;  // for other threads, which must not prolong that
    CancelFlag cancel_;
    std::unique_ptr<CloudService> service_;  // on the thread only
    OperationQueue queue_{1};                // last: its thread ends before what it uses
};

}  // namespace larkspan
