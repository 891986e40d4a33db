#include "app/AppController.h"

#include "app/Leavings.h"
#include "app/WatchConfiguration.h"
#include "kit/HelperScan.h"
#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/Problems.h"
#include "kit/ZBBugReporter.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Platform.h"
#include "sync/DBSession.h"

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

Value describedProblem() {
    const auto problem = lastProblem();
    if (!problem) return {};
    return Value::Dictionary{{"text", problem->text}, {"date", problem->date}};
}

}  // namespace

AppController::AppController()
    : discovery_([this] { return knownProjectPaths(); }), started_(current().clock.now()) {
    ZBBugReporter::startBugReporter();
    ZBLog::createNewLog();
    endOtherInstances();
    backupController_ = std::make_unique<ZBLarkspanBackup>();
    ZBLarkspanBackup::clearTransferLeftovers();
    vendConnection();
    observeWorkspace();
    scanQueue_.addOperation(removeLeavings);
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

void AppController::vendConnection() {
    commands_.setDelegate(this);
    platform::ServedObject object = commands_.servedObject();
    object.properties = {
        {"processID", [] { return Value(current().applications.currentProcessID()); }},
        {"version",
         [] { return Value(current().bundles.mainBundle().infoString("CFBundleVersion")); }},
        {"started", [this] { return Value(started_); }},
        {"runsQueued", [this] { return Value(scanQueue_.runsQueued()); }},
        {"runsEnded", [this] { return Value(scanQueue_.runsEnded()); }},
        {"watchedFolders", [this] { return watchedFolders(); }},
        {"lastProblem", [] { return describedProblem(); }},
        {problemsProperty, [] { return problemsForConnection(); }},
    };
    auto service = current().connections.serve(helperConnectionName, std::move(object));
    if (service) {
        connection_ = std::move(*service);
    } else {
        // The helper runs on without the front-end's commands.
        logProblem("Unable to serve the connection %@: %@", helperConnectionName,
                   service.error().description);
    }
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

    const std::vector<WatchFolder> folders = watchFolders(Preferences::frontEnd(), "watchFolders");
    events.setDelegate(this);
    events.startWatchingPaths(watchPaths(folders, knownProjectPaths()));
    ZBLog::appendLog("Watch paths: %@", textsOf(events.watchPaths().value_or(std::vector<Path>())));

    const Preferences preferences = Preferences::frontEnd();
    DBSession::openSharedSessionIfWanted(preferences);
    beginScheduledBackup();

    const std::chrono::seconds interval = backupInterval(preferences);
    ZBLog::appendLog("Backup interval: %i", interval.count());
    backupTimers_.push_back(
        current().mainThread.scheduleRepeating(interval, [this] { beginScheduledBackup(); }));
}

void AppController::beginScheduledBackup() {
    ZBLog::appendLog("Beginning scheduled backup...");
    current().applications.lookForApplications();
    scanQueue_.addOperation([this] { backupController_->processProjects(); });
    scanQueue_.addOperation([this] { populateProjectsFromWatchFolders(); });
}

void AppController::applicationWillTerminate() {
    sessionObserver_.reset();
    mountObserver_.reset();
    terminationObserver_.reset();
    ZBBugReporter::stopBugReporter();
}

void AppController::fileSystemEventsReceived(const Value::Array& events) {
    ZBLog::appendLog("File system events: %@", Value(events));
    current().applications.lookForApplications();
    const Preferences preferences = Preferences::frontEnd();
    const Date now = current().clock.now();
    std::optional<Path> last;
    for (const Value& event : events) {
        const Value* path = event.find("path");
        if (!path || !path->string() || path->string()->empty()) continue;
        last = Path(*path->string());
        if (isFromRestore(*last, preferences, now)) {
            ZBLog::appendLog("Ignoring event due to recent project restore.");
            continue;
        }
        // Without the slash at its end.
        const Path folder(last->str().substr(0, last->str().size() - 1));
        scanQueue_.addOperation(
            [this, folder] { backupController_->processProjectsInPath(folder); });
    }
    scanQueue_.addOperation([this, last] { populateProjectsFromWatchFolders(last); });
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
// Without a full stop, on purpose: tools that read the log know it so.
void AppController::systemWake() {
    ZBLog::appendLog("System event: woke from sleep");
}

void AppController::diskMounted(const Path& mountPoint) {
    scanQueue_.addOperation([this, mountPoint] { populateProjectsFromWatchFolders(mountPoint); });
}

void AppController::appTerminated(const std::string& bundleIdentifier) {
    if (bundleIdentifier == "com.apple.FinalCut") beginScheduledBackup();
}

void AppController::populateProjectsFromWatchFolders(const std::optional<Path>& path) {
    discovery_.populateProjectsFromWatchFolders(path);
}

std::vector<Path> AppController::knownProjectPaths() {
    std::vector<Path> paths;
    for (const ProjectEntry& project : backupController_->projects()) {
        paths.push_back(ZBLocalPaths::expandingTilde(project.path));
    }
    return paths;
}

Value AppController::watchedFolders() const {
    Value::Array folders;
    for (const platform::WatchedRoot& root : ZBFSEvents::sharedController().watchedRoots()) {
        folders.emplace_back(Value::Dictionary{
            {"folder", root.path.str()}, {"watched", root.watched}, {"problem", root.problem}});
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
