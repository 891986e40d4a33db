#include "app/AppController.h"

#include "app/ChangedFolders.h"
#include "app/Leavings.h"
#include "app/WatchConfiguration.h"
#include "discovery/FolderNames.h"
#include "kit/HelperScan.h"
#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/Problems.h"
#include "kit/ZBBugReporter.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/FileEvents.h"
#include "platform/Platform.h"
#include "sync/DBSession.h"

#include <cstdlib>
#include <tuple>

namespace larkspan {
namespace {

platform::Platform& current() {
    return platform::Platform::current();
}

Value textsOf(const std::vector<Path>& paths) {
    Value::Array texts;
    for (const Path& path : paths) texts.emplace_back(path.str());
    return texts;
}

// Empty for an event without a path.
std::optional<ChangedFolder> changedFolder(const Value& event) {
    const Value* path = event.find("path");
    if (!path || !path->string() || path->string()->empty()) return std::nullopt;
    std::string text = *path->string();
    text.pop_back();  // the slash at its end
    const Value* flag = event.find("flag");
    const std::string flags = flag && flag->string() ? *flag->string() : std::string();
    constexpr int hexadecimal = 16;
    const unsigned long bits = std::strtoul(flags.c_str(), nullptr, hexadecimal);
    constexpr auto deep =
        platform::FileEventFlag::mustScanSubfolders | platform::FileEventFlag::rootChanged;
    return ChangedFolder{Path(std::move(text)), (bits & deep) != 0};
}

// docs/behaviour.md, own 13
platform::ExcludedTrees excludedTrees() {
    platform::ExcludedTrees excluded{.paths = {}, .isExcludedName = isIgnoredFolder};
    if (const auto library = ZBLocalPaths::libraryDirectory(UserDomain::yes)) {
        excluded.paths.push_back(*library);
    }
    if (const auto store = storelayout::storeRoot(Preferences::frontEnd())) {
        excluded.paths.push_back(*store);
    }
    return excluded;
}

std::vector<Path> pathsOf(const std::vector<ProjectEntry>& projects) {
    std::vector<Path> paths;
    for (const ProjectEntry& project : projects) {
        paths.push_back(ZBLocalPaths::expandingTilde(project.path));
    }
    return paths;
}

Value describedProblem() {
    const auto problem = lastProblem();
    if (!problem) return {};
    return Value::Dictionary{{"text", problem->text}, {"date", problem->date}};
}

}  // namespace

AppController::AppController() : started_(current().clock.now()) {
    ZBBugReporter::startBugReporter();
    ZBLog::createNewLog();
    endOtherInstances();
    backupController_ = std::make_unique<ZBLarkspanBackup>();
    runs_ = std::make_unique<ScanRuns>(*backupController_);
    ZBLarkspanBackup::clearTransferLeftovers();
    vendConnection();
    observeWorkspace();
    scanQueue().addOperation(removeLeavings);
}

AppController::~AppController() {
    if (ZBFSEvents::sharedController().delegate() == this) {
        ZBFSEvents::sharedController().stopWatching();
        ZBFSEvents::sharedController().setDelegate(nullptr);
    }
}

// The newest instance survives. One that started after this one is left alone: it ends this one,
// and two that start together must not end each other.
void AppController::endOtherInstances() {
    platform::Applications& applications = current().applications;
    const auto instances =
        applications.runningApplications(current().bundles.mainBundle().identifier());
    ZBLog::appendLog("Currently running instances: %i", instances.size());
    if (instances.size() < 2) return;
    const auto age = [](const auto& instance) {
        return std::tuple(instance.started, instance.processID);
    };
    const platform::RunningApplication* own = nullptr;
    for (const auto& instance : instances) {
        if (instance.processID == applications.currentProcessID()) own = &instance;
    }
    for (const auto& instance : instances) {
        if (&instance == own || (own && age(instance) > age(*own))) continue;
        const bool forced = applications.forceTerminate(instance);
        ZBLog::appendLog("Force quitting helper: %i", forced);
    }
}

platform::ServedObject AppController::servedObject() {
    platform::ServedObject object = commands_.servedObject();
    object.properties = {
        {"processID", [] { return Value(current().applications.currentProcessID()); }},
        {"version",
         [] { return Value(current().bundles.mainBundle().infoString("CFBundleVersion")); }},
        {"started", [this] { return Value(started_); }},
        {"runsQueued", [this] { return Value(scanQueue().runsQueued()); }},
        {"runsEnded", [this] { return Value(scanQueue().runsEnded()); }},
        {"watchedFolders", [this] { return watchedFolders(); }},
        {"lastProblem", [] { return describedProblem(); }},
        {problemsProperty, [] { return problemsForConnection(); }},
        {projectsBeingWrittenProperty,
         [this] { return Value(backupController_->projectsBeingWritten()); }},
    };
    return object;
}

void AppController::vendConnection() {
    commands_.setDelegate(this);
    auto service = current().connections.serve(helperConnectionName, servedObject());
    if (service) {
        connection_ = std::move(*service);
        connectionTimer_.reset();
        return;
    }
    if (connectionTimer_) return;
    // The helper runs on without the front-end's commands, and tries again: a disk may be full.
    logProblem("Unable to serve the connection %@: %@", helperConnectionName,
               service.error().description);
    constexpr std::chrono::seconds betweenTries{10};
    connectionTimer_ =
        current().mainThread.scheduleRepeating(betweenTries, [this] { vendConnection(); });
}

void AppController::observeWorkspace() {
    sessionObserver_ = current().sessionEvents.observe(
        [this](platform::SessionEvent event) { sessionEvent(event); });
    mountObserver_ = current().volumes.observeMounts(
        [this](const Path& mountPoint) { diskMounted(mountPoint); });
    terminationObserver_ = current().applications.observeTerminations(
        [this](const auto& application) { appTerminated(application.bundleIdentifier); });
}

void AppController::setup() {
    (void)current().mainThread.performAndWait([this] { beginSetupOnMainThread(); });
}

void AppController::beginSetupOnMainThread() {
    ZBLog::appendLog("Setting up...");
    ZBFSEvents& events = ZBFSEvents::sharedController();
    events.stopWatching();
    events.setWatchPaths(std::nullopt);

    const auto read = Preferences::read(Preferences::frontEndFile());
    const auto listing = backupController_->listProjects();
    const Preferences preferences = read ? *read : Preferences();
    events.setDelegate(this);
    events.setExcludedTrees(excludedTrees());
    events.startWatchingPaths(
        watchPaths(watchFolders(preferences, "watchFolders"),
                   listing ? pathsOf(listing->projects) : std::vector<Path>()));
    ZBLog::appendLog("Watch paths: %@", textsOf(events.watchPaths().value_or(std::vector<Path>())));
    setUpAgainTimer_.reset();
    if (!read || !listing) setUpAgainWhenReadable();

    DBSession::openSharedSessionIfWanted(preferences);
    beginScheduledBackup();

    const std::chrono::seconds interval = backupInterval(preferences);
    ZBLog::appendLog("Backup interval: %i", interval.count());
    backupTimers_.push_back(
        current().mainThread.scheduleRepeating(interval, [this] { beginScheduledBackup(); }));
}

// docs/behaviour.md, own 5
void AppController::setUpAgainWhenReadable() {
    constexpr std::chrono::seconds betweenTries{10};
    setUpAgainTimer_ = current().mainThread.scheduleRepeating(betweenTries, [this] {
        const bool isReadable =
            Preferences::read(Preferences::frontEndFile()) && backupController_->listProjects();
        if (isReadable) beginSetupOnMainThread();
    });
}

void AppController::beginScheduledBackup() {
    ZBLog::appendLog("Beginning scheduled backup...");
    current().applications.lookForApplications();
    runs_->scanEverything();
}

void AppController::applicationWillTerminate() {
    sessionObserver_.reset();
    mountObserver_.reset();
    terminationObserver_.reset();
    ZBBugReporter::stopBugReporter();
}

void AppController::fileSystemEventsReceived(const Value::Array& events) {
    ZBLog::appendLog("File system events: %@", firstFew(events));
    current().applications.lookForApplications();
    const Preferences preferences = Preferences::frontEnd();
    const Date now = current().clock.now();
    ChangedFolders changed;
    ChangedFolders restored;
    for (const Value& event : events) {
        const auto folder = changedFolder(event);
        if (!folder) continue;
        if (isFromRestore(Path(folder->path.str() + "/"), preferences, now)) {
            ZBLog::appendLog("Ignoring event due to recent project restore.");
            restored.add(*folder);
        } else {
            changed.add(*folder);
        }
    }
    runs_->scanChanges(changed, restored);
}

void AppController::sessionEvent(platform::SessionEvent event) {
    switch (event) {
        case platform::SessionEvent::becameActive:
            return userLogIn();
        case platform::SessionEvent::resignedActive:
            return userLogOut();
        case platform::SessionEvent::willPowerOff:
            return systemShutdown();
        case platform::SessionEvent::willSleep:
            return systemSleep();
        case platform::SessionEvent::didWake:
            return systemWake();
    }
}

void AppController::userLogIn() {
    ZBLog::appendLog("System event: user logged in.");
}
void AppController::userLogOut() {
    ZBLog::appendLog("System event: user logged out.");
}
void AppController::systemShutdown() {
    ZBLog::appendLog("System event: shutdown.");
}
void AppController::systemSleep() {
    ZBLog::appendLog("System event: entering sleep mode...");
}
// docs/behaviour.md, fixed 3
void AppController::systemWake() {
    ZBLog::appendLog("System event: woke from sleep");
}

void AppController::diskMounted(const Path& mountPoint) {
    runs_->lookForProjects(mountPoint);
}

void AppController::appTerminated(const std::string& bundleIdentifier) {
    if (bundleIdentifier == "com.apple.FinalCut") beginScheduledBackup();
}

Value AppController::watchedFolders() const {
    Value::Array folders;
    for (const platform::WatchedRoot& root : ZBFSEvents::sharedController().watchedRoots()) {
        folders.emplace_back(Value::Dictionary{{"folder", root.path.str()},
                                               {"watched", root.watched},
                                               {"problem", root.problem},
                                               {"notice", root.notice}});
    }
    return folders;
}

std::optional<Value> AppController::objectForPreferenceDictionaryKey(const std::string& key) {
    const Preferences preferences = Preferences::frontEnd();
    const Value* value = preferences.object(key);
    return value ? std::optional(*value) : std::nullopt;
}

void AppController::setObjectForPreferenceDictionaryKey(const std::optional<Value>& object,
                                                        const std::string& key) {
    const auto file = Preferences::frontEndFile();
    if (!file || !object || key.empty()) return;
    // Written all the same where another program does not let go of it: the call gives no error.
    const auto lock = Preferences::lockForChange(*file);
    // What cannot be read counts as empty here; the whole dictionary is written back.
    Value::Dictionary values;
    const Preferences preferences = Preferences::load(file);
    if (const auto* loaded = preferences.values().dictionary()) values = *loaded;
    values.insert_or_assign(key, *object);
    if (const auto error = savePropertyList(Value(std::move(values)), *file)) {
        logProblem("Unable to write preferences file %@: %@", *file, error->description);
    }
}

}  // namespace larkspan
