#pragma once

#include "platform/Archives.h"
#include "platform/Platform.h"
#include "platform/linux/LinuxMainThread.h"
#include "platform/posix/FileCalls.h"

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
    // The archives use the calls, which outlive them.
    using MakeArchives = std::unique_ptr<Archives> (*)(const FileCalls& calls);

    // Problems go to the system console unless somebody wants to know. Programs that pack or unpack
    // say how (ZipArchives::make); the others do without the libraries for it.
    explicit LinuxPlatform(ReportProblem reportProblem = {}, MakeArchives makeArchives = makeNone);
    LinuxPlatform(const LinuxPlatform&) = delete;
    LinuxPlatform& operator=(const LinuxPlatform&) = delete;
    ~LinuxPlatform();

    Platform& platform();
    LinuxMainThread& mainThread();

  private:
    static std::unique_ptr<Archives> makeNone(const FileCalls& calls);

    struct Services;
    std::unique_ptr<Services> services_;
};

}  // namespace larkspan::platform
