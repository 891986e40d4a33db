#pragma once

#include "platform/Platform.h"
#include "platform/fake/FakeAlerts.h"
#include "platform/fake/FakeAppleEvents.h"
#include "platform/fake/FakeApplications.h"
#include "platform/fake/FakeArchives.h"
#include "platform/fake/FakeBundles.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeConnections.h"
#include "platform/fake/FakeConsole.h"
#include "platform/fake/FakeCrashReports.h"
#include "platform/fake/FakeDockTile.h"
#include "platform/fake/FakeFileEvents.h"
#include "platform/fake/FakeFileStreams.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FakeMachine.h"
#include "platform/fake/FakeMainThread.h"
#include "platform/fake/FakePrivileges.h"
#include "platform/fake/FakeProcesses.h"
#include "platform/fake/FakeScreen.h"
#include "platform/fake/FakeSessionEvents.h"
#include "platform/fake/FakeStandardPlaces.h"
#include "platform/fake/FakeTrash.h"
#include "platform/fake/FakeUserNotifications.h"
#include "platform/fake/FakeVolumes.h"
#include "platform/fake/FaultyFiles.h"

namespace larkspan::platform {

// All services, in memory. The program sees the files through `faults`, which hand everything on
// until a test tells them to refuse something.
struct FakePlatform {
    FakeClock clock;
    FakeMainThread mainThread{clock};
    FakeConsole console;
    FakeCrashReports crashReports;
    FakeDockTile dockTile;
    FakeMachine machine;
    FakeFiles files{clock};
    FaultyFiles faults{files};
    FakeFileStreams streams{files};
    FakeArchives archives{faults};
    FakeStandardPlaces places;
    FakeTrash trash{faults, places};
    FakeBundles bundles;
    FakePrivileges privileges;
    FakeProcesses processes;
    FakeAlerts alerts;
    FakeApplications applications;
    FakeAppleEvents appleEvents;
    FakeVolumes volumes;
    FakeScreen screen;
    FakeSessionEvents sessionEvents;
    FakeUserNotifications userNotifications;
    FakeConnections connections{mainThread};
    FakeFileEvents fileEvents{mainThread};

    Platform& platform() { return platform_; }

  private:
    Platform platform_{.alerts = alerts,
                       .appleEvents = appleEvents,
                       .applications = applications,
                       .archives = archives,
                       .bundles = bundles,
                       .clock = clock,
                       .connections = connections,
                       .console = console,
                       .crashReports = crashReports,
                       .dockTile = dockTile,
                       .fileEvents = fileEvents,
                       .files = faults,
                       .machine = machine,
                       .mainThread = mainThread,
                       .privileges = privileges,
                       .processes = processes,
                       .screen = screen,
                       .sessionEvents = sessionEvents,
                       .places = places,
                       .streams = streams,
                       .trash = trash,
                       .userNotifications = userNotifications,
                       .volumes = volumes};
};

}  // namespace larkspan::platform
