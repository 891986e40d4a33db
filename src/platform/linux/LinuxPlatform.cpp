#include "platform/linux/LinuxPlatform.h"

#include "platform/linux/LargeMemory.h"
#include "platform/linux/LinuxAlerts.h"
#include "platform/linux/LinuxAppleEvents.h"
#include "platform/linux/LinuxApplications.h"
#include "platform/linux/LinuxBundles.h"
#include "platform/linux/LinuxConnections.h"
#include "platform/linux/LinuxCrashReports.h"
#include "platform/linux/LinuxDockTile.h"
#include "platform/linux/LinuxFileCalls.h"
#include "platform/linux/LinuxFileEvents.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/LinuxMachine.h"
#include "platform/linux/LinuxPrivileges.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/linux/LinuxScreen.h"
#include "platform/linux/LinuxSessionEvents.h"
#include "platform/linux/LinuxStandardPlaces.h"
#include "platform/linux/LinuxTrash.h"
#include "platform/linux/LinuxUserNotifications.h"
#include "platform/linux/LinuxVolumes.h"
#include "platform/posix/PosixFileStreams.h"
#include "platform/posix/StandardStreams.h"
#include "platform/posix/SystemClock.h"
#include "platform/posix/ZipArchives.h"

namespace larkspan::platform {

struct LinuxPlatform::Services {
    explicit Services(ReportProblem report) : reportProblem(std::move(report)) {
        if (!reportProblem) {
            reportProblem = [this](const std::string& problem) { console.report(problem); };
        }
    }

    ReportProblem reportProblem;
    LinuxMainThread mainThread;
    SystemClock clock;
    StandardStreams console;
    LinuxCrashReports crashReports;
    LinuxMachine machine;
    LinuxFiles files;
    LinuxFileCalls fileCalls;
    PosixFileStreams streams{fileCalls};
    ZipArchives archives{fileCalls};
    LinuxStandardPlaces places;
    LinuxTrash trash{files, places};
    LinuxBundles bundles;
    LinuxProcesses processes;
    LinuxPrivileges privileges{processes, clock, places};
    LinuxAlerts alerts{mainThread, processes};
    LinuxApplications applications{mainThread, bundles, places, processes};
    LinuxAppleEvents appleEvents;
    LinuxVolumes volumes{mainThread, places};
    LinuxScreen screen{processes};
    LinuxSessionEvents sessionEvents{mainThread};
    LinuxUserNotifications userNotifications;
    LinuxDockTile dockTile;
    LinuxConnections connections{mainThread};
    LinuxFileEvents fileEvents{mainThread, fileEventsOptions()};
    Platform platform{.alerts = alerts,
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
                      .files = files,
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

    FileEventsOptions fileEventsOptions() {
        FileEventsOptions options;
        options.reportProblem = [this](const std::string& problem) { reportProblem(problem); };
        return options;
    }
};

LinuxPlatform::LinuxPlatform(ReportProblem reportProblem)
    : services_(std::make_unique<Services>(std::move(reportProblem))) {
    returnLargeMemory();
}
LinuxPlatform::~LinuxPlatform() = default;

Platform& LinuxPlatform::platform() {
    return services_->platform;
}
LinuxMainThread& LinuxPlatform::mainThread() {
    return services_->mainThread;
}

}  // namespace larkspan::platform
