#include "app/LarkspanHelperAppDelegate.h"
#include "kit/Problems.h"
#include "kit/ZBAuthorization.h"
#include "kit/ZBBugReporter.h"
#include "kit/ZBLog.h"
#include "platform/linux/ConsoleUser.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/TerminationSignals.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <sys/resource.h>

namespace larkspan {
namespace {

constexpr const char* usage =
    "Usage: LarkspanHelper [--once | --version | --help]\n"
    "\n"
    "Watches the folders on the watch list, and keeps every version of the projects in them.\n"
    "Runs in the foreground until it is told to stop (Ctrl-C, SIGTERM). A helper that already\n"
    "runs is ended first.\n"
    "\n"
    "  --once     back up and look for new projects once, then end\n"
    "  --version  print the version\n"
    "  --help     print this text\n"
    "\n"
    "Put a folder on the watch list with: larkspan watch add FOLDER\n";

enum class Mode { untilToldToStop, once };

// Folder trees are walked with one descriptor a level.
void allowManyOpenFolders() {
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);
}

int runHelper(platform::LinuxPlatform& system, Mode mode) {
    platform::LinuxMainThread& mainThread = system.mainThread();
    const platform::TerminationSignals signals(mainThread, [&](int) { mainThread.stop(); });

    LarkspanHelperAppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    ScanQueue& queue = delegate.controller()->scanQueue();
    if (mode == Mode::once) {
        // Behind the two runs that set-up queued. Transfers that wait for their turn would be lost.
        queue.addOperation([&mainThread, &delegate] {
            delegate.controller()->backupController().whenTransfersAreStarted(
                [&mainThread] { mainThread.post([&mainThread] { mainThread.stop(); }); });
        });
    }
    mainThread.run();

    const bool busy = mode == Mode::untilToldToStop && queue.operationCount() > 0;
    delegate.applicationWillTerminate();
    // Runs are not waited for. A copy under way leaves only a hidden name, which the next run
    // clears.
    if (busy) std::_Exit(EXIT_SUCCESS);
    mainThread.terminate();
    return EXIT_SUCCESS;
}

int run(int argc, char** argv) {
    Mode mode = Mode::untilToldToStop;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--help") {
            (void)std::fputs(usage, stdout);
            return EXIT_SUCCESS;
        }
        if (argument == "--version") {
            (void)std::puts("LarkspanHelper " LARKSPAN_VERSION);
            return EXIT_SUCCESS;
        }
        if (argument != "--once") {
            (void)std::fprintf(stderr, "LarkspanHelper: unknown option %s\n\n%s", argv[i], usage);
            return 2;
        }
        mode = Mode::once;
    }
    // docs/behaviour.md, own 18
    if (const auto error = platform::becomeConsoleUser(argv, ZBLog::folderInLibrary())) {
        (void)std::fprintf(stderr, "LarkspanHelper: %s\n", error->description.c_str());
        return EXIT_FAILURE;
    }
    allowManyOpenFolders();
    platform::LinuxPlatform system([](const std::string& problem) { logProblem("%@", problem); });
    const platform::ScopedPlatform installed(system.platform());
    ZBBugReporter::leaveReports();
    (void)ZBAuthorization::sharedController(WithGUI::yes, Question::apart);
    const int status = runHelper(system, mode);
    ZBAuthorization::discardSharedController();
    ZBLog::discardSharedController();
    return status;
}

}  // namespace
}  // namespace larkspan

int main(int argc, char** argv) {
    return larkspan::run(argc, argv);
}
