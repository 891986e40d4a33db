#pragma once

namespace larkspan {

// Notices that the last run did not end in order: every start and every orderly end leaves a stamp
// ("launch", "exit") in the program's own defaults, so an end that is older than the launch tells
// of a crash. Looking for the crash report of such a run is to be added to startBugReporter, before
// the stamp. Main thread.
class ZBBugReporter {
  public:
    // Stamps the launch.
    static void startBugReporter();
    // Stamps the orderly end.
    static void stopBugReporter();
};

}  // namespace larkspan
