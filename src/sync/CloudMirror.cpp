#include "sync/CloudMirror.h"

#include "foundation/NotificationCenter.h"
#include "foundation/Uuid.h"
#include "kit/ConsoleReport.h"
#include "kit/Identifiers.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBGrowl.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/MainThread.h"
#include "sync/CloudAccount.h"
#include "sync/CloudErrors.h"
#include "sync/MirrorRecords.h"

#include <utility>

namespace larkspan {
namespace {

constexpr size_t mostTransfersAtOnce = 4;
// The system takes 128 KiB as one argument.
constexpr size_t largestRemovalList = 100'000;
constexpr Seconds betweenShownErrors{1800};
constexpr const char* lastSyncErrorKey = "lastSyncError";

platform::Platform& current() {
    return platform::Platform::current();
}

bool isSyncOn(const Preferences& preferences) {
    return preferences.integer("syncService", 0) == 1;
}

bool isFrontEnd() {
    return current().bundles.mainBundle().identifier() == frontEndBundleIdentifier;
}

// In the helper's bundle's parent folder.
Path besideHelper(const char* name) {
    return current().bundles.mainBundle().path.deletingLastPathComponent() / name;
}

// Posted on the main thread without waiting, also by the main thread.
void post(const char* name, Value userInfo = {}) {
    current().mainThread.post([name, userInfo = std::move(userInfo)] {
        NotificationCenter::defaultCenter().postNotification(name, userInfo);
    });
}

Value::Dictionary failureInfo(const Error& error) {
    return {{"error", Value::Dictionary{{"domain", error.domain},
                                        {"code", error.code},
                                        {"description", error.description}}}};
}

Value::Dictionary failureOfNoFile(const Error& error) {
    Value::Dictionary info = failureInfo(error);
    info["filename"] = "";
    return info;
}

Value textsOf(const std::vector<Path>& paths) {
    Value::Array texts;
    for (const Path& path : paths) texts.emplace_back(path.str());
    return texts;
}

std::string nameWithoutExtension(const Path& path) {
    return Path(path.lastPathComponent()).deletingPathExtension().str();
}

}  // namespace

RemotePath cloudlayout::projectFolderOfVersion(const Path& version) {
    return projectFolder(version.deletingLastPathComponent().deletingLastPathComponent());
}

RemotePath cloudlayout::projectFolder(const Path& project) {
    return {"/" + nameWithoutExtension(project)};
}

RemotePath cloudlayout::fileOfVersion(const Path& version, const std::string& name) {
    return {projectFolderOfVersion(version).text + "/" + name};
}

bool mayShowSyncError(const Value* lastShown, Date now) {
    const Date* date = lastShown ? lastShown->date() : nullptr;
    return !date || secondsBetween(*date, now) > betweenShownErrors;
}

std::vector<std::string> removalLists(const std::vector<Path>& paths, size_t largestList) {
    std::vector<std::string> lists;
    for (const Path& path : paths) {
        const bool fits =
            !lists.empty() && lists.back().size() + 1 + path.str().size() <= largestList;
        if (fits) {
            lists.back() += "," + path.str();
        } else {
            lists.push_back(path.str());
        }
    }
    return lists;
}

CloudMirror::CloudMirror() : transfers_(mostTransfersAtOnce) {}

CloudMirror::~CloudMirror() = default;

DBRestClient* CloudMirror::restClient() {
    if (!DBSession::sharedSession()) DBSession::openSharedSession();
    if (!client_ && !DBSession::userIds().empty()) {
        client_ = std::make_unique<DBRestClient>(
            DBSession::sharedSession(), CloudSettings::fromPreferences(Preferences::frontEnd()));
        client_->setDelegate(this);
    }
    return client_.get();
}

void CloudMirror::removeRestClient() {
    uploads_.clear();
    removals_.clear();
    client_.reset();
}

// ---- uploads ----

// Looks and notes that it did in one step, since several processes may fail at once
// (docs/behaviour.md, own 25).
static bool mayShowFailureNow() {
    const auto file = Preferences::ownDefaultsFile();
    const Date now = current().clock.now();
    bool mayShow = !file;
    const auto unsaved =
        file ? Preferences::changeObject(*file, lastSyncErrorKey,
                                         [&](const Value* shown) -> std::optional<Value> {
                                             mayShow = mayShowSyncError(shown, now);
                                             if (mayShow) return Value(now);
                                             return shown ? std::optional(*shown) : std::nullopt;
                                         })
             : std::nullopt;
    if (unsaved) ZBLog::appendLog("Unable to write %@: %@", *file, unsaved->description);
    return mayShow;
}

void CloudMirror::uploadFileToCloud(const Path& version) {
    if (!isSyncOn(Preferences::frontEnd())) return;
    if (!isFrontEnd()) {
        // Nothing there is the version's, should the upload never begin (docs/behaviour.md, own
        // 23).
        mirrorrecords::noteRemoteName(version, std::nullopt);
        transfers_.add({.executable = besideHelper("Larkspan"),
                        .arguments = {"-upload", version.str()},
                        .file = version.str()});
        return;
    }
    uploads_.push_back({version, nullptr});
    if (uploads_.size() == 1) startUpload();
}

void CloudMirror::startUpload() {
    DBRestClient* client = restClient();
    if (!client) {
        // Nothing would ever end a process that was started for this.
        if (uploadProcess_) {
            showUploadFailure(
                {cloudErrorDomain, cloudstatus::unauthorized, "No Dropbox account is linked."});
        }
        uploads_.clear();
        return;
    }
    uploads_.front().file = packed(uploads_.front());
    tryNextName();
}

std::string CloudMirror::Upload::name() const {
    return nameOfTry(file.lastPathComponent(), tries);
}

// Whether an earlier upload of the version found the usual name taken.
static bool hasFurtherName(const Path& version) {
    const auto name = mirrorrecords::remoteName(version);
    return name && *name && **name != archiveName(version);
}

// docs/behaviour.md, own 23
void CloudMirror::tryNextName() {
    Upload& upload = uploads_.front();
    ++upload.tries;
    if (upload.tries > 1 || !hasFurtherName(upload.version)) {
        // Until it is there nothing in the mirror is the version's, but under a name that was free.
        const bool isNew = upload.archive && upload.tries > 1;
        mirrorrecords::noteRemoteName(upload.version,
                                      isNew ? std::optional(upload.name()) : std::nullopt);
    }
    client_->uploadFile(upload.name(), cloudlayout::projectFolderOfVersion(upload.version),
                        std::nullopt, upload.file);
}

// The archive, or the version itself when it cannot be packed.
Path CloudMirror::packed(Upload& upload) const {
    // docs/behaviour.md, own 22
    const Path folder =
        ZBLocalPaths::tempDirectory() / (std::string(archiveFolderPrefix) + generateUUID());
    Path archive = folder / archiveName(upload.version);
    upload.archive = std::make_unique<TransferFile>(folder);
    constexpr unsigned ownersRights = 0700;
    const bool isPrivate = !current().files.createFolder(folder) &&
                           !current().files.setPermissions(folder, ownersRights);
    if (isPrivate && ZBFileManager::compressFile(upload.version, archive, IncludeParent::no))
        return archive;
    upload.archive.reset();
    return upload.version;
}

void CloudMirror::uploadEnded() {
    // With its archive. Nothing else in the temporary folder is removed: a store may lie there.
    if (!uploads_.empty()) uploads_.pop_front();
    if (!uploads_.empty()) startUpload();
}

void CloudMirror::uploadedFile(DBRestClient&, const RemotePath&, const Path& from,
                               const DBMetadata&) {
    reportToConsole("upload complete");
    if (!uploads_.empty()) {
        const Upload& upload = uploads_.front();
        const bool hasUsualName = upload.archive && upload.tries == 1;
        if (hasUsualName) mirrorrecords::forgetRemoteName(upload.version);
        // The same content as that of a former version by this path: the file is this one's now.
        const auto waiting = mirrorrecords::nameToRemove(upload.version);
        if (waiting && *waiting == upload.name()) {
            mirrorrecords::removalIsDone(upload.version, upload.name());
        }
    }
    uploadEnded();
    if (uploadProcess_) {
        uploadProcess_->setBadge("");
        uploadProcess_->terminate("");
    } else {
        post("ZBLarkspanSyncComplete", Value::Dictionary{{"filename", from.str()}});
    }
}

void CloudMirror::uploadProgress(DBRestClient&, double progress, const RemotePath&,
                                 const Path& from) {
    if (uploadProcess_) {
        uploadProcess_->setBadge(messageText("%0.0f%%", progress * 100));
    } else {
        post("ZBLarkspanUploadProgress",
             Value::Dictionary{{"filename", from.str()}, {"progress", progress}});
    }
}

void CloudMirror::uploadFileFailedWithError(DBRestClient&, const Error& error) {
    constexpr int mostNames = 20;
    const bool hasOtherNames = !uploads_.empty() && uploads_.front().tries < mostNames;
    if (isNameTaken(error) && hasOtherNames) return tryNextName();
    uploadEnded();
    if (uploadProcess_) {
        showUploadFailure(error);
    } else {
        post("ZBLarkspanSyncFailed", failureOfNoFile(error));
    }
}

void CloudMirror::showUploadFailure(const Error& error) const {
    const std::string message = uploadFailureMessage(error);
    ZBLog::appendLog("Dropbox upload failed: %@", message);
    if (mayShowFailureNow()) {
        ZBGrowl::postGrowlNotification("Dropbox upload failed", message, "", "Backup failed");
    }
    uploadProcess_->setBadge("");
    uploadProcess_->terminate(message);
}

// ---- removals ----

void CloudMirror::removeSyncedFiles(const std::vector<Path>& versions) {
    ZBLog::appendLog("Removing files from Dropbox: %@", textsOf(versions));
    if (!isSyncOn(Preferences::frontEnd())) return;
    if (isFrontEnd()) {
        for (const Path& version : versions) removeVersion(version);
        return;
    }
    startRemovals(versions);
}

void CloudMirror::noteRemovals(const std::vector<Path>& versions) {
    if (isFrontEnd() || !isSyncOn(Preferences::frontEnd())) return;
    std::vector<Path> kept = versions;
    // The list that a process gets would tell two versions.
    std::erase_if(kept,
                  [](const Path& version) { return version.str().find(',') != std::string::npos; });
    // Without an account nothing of them is there.
    if (!kept.empty() && cloudaccounts::load()) mirrorrecords::addRemovals(kept);
}

void CloudMirror::resumeRemovals() {
    if (isFrontEnd() || !isSyncOn(Preferences::frontEnd())) return;
    // What it was started for may be under way still.
    if (!transfers_.isIdle()) return;
    const std::vector<Path> versions = mirrorrecords::removals();
    if (versions.empty() || !cloudaccounts::load()) return;
    ZBLog::appendLog("Removing files from Dropbox: %@", textsOf(versions));
    startRemovals(versions);
}

void CloudMirror::startRemovals(const std::vector<Path>& items) {
    // Another path than that of uploads, deliberately: both lead to the program.
    for (std::string& list : removalLists(items, largestRemovalList)) {
        transfers_.add({.executable = besideHelper("MacOS/Larkspan"),
                        .arguments = {"-removeRemote", std::move(list)}});
    }
}

void CloudMirror::removeSyncedProjects(const std::vector<Path>& projects) {
    ZBLog::appendLog("Removing projects from Dropbox: %@", textsOf(projects));
    if (!isSyncOn(Preferences::frontEnd())) return;
    if (!isFrontEnd()) return startRemovals(projects);
    DBRestClient* client = restClient();
    if (!client) return;
    for (const Path& project : projects) {
        removals_.emplace_back(std::nullopt);
        client->deletePath(cloudlayout::projectFolder(project));
    }
}

// The name of the version's file there; "" when it has none.
static Result<std::string> nameThere(const Path& version) {
    const auto waiting = mirrorrecords::nameToRemove(version);
    if (!waiting) return waiting.error();
    if (*waiting) return **waiting;
    const auto name = mirrorrecords::remoteName(version);
    if (!name) return name.error();
    return name->value_or("");
}

void CloudMirror::removeVersion(const Path& version) {
    DBRestClient* client = restClient();
    if (!client) return;
    const auto name = nameThere(version);
    if (!name) {
        ZBLog::appendLog("Failed to delete Dropbox file: %@", name.error().description);
        return post("ZBLarkspanRemoveRemoteFileFailed", failureOfNoFile(name.error()));
    }
    if (!name->empty()) {
        removals_.emplace_back(Removal{version, *name});
        return client->deletePath(cloudlayout::fileOfVersion(version, *name));
    }
    // It never got there: what has its name is another version's.
    mirrorrecords::removalIsDone(version, *name);
    const RemotePath file = cloudlayout::fileOfVersion(version, archiveName(version));
    post("ZBLarkspanRemoveRemoteFile", Value::Dictionary{{"filename", file.text}});
}

// The client carries requests out in their order.
void CloudMirror::removalEnded(bool isDone) {
    if (removals_.empty()) return;
    const std::optional<Removal> removal = std::move(removals_.front());
    removals_.pop_front();
    if (removal && isDone) mirrorrecords::removalIsDone(removal->version, removal->name);
}

void CloudMirror::deletedPath(DBRestClient&, const RemotePath& path) {
    removalEnded(true);
    post("ZBLarkspanRemoveRemoteFile", Value::Dictionary{{"filename", path.text}});
}

void CloudMirror::deletePathFailedWithError(DBRestClient&, const Error& error) {
    removalEnded(error.is(cloudErrorDomain, cloudstatus::notFound));
    ZBLog::appendLog("Failed to delete Dropbox file: %@", error.description);
    post("ZBLarkspanRemoveRemoteFileFailed", failureOfNoFile(error));
}

// ---- listings and downloads ----

void CloudMirror::loadSyncedFileListForProjectUUID(const std::string& project) {
    if (!isSyncOn(Preferences::frontEnd())) return;
    if (DBRestClient* client = restClient()) client->loadMetadata({"/" + project});
}

void CloudMirror::loadedMetadata(DBRestClient&, const DBMetadata& metadata) {
    if (!metadata.isDirectory) return;
    Value::Array filenames;
    Value::Array sizes;
    Value::Array dates;
    for (const DBMetadata& entry : metadata.contents) {
        if (entry.isDirectory) continue;
        filenames.emplace_back(nameWithoutExtension(Path(entry.path.text)));
        sizes.emplace_back(entry.totalBytes);
        dates.emplace_back(entry.lastModifiedDate);
    }
    if (filenames.empty()) return post("ZBLarkspanSyncedFiles");
    post("ZBLarkspanSyncedFiles", Value::Dictionary{{"filenames", std::move(filenames)},
                                                    {"sizes", std::move(sizes)},
                                                    {"dates", std::move(dates)}});
}

void CloudMirror::metadataUnchangedAtPath(DBRestClient&, const RemotePath&) {
    reportToConsole("metadata unchanged");
}

void CloudMirror::loadMetadataFailedWithError(DBRestClient&, const Error& error) {
    post("ZBLarkspanMetadataError", failureInfo(error));
}

void CloudMirror::downloadFile(const RemotePath& file, const Path& toPath) {
    if (!isSyncOn(Preferences::frontEnd())) return;
    if (DBRestClient* client = restClient()) client->loadFile(file, toPath);
}

void CloudMirror::loadedFile(DBRestClient&, const Path& destination) {
    post("ZBLarkspanFileDownloaded", Value::Dictionary{{"filename", destination.str()}});
}

void CloudMirror::loadProgress(DBRestClient&, double progress, const Path& forFile) {
    post("ZBLarkspanFileDownloadProgress",
         Value::Dictionary{{"filename", forFile.str()}, {"progress", progress}});
}

void CloudMirror::loadFileFailedWithError(DBRestClient&, const Error& error) {
    reportToConsole("error downloading file: %@", error.description);
}

}  // namespace larkspan
