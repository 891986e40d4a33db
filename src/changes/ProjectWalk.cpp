#include "changes/ChangeListDriver.h"
#include "foundation/Text.h"
#include "kit/Preferences.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <algorithm>
#include <vector>

// The operations of the driver that go through a project's versions.

namespace larkspan {
namespace {

platform::Platform& current() {
    return platform::Platform::current();
}

bool endsIn(std::string_view name, std::string_view ending) {
    return name.size() >= ending.size() &&
           caseInsensitiveCompare(name.substr(name.size() - ending.size()), ending) == 0;
}

std::vector<std::string> namesIn(const Path& folder) {
    std::vector<std::string> names;
    const auto entries = current().files.contentsOfFolder(folder);
    if (!entries) return names;
    for (const auto& entry : *entries) {
        if (!entry.name.starts_with('.')) names.push_back(entry.name);
    }
    return names;
}

void save(const Value::Dictionary& cache, const Path& cacheFile) {
    if (const auto error = savePropertyList(Value(cache), cacheFile)) {
        ZBLog::appendLog("Unable to write cache file %@: %@", cacheFile, error->description);
    }
}

// With the format version that the bundle's caches have.
Value::Dictionary emptyCache(const std::optional<Path>& bundle) {
    const Path info = bundle.value_or(Path()) / "Contents/Info.plist";
    if (!bundle || !current().files.exists(info)) return {{"version", "0"}};
    const auto values = loadPropertyList(info);
    const Value* version = values ? values->find("ZBCacheVersion") : nullptr;
    return version ? Value::Dictionary{{"version", *version}} : Value::Dictionary();
}

// What stands for a project file in the lists is its rendition, where there is one.
bool hasRendition(const Path& file) {
    if (!endsIn(file.str(), ".fcp")) return false;
    return current().files.exists(file.deletingPathExtension().appendingPathExtension("xml"));
}

}  // namespace

// One walk over all versions of a project, from the first to the last of its folder's listing.
class ChangeListDriver::ProjectWalk {
  public:
    ProjectWalk(ChangeListDriver& driver, Path projectFolder,
                std::shared_ptr<ChangeListDelegate> delegate)
        : driver_(driver),
          projectFolder_(std::move(projectFolder)),
          delegate_(std::move(delegate)),
          cache_(emptyCache(driver.surroundings_.currentBundlePath())) {}

    Entry run() {
        const auto names = namesIn(projectFolder_ / "Versions");
        performAndWait([&](ChangeListInterface& interface) { interface.startProgress(); });
        if (names.size() >= 2) {
            performAndWait([&](ChangeListInterface& interface) {
                interface.setDeterminateProgress(static_cast<double>(names.size()));
            });
        }
        if (const auto folder = driver_.surroundings_.cacheFolder()) {
            if (!current().files.exists(*folder)) (void)ZBFileManager::createDirectory(*folder);
            cacheFile_ = driver_.surroundings_.cacheFile(*folder, projectFolder_);
        }
        for (const std::string& name : names) {
            if (driver_.isCancelled()) return std::nullopt;
            processItem(name);
        }
        post([](ChangeListInterface& interface) { interface.endProgress(); });
        return std::move(cache_);
    }

  private:
    void processItem(const std::string& name) {
        const Path path(messageText("%@/Versions/%@", projectFolder_, name));
        if (hasRendition(path)) return;
        auto entry = driver_.changelistForFile(path, previous_);
        const bool isProcessed = !entry || !entry->contains("noProcess");
        if (entry) takeEntry(name, path, *std::move(entry));
        post([](ChangeListInterface& interface) { interface.incrementProgressBar(); });
        if (!endsIn(name, ".xml")) return;
        previous_ = isProcessed ? std::optional(path) : std::nullopt;
    }

    void takeEntry(const std::string& name, const Path& path, Value::Dictionary entry) {
        if (auto annotation = driver_.surroundings_.annotationForFile(path)) {
            entry["annotation"] = *std::move(annotation);
        }
        cache_[name] = entry;
        if (cacheFile_) save(cache_, *cacheFile_);
        if (!delegate_) return;
        current().mainThread.post(
            [delegate = delegate_, made = std::move(entry)] { delegate->changeLogReady(made); });
    }

    template <class Work>
    void performAndWait(Work work) {
        const auto interface = driver_.userInterface;
        if (!interface) return;
        (void)current().mainThread.performAndWait([&] { work(*interface); });
    }

    template <class Work>
    void post(Work work) {
        const auto interface = driver_.userInterface;
        if (interface) current().mainThread.post([interface, work] { work(*interface); });
    }

    ChangeListDriver& driver_;
    Path projectFolder_;
    std::shared_ptr<ChangeListDelegate> delegate_;
    Value::Dictionary cache_;
    std::optional<Path> cacheFile_;
    std::optional<Path> previous_;
};

ChangeListDriver::Entry ChangeListDriver::changelistForProject(
    const Path& projectFolder, const std::shared_ptr<ChangeListDelegate>& withDelegate) {
    try {
        return ProjectWalk(*this, projectFolder, withDelegate).run();
    } catch (...) {
        endProgress();
        throw;
    }
}

void ChangeListDriver::updateChangelistForItem(const Path& version) {
    const Path folder = version.deletingLastPathComponent();
    const auto cacheFolder = surroundings_.cacheFolder();
    if (!cacheFolder) return;
    using namespace std::chrono_literals;
    if (!ZBFileManager::createDirectory(*cacheFolder, 15s)) {
        if (!userInterface) {
            ZBLog::appendLog("Unable to create cache folder %@", *cacheFolder);
            return;
        }
        const std::string text = messageText("Please check permissions for the folder %@",
                                             cacheFolder->deletingLastPathComponent());
        (void)current().mainThread.performAndWait(
            [&] { userInterface->showAlert("Unable to create cache folder", text); });
        return;
    }
    // Named after the folder of the versions, deliberately: it always was.
    const Path cacheFile = surroundings_.cacheFile(*cacheFolder, folder);
    const auto loaded = loadPropertyList(cacheFile);
    Value::Dictionary cache = loaded ? *loaded->dictionary() : Value::Dictionary();

    std::vector<std::string> names = namesIn(folder);
    std::erase_if(names, [](const std::string& name) { return !endsIn(name, ".xml"); });
    std::sort(names.begin(), names.end(), listingOrder);
    const auto update = [&](const std::string& name, const std::optional<Path>& oldFile) {
        if (auto entry = changelistForFile(folder / name, oldFile)) cache[name] = *std::move(entry);
    };
    const std::string name = version.lastPathComponent();
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end() || found + 1 == names.end()) {
        update(name, std::nullopt);
    } else {
        const bool isFirst = found == names.begin();
        update(name, isFirst ? std::nullopt : std::optional(folder / *(found - 1)));
        update(*(found + 1), version);
    }
    save(cache, cacheFile);
}

}  // namespace larkspan
