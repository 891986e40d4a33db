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

#include <cerrno>

namespace larkspan::platform {
namespace {

class NoArchives final : public Archives {
  public:
    std::optional<Error> pack(const Path& source, const Path&, IncludeParent) override {
        return posixError(ENOTSUP, "packing " + source.str());
    }
    std::optional<Error> unpack(const Path& archive, const Path&) override {
        return posixError(ENOTSUP, "unpacking " + archive.str());
    }
};

}  // namespace

struct LinuxPlatform::Services {
    Services(ReportProblem report, MakeArchives makeArchives)
        : reportProblem(std::move(report)), archives(makeArchives(fileCalls)) {
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
    std::unique_ptr<Archives> archives;
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
                      .archives = *archives,
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

LinuxPlatform::LinuxPlatform(ReportProblem reportProblem, MakeArchives makeArchives)
    : services_(std::make_unique<Services>(std::move(reportProblem), makeArchives)) {
    returnLargeMemory();
}
LinuxPlatform::~LinuxPlatform() = default;

std::unique_ptr<Archives> LinuxPlatform::makeNone(const FileCalls&) {
    return std::make_unique<NoArchives>();
}

Platform& LinuxPlatform::platform() {
    return services_->platform;
}
LinuxMainThread& LinuxPlatform::mainThread() {
    return services_->mainThread;
}

}  // namespace larkspan::platform
