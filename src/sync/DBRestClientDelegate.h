#pragma once

#include "foundation/Error.h"
#include "foundation/Path.h"
#include "sync/DBMetadata.h"

namespace larkspan {

class DBRestClient;

// Learns what becomes of a client's requests. Every member is called on the main thread and may be
// left as it is. Progress runs from 0 to 1.
class DBRestClientDelegate {
  public:
    virtual ~DBRestClientDelegate() = default;

    virtual void loadedMetadata(DBRestClient&, const DBMetadata&) {}
    virtual void metadataUnchangedAtPath(DBRestClient&, const RemotePath&) {}
    virtual void loadMetadataFailedWithError(DBRestClient&, const Error&) {}

    virtual void uploadedFile(DBRestClient&, const RemotePath& /*destination*/,
                              const Path& /*from*/, const DBMetadata&) {}
    virtual void uploadProgress(DBRestClient&, double /*progress*/, const RemotePath& /*forFile*/,
                                const Path& /*from*/) {}
    virtual void uploadFileFailedWithError(DBRestClient&, const Error&) {}

    virtual void deletedPath(DBRestClient&, const RemotePath&) {}
    virtual void deletePathFailedWithError(DBRestClient&, const Error&) {}

    virtual void loadedFile(DBRestClient&, const Path& /*destination*/) {}
    virtual void loadProgress(DBRestClient&, double /*progress*/, const Path& /*forFile*/) {}
    virtual void loadFileFailedWithError(DBRestClient&, const Error&) {}
};

}  // namespace larkspan
