#pragma once

#include "app/ScanQueue.h"
#include "app/ScanRuns.h"
#include "app/ZBFSEvents.h"
#include "app/ZBXPCController.h"
#include "backup/ZBLarkspanBackup.h"
#include "foundation/Path.h"
#include "foundation/Value.h"
#include "platform/Applications.h"
#include "platform/Connections.h"
#include "platform/MainThread.h"
#include "platform/SessionEvents.h"
#include "platform/Volumes.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// The helper's centre: owns the backup engine, the scan queue, the timers and the connection, and
// turns what happens (file events, workspace events, commands, time) into work on the scan queue.
// Lives as long as the process. Made, configured and called on the main thread, where it only
// queues work; the runs themselves are on the scan queue.
class AppController final : public FileSystemEventsDelegate, public ZBXPCController::Delegate {
  public:
    // Start-up: crash detection, log, single instance, engine, queue, connection, observers.
    AppController();
    AppController(const AppController&) = delete;
    AppController& operator=(const AppController&) = delete;
    ~AppController() override;

    // Configures from the preferences, on the main thread, and returns when that is done. Any
    // thread.
    void setup() override;
    // The configuration itself; may run many times (docs/behaviour.md, fixed 1).
    void beginSetupOnMainThread();
    // Queues a run over all projects and watch folders.
    void beginScheduledBackup() override;
    // Removes the workspace observers and stops crash detection. Queued runs are neither cancelled
    // nor waited for.
    void applicationWillTerminate();

    // ---- what happens ----

    void fileSystemEventsReceived(const Value::Array& events) override;
    void userLogIn();
    void userLogOut();
    void systemShutdown();
    void systemSleep();
    void systemWake();
    void diskMounted(const Path& mountPoint);
    // Starts a scheduled backup where that is due (docs/behaviour.md, fixed 2).
    void appTerminated(const std::string& bundleIdentifier);

    // ---- the front-end's preferences, loaded afresh at every call; any thread ----

    static std::optional<Value> objectForPreferenceDictionaryKey(const std::string& key);
    // Nothing happens without an object or with an empty key.
    static void setObjectForPreferenceDictionaryKey(const std::optional<Value>& object,
                                                    const std::string& key);

    ZBLarkspanBackup& backupController() { return *backupController_; }
    ScanQueue& scanQueue() { return runs_->queue(); }
    // Whether the connection is served; without one the helper runs on.
    bool hasConnection() const { return connection_ != nullptr; }

  private:
    static void endOtherInstances();
    platform::ServedObject servedObject();
    void vendConnection();
    void observeWorkspace();
    void sessionEvent(platform::SessionEvent event);
    void setUpAgainWhenReadable();
    Value watchedFolders() const;

    std::unique_ptr<ZBLarkspanBackup> backupController_;
    ZBXPCController commands_;
    std::unique_ptr<platform::Connections::Service> connection_;
    std::unique_ptr<platform::MainThread::Timer> connectionTimer_;  // while it cannot be served
    std::unique_ptr<platform::SessionEvents::Observation> sessionObserver_;
    std::unique_ptr<platform::Volumes::Observation> mountObserver_;
    std::unique_ptr<platform::Applications::Observation> terminationObserver_;
    std::unique_ptr<platform::MainThread::Timer> setUpAgainTimer_;  // while something is unread
    // One more for each set-up, the newest last.
    std::vector<std::unique_ptr<platform::MainThread::Timer>> backupTimers_;
    Date started_;
    std::unique_ptr<ScanRuns> runs_;  // last: its thread ends before what its runs use
};

}  // namespace larkspan
