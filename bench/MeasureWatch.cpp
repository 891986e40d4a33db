#include "Measure.h"
#include "platform/linux/LinuxFileEvents.h"
#include "platform/linux/LinuxMainThread.h"

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace larkspan::bench {

int measureWatch(const std::vector<std::string>& arguments) {
    if (arguments.size() != 1) return 2;
    // The latency that the helper watches with.
    constexpr Seconds latency = std::chrono::seconds(1);
    platform::LinuxMainThread mainThread;
    platform::FileEventsOptions options;
    options.startWait = std::chrono::hours(1);
    platform::LinuxFileEvents fileEvents(mainThread, std::move(options));
    const auto stream = fileEvents.start({Path(arguments[0])}, latency,
                                         [](const std::vector<platform::FileEvent>& events) {
                                             std::string lines;
                                             for (const platform::FileEvent& event : events)
                                                 lines += event.path.str() + '\n';
                                             std::fwrite(lines.data(), 1, lines.size(), stdout);
                                             std::fflush(stdout);
                                         },
                                         {});
    const platform::WatchedRoot root = stream->roots().front();
    if (!root.problem.empty()) std::fprintf(stderr, "%s\n", root.problem.c_str());
    std::fputs("ready\n", stderr);
    mainThread.run();
    return 0;
}

}  // namespace larkspan::bench
