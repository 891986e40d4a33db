#pragma once

#include "platform/Platform.h"
#include "platform/linux/LinuxMainThread.h"

#include <functional>
#include <memory>
#include <string>

namespace larkspan::platform {

// All services on Linux. Made on the main thread, before other threads start, since it reads the
// environment; starts no thread itself.
class LinuxPlatform {
  public:
    // Told, on any thread, in words what cannot be done as it should be, for example a folder that
    // cannot be watched.
    using ReportProblem = std::function<void(const std::string& problem)>;

    // Problems go to the system console unless somebody wants to know.
    explicit LinuxPlatform(ReportProblem reportProblem = {});
    LinuxPlatform(const LinuxPlatform&) = delete;
    LinuxPlatform& operator=(const LinuxPlatform&) = delete;
    ~LinuxPlatform();

    Platform& platform();
    LinuxMainThread& mainThread();

  private:
    struct Services;
    std::unique_ptr<Services> services_;
};

}  // namespace larkspan::platform
