#pragma once

#include "changes/ChangeListDriver.h"
#include "foundation/Path.h"
#include "foundation/Value.h"

#include <memory>
#include <optional>
#include <string>

namespace larkspan {

// Keeps the change lists of a project's versions in a file, since making them is slow. A cache is a
// dictionary of entries by the names of version files, with the format version under "version".
// Used from the scan queue.
class ChangeListCache {
  public:
    // The driver must outlive this.
    explicit ChangeListCache(ChangeListDriver& driver) : driver_(driver) {}

    // The up-to-date cache of a project. The file is written after every new entry, so that no work
    // is lost; a cache of another format version is made afresh. Empty when there can be no cache
    // or nothing could be read, which is logged or, where the driver has a user interface, shown.
    // Not for the main thread, where the delegate is called.
    std::optional<Value::Dictionary> cacheForProject(
        const Path& projectFolder,
        const std::shared_ptr<ChangeListDelegate>& withDelegate = nullptr);

    // Removes every cache. Any thread.
    static void invalidateAllCaches();

    // The user's note on a version. Any thread.
    static std::optional<Value> annotationForFile(const Path& version);

  private:
    class Update;
    bool ensureFolder(const Path& folder) const;
    void reportMissingData() const;
    void showAlert(const char* messageText, const std::string& informativeText) const;

    ChangeListDriver& driver_;
};

// Brings up what the driver and the cache have to say as alerts of this program.
class ChangeListAlerts final : public ChangeListInterface {
  public:
    void showAlert(const std::string& messageText, const std::string& informativeText) override;
};

}  // namespace larkspan
