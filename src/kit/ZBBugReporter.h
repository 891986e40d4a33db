#pragma once

#include "foundation/Path.h"

#include <memory>
#include <optional>
#include <string>

namespace larkspan {

// Hears that the last run crashed. Called on the main thread.
class ZBBugReporterDelegate {
  public:
    virtual ~ZBBugReporterDelegate() = default;
    virtual void applicationDidCrashWithLog(const Path& /*log*/) {}
};

// Notices that the last run did not end in order, and opens its crash report with the bug-reporting
// application. Every start and every orderly end leaves a stamp ("launch", "exit"): an end that is
// older than the launch, and a crash report that is newer, tell of a crash. A run that was killed
// or lost power leaves no report.
//
// Without a path the stamps lie in the program's own defaults, with one in that property list.
// Without a name, reports are known by the name of the main bundle (CFBundleName).
class ZBBugReporter {
  public:
    // Checks for a crash, tells the delegate, then stamps the launch. First thing in start-up, on
    // the main thread. The delegate is told later, and kept until then.
    static void startBugReporter(const std::optional<std::string>& name = std::nullopt,
                                 const std::optional<Path>& plistPath = std::nullopt,
                                 std::shared_ptr<ZBBugReporterDelegate> delegate = nullptr);
    static void startBugReporterWithDelegate(std::shared_ptr<ZBBugReporterDelegate> delegate);
    // Stamps the orderly end.
    static void stopBugReporter(const std::optional<Path>& plistPath = std::nullopt);

    // The report of the last run's crash, which is logged and opened (unless the organisation's
    // key disable-crash-reporter is set); empty when there was no crash or no report of it.
    static std::optional<Path> checkForCrashes(
        const std::optional<std::string>& name = std::nullopt,
        const std::optional<Path>& plistPath = std::nullopt);

    // Gives a file in a user's home folder back to that user, after a privileged process wrote it.
    // Nothing happens for paths without a home folder in them, and for links.
    static void chownPlist(const Path& file);

    // Makes this process leave a report of its own, where the check looks first, when it dies of a
    // fatal signal. Of such reports the newest 20 are kept. Once, on the main thread, before other
    // threads start; a failure is told on the system console.
    static void leaveReports();
};

}  // namespace larkspan
