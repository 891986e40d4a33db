#include "frontend/FrontEnd.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/TerminationSignals.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include <limits.h>
#include <unistd.h>

namespace larkspan {
namespace {

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool hasColour(int descriptor) {
    return isatty(descriptor) == 1 && environment("NO_COLOR").empty() &&
           environment("TERM") != "dumb";
}

// The folder as the shell shows it, with its links unresolved, while that still names it.
Path currentDirectory(platform::Files& files) {
    Path logical(environment("PWD"));
    const auto here = files.info(Path("."));
    const auto there = logical.isAbsolute() ? files.info(logical) : std::nullopt;
    if (here && there && here->identity == there->identity) return logical;
    std::string resolved(PATH_MAX, '\0');
    if (!getcwd(resolved.data(), resolved.size())) return Path("/");
    return Path(resolved.c_str());
}

int runFrontEndOnLinux(const std::vector<std::string>& arguments) {
    platform::LinuxPlatform services;
    const platform::ScopedPlatform installed(services.platform());
    Output output({std::cout, hasColour(STDOUT_FILENO)}, {std::cerr, hasColour(STDERR_FILENO)});
    Context context{output, currentDirectory(services.platform().files),
                    [&](const std::function<void()>& asked) -> std::shared_ptr<void> {
                        return std::make_shared<platform::TerminationSignals>(
                            services.mainThread(), [asked](int) { asked(); });
                    }};
    const ExitStatus status = runFrontEnd(arguments, context);
    ZBLog::discardSharedController();
    return static_cast<int>(status);
}

}  // namespace
}  // namespace larkspan

int main(int argc, char** argv) {
    // A reader of the results that goes away is noticed by the stream.
    (void)std::signal(SIGPIPE, SIG_IGN);
    try {
        return larkspan::runFrontEndOnLinux({argv + 1, argv + argc});
    } catch (const std::exception& exception) {
        std::cerr << "larkspan: " << exception.what() << '\n';
        return 1;
    }
}
