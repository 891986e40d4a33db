#include "backup/ChangeListCache.h"

#include "backup/StoreLayout.h"
#include "backup/VersionName.h"
#include "backup/ZBLarkspanBackup.h"
#include "foundation/Text.h"
#include "kit/ConsoleReport.h"
#include "kit/ZBAlert.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/MainThread.h"

#include <set>
#include <utility>
#include <vector>

namespace larkspan {
namespace {

constexpr std::chrono::seconds createTimeout{15};
constexpr std::string_view cacheSuffix = ".cache.plist";
constexpr const char* formatKey = "version";

platform::Platform& current() {
    return platform::Platform::current();
}

std::optional<std::string> currentFormat() {
    const auto bundle = ZBLarkspanBackup::currentBundlePath();
    const auto info =
        bundle ? loadPropertyList(*bundle / "Contents/Info.plist") : Result<Value>(Error{});
    const Value* version = info ? info->find("ZBCacheVersion") : nullptr;
    const std::string* text = version ? version->string() : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

std::vector<std::string> visibleNames(const Path& folder) {
    std::vector<std::string> names;
    const auto opened = current().files.openFolder(folder);
    if (!opened) return names;
    const auto isVisible = [](std::string_view name, platform::EntryKind) {
        return !isHiddenName(name);
    };
    auto entries = (*opened)->entries(isVisible);
    if (!entries) return names;
    for (auto& entry : *entries) names.push_back(std::move(entry.name));
    return names;
}

// The user's notes by the names of version files; none when there is no readable file of them.
Value annotationsOf(const Path& projectFolder) {
    const auto loaded = loadPropertyList(projectFolder / storelayout::annotationsName);
    return loaded ? *loaded : Value();
}

Value::Dictionary loadCache(const Path& file, const std::optional<std::string>& format) {
    const auto loaded = loadPropertyList(file);
    const Value* version = loaded ? loaded->find(formatKey) : nullptr;
    const std::string* text = version ? version->string() : nullptr;
    if (text && format && *text == *format) return *loaded->dictionary();
    ZBLog::appendLog("Cache version does not match. Resetting cache...");
    return {};
}

}  // namespace

// One refresh of one project's cache.
class ChangeListCache::Update {
  public:
    Update(ChangeListDriver& driver, Path projectFolder, Path cacheFile,
           std::shared_ptr<ChangeListDelegate> delegate)
        : driver_(driver),
          projectFolder_(std::move(projectFolder)),
          cacheFile_(std::move(cacheFile)),
          delegate_(std::move(delegate)),
          format_(currentFormat()),
          cache_(loadCache(cacheFile_, format_)),
          annotations_(annotationsOf(projectFolder_)) {}

    // False when the change data could not be got.
    bool run() {
        const Path versions = projectFolder_ / storelayout::versionsName;
        const auto names = visibleNames(versions);
        const std::set<std::string, std::less<>> present(names.begin(), names.end());
        tell([&](ChangeListDelegate& delegate) { delegate.versionsToBeLoaded(names.size()); });
        for (const std::string& name : names) {
            const Path path(messageText("%@/%@", versions, name));
            if (name == formatKey || hasRendition(name, present)) continue;
            if (hasEntry(name)) {
                annotate(name);
            } else if (!previous_) {
                return makeAll();
            } else if (auto entry = driver_.changelistForFile(path, previous_)) {
                take(name, *std::move(entry));
            }
            if (lowercased(name).ends_with(".xml")) previous_ = path;
        }
        if (changed_) finish();
        return true;
    }

    void end() {
        driver_.memory().forget();
        tell([](ChangeListDelegate& delegate) { delegate.loadingFinished(); });
    }

    Value::Dictionary take() { return std::move(cache_); }

  private:
    // A version whose rendition stands beside it is represented by that.
    static bool hasRendition(const std::string& name,
                             const std::set<std::string, std::less<>>& present) {
        const Path file(name);
        return lowercased(file.pathExtension()) == "fcp" &&
               present.contains(file.deletingPathExtension().appendingPathExtension("xml").str());
    }

    // What is no dictionary in a damaged cache is made again.
    bool hasEntry(const std::string& name) const {
        const auto found = cache_.find(name);
        return found != cache_.end() && found->second.dictionary();
    }

    void annotate(const std::string& name) {
        const Value* annotation = annotations_.find(name);
        if (!annotation) return;
        Value::Dictionary annotated = *cache_[name].dictionary();
        annotated["annotation"] = *annotation;
        cache_[name] = std::move(annotated);
    }

    bool makeAll() {
        auto made = driver_.changelistForProject(projectFolder_, delegate_);
        if (!made) return false;
        cache_ = *std::move(made);
        finish();
        return true;
    }

    void take(const std::string& name, Value::Dictionary entry) {
        if (const Value* annotation = annotations_.find(name)) entry["annotation"] = *annotation;
        cache_[name] = entry;
        save();
        changed_ = true;
        if (!delegate_) return;
        current().mainThread.post(
            [delegate = delegate_, made = std::move(entry)] { delegate->changeLogReady(made); });
    }

    void finish() {
        if (format_) cache_[formatKey] = *format_;
        save();
    }

    // What cannot be written is made again at the next refresh.
    void save() const {
        if (const auto error = savePropertyList(Value(cache_), cacheFile_)) {
            ZBLog::appendLog("Unable to write cache file %@: %@", cacheFile_, error->description);
        }
    }

    template <class Call>
    void tell(Call call) const {
        if (delegate_) (void)current().mainThread.performAndWait([&] { call(*delegate_); });
    }

    ChangeListDriver& driver_;
    Path projectFolder_;
    Path cacheFile_;
    std::shared_ptr<ChangeListDelegate> delegate_;
    std::optional<std::string> format_;
    Value::Dictionary cache_;
    const Value annotations_;
    std::optional<Path> previous_;
    bool changed_ = false;
};

std::optional<Value::Dictionary> ChangeListCache::cacheForProject(
    const Path& projectFolder, const std::shared_ptr<ChangeListDelegate>& withDelegate) {
    struct Running {
        explicit Running(std::atomic<bool>& flag) : cancelled(flag) { cancelled = false; }
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;
        ~Running() { cancelled = true; }
        std::atomic<bool>& cancelled;
    };
    const Running running(driver_.processingCancelled);
    const auto folder = storelayout::cacheFolder();
    if (!folder || !ensureFolder(*folder)) return std::nullopt;
    Update update(driver_, projectFolder, storelayout::cacheFile(*folder, projectFolder),
                  withDelegate);
    const bool isComplete = update.run();
    if (!isComplete) reportMissingData();
    update.end();
    if (!isComplete) return std::nullopt;
    return update.take();
}

bool ChangeListCache::ensureFolder(const Path& folder) const {
    if (current().files.exists(folder)) return true;
    if (ZBFileManager::createDirectory(folder, createTimeout)) return true;
    if (driver_.userInterface) {
        showAlert("Unable to create cache folder",
                  messageText("Please check permissions for the folder %@",
                              folder.deletingLastPathComponent()));
    } else {
        ZBLog::appendLog("Unable to create cache folder %@", folder);
    }
    return false;
}

void ChangeListCache::reportMissingData() const {
    if (!driver_.userInterface) {
        reportToConsole("Unable to get change data. Please report this bug to Corvane.");
        ZBLog::appendLog("Unable to get change data. Please report this bug to Corvane.");
    } else if (!driver_.processingCancelled) {
        showAlert("Unable to get change data", "Please report this bug to Corvane.");
    }
}

void ChangeListCache::showAlert(const char* messageText, const std::string& informativeText) const {
    const auto interface = driver_.userInterface;
    (void)current().mainThread.performAndWait(
        [&] { interface->showAlert(messageText, informativeText); });
}

void ChangeListCache::invalidateAllCaches() {
    ZBLog::appendLog("Invalidating all caches...");
    const auto folder = storelayout::cacheFolder();
    const auto entries = folder ? current().files.contentsOfFolder(*folder)
                                : Result<std::vector<platform::DirectoryEntry>>(Error{});
    if (!entries) return;
    for (const auto& entry : *entries) {
        if (!entry.name.ends_with(cacheSuffix)) continue;
        if (const auto error = current().files.removeItem(*folder / entry.name)) {
            ZBLog::appendLog("Error removing file: %@", error->description);
        }
    }
}

std::optional<Value> ChangeListCache::annotationForFile(const Path& version) {
    const Value annotations =
        annotationsOf(version.deletingLastPathComponent().deletingLastPathComponent());
    const Value* found = annotations.find(version.lastPathComponent());
    return found ? std::optional(*found) : std::nullopt;
}

void ChangeListAlerts::showAlert(const std::string& messageText,
                                 const std::string& informativeText) {
    (void)ZBAlert::alertSheetWithMessageText(messageText, informativeText, ZBAlert::mainWindow());
}

}  // namespace larkspan
