#pragma once

#include "changes/ChangeListMemory.h"
#include "foundation/Path.h"
#include "foundation/Value.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace larkspan {

// Hears of the entries of a project's change lists while they are made, always on the main thread.
class ChangeListDelegate {
  public:
    virtual ~ChangeListDelegate() = default;

    virtual void versionsToBeLoaded(size_t /*count*/) {}
    virtual void changeLogReady(const Value::Dictionary& /*entry*/) {}
    virtual void loadingFinished() {}
};

// What a host with a user interface shows of the work, always on the main thread.
class ChangeListInterface {
  public:
    virtual ~ChangeListInterface() = default;

    virtual void startProgress() {}
    virtual void setDeterminateProgress(double /*steps*/) {}
    virtual void incrementProgressBar() {}
    virtual void endProgress() {}
    virtual void showAlert(const std::string& /*messageText*/,
                           const std::string& /*informativeText*/) {}
};

// What the driver asks of those around it.
struct ChangeListSurroundings {
    // The folder of the change-list caches, and the file of a project in it.
    std::function<std::optional<Path>()> cacheFolder;
    std::function<Path(const Path& cacheFolder, const Path& projectFolder)> cacheFile;
    // The user's note on a version.
    std::function<std::optional<Value>(const Path& version)> annotationForFile;
    // The bundle whose Info.plist has the format version of the caches.
    std::function<std::optional<Path>()> currentBundlePath;
};

// Makes the entries of change lists: what a version of a project is, and what changed since the one
// before it. Used from the scan queue, one operation at a time; never on the main thread.
class ChangeListDriver {
  public:
    using Entry = std::optional<Value::Dictionary>;

    explicit ChangeListDriver(ChangeListSurroundings surroundings)
        : surroundings_(std::move(surroundings)) {}

    // The entry of one version; empty when a document cannot be read or the work was cancelled,
    // which the log tells.
    Entry changelistForFile(const Path& newFile, const std::optional<Path>& withOldFile);

    // The entries of all versions of a project, by their names, with the format version: what its
    // cache holds. The cache file is written after each. Empty when cancelled.
    Entry changelistForProject(const Path& projectFolder,
                               const std::shared_ptr<ChangeListDelegate>& withDelegate = nullptr);

    // Makes the entries of one version and of the one behind it afresh, in the cache file.
    void updateChangelistForItem(const Path& version);

    // Stops the work of a driver with a user interface; without one it has no effect. Any thread.
    std::atomic<bool> processingCancelled{false};
    // Null without a user interface.
    std::shared_ptr<ChangeListInterface> userInterface;

    ChangeListMemory& memory() { return memory_; }

  private:
    // What is known of a version before its document is looked at.
    struct Version;
    static Version versionOf(const Path& newFile, const std::optional<Path>& oldFile);

    Value::Dictionary plainEntry(const Version& version, const std::optional<Path>& oldFile) const;
    Entry compared(const Version& version, const Path& oldFile);
    Entry comparedDocuments(const Version& version, const Path& oldFile,
                            const XMLDocument::Pointer& newDoc, const XMLDocument::Pointer& oldDoc);
    XMLDocument::Pointer checkedNew(const Result<XMLDocument::Pointer>& loaded) const;
    XMLDocument::Pointer checkedOld(const Result<XMLDocument::Pointer>& loaded) const;

    bool isCancelled() const { return userInterface && processingCancelled; }
    void endProgressAndAlert(const char* messageText, const std::string& informativeText) const;
    void endProgress() const;

    class ProjectWalk;

    ChangeListSurroundings surroundings_;
    ChangeListMemory memory_;
};

}  // namespace larkspan
