#include "Measure.h"
#include "TemporaryHome.h"
#include "app/LarkspanHelperAppDelegate.h"
#include "platform/linux/TerminationSignals.h"

#include <cstdio>
#include <cstdlib>

namespace larkspan::bench {

int measureIdle(const std::vector<std::string>& arguments) {
    const Value::Dictionary folder{{"folder", arguments[0]}, {"extensions", "fcp,prproj"}};
    TemporaryHome home({{"watchFolders", Value::Array{folder}}});
    platform::LinuxMainThread& mainThread = home.system().mainThread();
    const platform::TerminationSignals signals(mainThread, [&](int) { mainThread.stop(); });
    LarkspanHelperAppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    delegate.controller()->scanQueue().waitUntilAllOperationsAreFinished();
    (void)std::fputs("ready\n", stderr);
    mainThread.run();
    delegate.applicationWillTerminate();
    return EXIT_SUCCESS;
}

}  // namespace larkspan::bench
