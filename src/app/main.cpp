#include "app/LarkspanHelperAppDelegate.h"
#include "app/RunningHelper.h"
#include "foundation/OperationQueue.h"
#include "foundation/Text.h"
#include "kit/Problems.h"
#include "kit/ZBAuthorization.h"
#include "kit/ZBBugReporter.h"
#include "kit/ZBLog.h"
#include "platform/Console.h"
#include "platform/linux/ConsoleUser.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/TerminationSignals.h"
#include "platform/posix/TemporaryItem.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/resource.h>

namespace larkspan {
namespace {

constexpr const char* usage =
    "Usage: LarkspanHelper [--once] [--verbose] | --version | --help\n"
    "\n"
    "Watches the folders on the watch list, and keeps every version of the projects in them.\n"
    "Runs in the foreground until it is told to stop (Ctrl-C, SIGTERM). A helper that already\n"
    "runs is ended first.\n"
    "\n"
    "  --once     back up and look for new projects once, then end; a helper that already runs\n"
    "             is asked to do so. Exit status 1 when something could not be backed up\n"
    "  --verbose  write diagnosis on standard error, too\n"
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

// Runs are not waited for: what they were making goes with them.
[[noreturn]] void endAtOnce(int status) {
    platform::removeItemsInUse();
    std::_Exit(status);
}

int runHelper(platform::LinuxPlatform& system) {
    platform::LinuxMainThread& mainThread = system.mainThread();
    const platform::TerminationSignals signals(mainThread, [&](int) { mainThread.stop(); });

    LarkspanHelperAppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    mainThread.run();

    const bool busy = delegate.controller()->scanQueue().operationCount() > 0;
    delegate.applicationWillTerminate();
    if (busy) endAtOnce(EXIT_SUCCESS);
    mainThread.terminate();
    return EXIT_SUCCESS;
}

// A line on standard error for each. The exit status that they make.
int tellProblems(const std::vector<std::string>& problems) {
    for (const std::string& problem : problems) {
        (void)std::fprintf(stderr, "LarkspanHelper: %s\n", printable(problem).c_str());
    }
    return problems.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

int scanOnce(platform::LinuxPlatform& system) {
    platform::LinuxMainThread& mainThread = system.mainThread();
    const platform::TerminationSignals signals(mainThread, [&](int) { mainThread.stop(); });

    LarkspanHelperAppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    AppController& controller = *delegate.controller();
    bool isDone = false;
    const auto done = [&] {
        isDone = true;
        mainThread.stop();
    };
    // Behind the runs that set-up queued, and those for projects that were being written. Transfers
    // that wait for their turn would be lost.
    std::unique_ptr<platform::MainThread::Timer> nextLook;
    const std::function<void()> endAfterRuns = [&] {
        nextLook.reset();
        controller.scanQueue().addOperation([&] {
            if (controller.backupController().projectsBeingWritten() == 0) {
                controller.backupController().whenTransfersAreStarted(
                    [&] { mainThread.post(done); });
                return;
            }
            mainThread.post([&] {
                constexpr Seconds betweenLooks{0.2};
                nextLook = mainThread.scheduleRepeating(betweenLooks, endAfterRuns);
            });
        });
    };
    endAfterRuns();
    mainThread.run();
    nextLook.reset();

    delegate.applicationWillTerminate();
    if (!isDone) endAtOnce(EXIT_FAILURE);
    mainThread.terminate();
    std::vector<std::string> problems;
    for (const Problem& problem : problemsAfter(0)) problems.push_back(problem.text);
    return tellProblems(problems);
}

// The exit status of a scan by a helper that runs already; empty when none does.
// docs/behaviour.md, own 14
std::optional<int> askForScan(platform::LinuxPlatform& system) {
    platform::LinuxMainThread& mainThread = system.mainThread();
    bool isToEnd = false;
    const platform::TerminationSignals signals(mainThread, [&](int) {
        isToEnd = true;
        mainThread.stop();
    });
    std::optional<Result<std::optional<std::vector<std::string>>>> answer;
    OperationQueue asking(1);
    asking.addOperation([&] {
        auto problems = scanByRunningHelper();
        mainThread.post([&, problems = std::move(problems)] {
            answer = problems;
            mainThread.stop();
        });
    });
    mainThread.run();
    if (!answer || isToEnd) endAtOnce(EXIT_FAILURE);
    if (!*answer) {
        return tellProblems(
            {"The helper that runs cannot be asked: " + answer->error().description});
    }
    const auto& problems = **answer;
    return problems ? std::optional(tellProblems(*problems)) : std::nullopt;
}

int runOnce(platform::LinuxPlatform& system) {
    const auto status = askForScan(system);
    return status ? *status : scanOnce(system);
}

int run(int argc, char** argv) {
    Mode mode = Mode::untilToldToStop;
    bool verbose = false;
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
        if (argument == "--once") {
            mode = Mode::once;
        } else if (argument == "--verbose") {
            verbose = true;
        } else {
            (void)std::fprintf(stderr, "LarkspanHelper: unknown option %s\n\n%s", argv[i], usage);
            return 2;
        }
    }
    // docs/behaviour.md, own 18
    if (const auto error = platform::becomeConsoleUser(argv, ZBLog::folderInLibrary())) {
        (void)std::fprintf(stderr, "LarkspanHelper: %s\n", error->description.c_str());
        return EXIT_FAILURE;
    }
    allowManyOpenFolders();
    platform::LinuxPlatform system([](const std::string& problem) { logProblem("%@", problem); });
    const platform::ScopedPlatform installed(system.platform());
    if (verbose) system.platform().console.showDetails();
    ZBBugReporter::leaveReports();
    (void)ZBAuthorization::sharedController(WithGUI::yes, Question::apart);
    const int status = mode == Mode::once ? runOnce(system) : runHelper(system);
    ZBAuthorization::discardSharedController();
    ZBLog::discardSharedController();
    return status;
}

}  // namespace
}  // namespace larkspan

int main(int argc, char** argv) {
    return larkspan::run(argc, argv);
}
