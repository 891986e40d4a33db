#pragma once

#include "kit/ZBLog.h"
#include "platform/Platform.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/LinuxMainThread.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/posix/SystemClock.h"
#include "support/Pump.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

namespace larkspan::testing {

// A platform on which programs run, really or scripted, in a folder of the test's own. The main
// thread and the time are real, since time-outs are.
template <class Processes>
class TaskFixture : public ::testing::Test {
  protected:
    TaskFixture() {
        ZBLog::discardSharedController();
        ZBLog::createNewLog();
    }
    ~TaskFixture() override { ZBLog::discardSharedController(); }

    Path addFile(const char* name, const std::string& content, unsigned permissions) {
        Path path = folder.path() / name;
        EXPECT_FALSE(files.writeFileAtomically(path, content));
        EXPECT_FALSE(files.setPermissions(path, permissions));
        return path;
    }
    bool printed(const std::string& text) const {
        const auto lines = console.printed();
        return std::ranges::any_of(
            lines, [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }
    bool logged(const std::string& text) {
        ZBLog::finishWriting();
        const auto content = files.readFile(ZBLog::availableLogs().at(0), size_t{1} << 20);
        return content && content->find(text) != std::string::npos;
    }
    // Runs something on another thread while this one, the main thread, serves its events.
    bool whileServingEvents(const std::function<void()>& run) {
        std::atomic<bool> done{false};
        std::thread thread([&] {
            run();
            done = true;
        });
        const bool inTime = pumpUntil(mainThread, [&] { return done.load(); });
        thread.join();
        return inTime;
    }

    TemporaryFolder folder;
    platform::FakePlatform fake;
    platform::FakeConsole& console = fake.console;
    platform::FakeStandardPlaces places{folder.path()};
    platform::SystemClock clock;
    platform::LinuxMainThread mainThread;
    platform::LinuxFiles files;
    Processes processes;
    platform::Platform platform{.alerts = fake.alerts,
                                .appleEvents = fake.appleEvents,
                                .applications = fake.applications,
                                .archives = fake.archives,
                                .bundles = fake.bundles,
                                .clock = clock,
                                .connections = fake.connections,
                                .console = console,
                                .crashReports = fake.crashReports,
                                .dockTile = fake.dockTile,
                                .fileEvents = fake.fileEvents,
                                .files = files,
                                .machine = fake.machine,
                                .mainThread = mainThread,
                                .privileges = fake.privileges,
                                .processes = processes,
                                .screen = fake.screen,
                                .sessionEvents = fake.sessionEvents,
                                .places = places,
                                .streams = fake.streams,
                                .trash = fake.trash,
                                .userNotifications = fake.userNotifications,
                                .volumes = fake.volumes};
    platform::ScopedPlatform scoped{platform};
};

// With scripted programs.
class FakeTaskFixture : public TaskFixture<platform::FakeProcesses> {
  protected:
    Path program(const char* name, platform::FakeProgram script = {}) {
        Path path = addFile(name, "", 0755);
        processes.setProgram(path, std::move(script));
        return path;
    }
};

// With real ones.
class ShellTaskFixture : public TaskFixture<platform::LinuxProcesses> {
  protected:
    static inline const Path shell{"/bin/sh"};
    static std::vector<std::string> script(const std::string& text) { return {"-c", text}; }
};

}  // namespace larkspan::testing
