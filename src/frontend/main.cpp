#include "frontend/FrontEnd.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/linux/ConsoleUser.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/TerminationSignals.h"
#include "platform/posix/ZipArchives.h"
#include "sync/curl/CurlClient.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <limits.h>
#include <unistd.h>

namespace larkspan {
namespace {

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool isTerminal(int descriptor) {
    return isatty(descriptor) == 1 && environment("TERM") != "dumb";
}

Output::Stream streamOn(int descriptor, std::ostream& stream) {
    const bool isShown = isTerminal(descriptor);
    return {stream, isShown && environment("NO_COLOR").empty(), isShown};
}

std::optional<std::string> readLine() {
    std::string line;
    return std::getline(std::cin, line) ? std::optional(std::move(line)) : std::nullopt;
}

// The folder as the shell shows it, with its links unresolved, while that still names it.
Path currentDirectory(platform::Files& files) {
    Path logical(environment("PWD"));
    const auto here = files.info(Path("."));
    const auto there = files.info(logical);
    if (logical.isAbsolute() && here && there && here->identity == there->identity) return logical;
    std::string resolved(PATH_MAX, '\0');
    if (!getcwd(resolved.data(), resolved.size())) return Path("/");
    return Path(resolved.c_str());
}

int runFrontEndOnLinux(const std::vector<std::string>& arguments) {
    HttpClient::choose(CurlClient::make);
    platform::LinuxPlatform services({}, platform::ZipArchives::make);
    const platform::ScopedPlatform installed(services.platform());
    Output output(streamOn(STDOUT_FILENO, std::cout), streamOn(STDERR_FILENO, std::cerr));
    Context context{output, currentDirectory(services.platform().files),
                    [&](const std::function<void()>& asked) -> std::shared_ptr<void> {
                        return std::make_shared<platform::TerminationSignals>(
                            services.mainThread(), [asked](int) { asked(); });
                    },
                    readLine};
    const int status = static_cast<int>(runFrontEnd(arguments, context));
    ZBLog::discardSharedController();
    return status;
}

}  // namespace
}  // namespace larkspan

int main(int argc, char** argv) {
    // A reader of the results that goes away is noticed by the stream.
    (void)std::signal(SIGPIPE, SIG_IGN);
    // docs/behaviour.md, own 18
    if (const auto error =
            larkspan::platform::becomeConsoleUser(argv, larkspan::ZBLog::folderInLibrary())) {
        std::cerr << "larkspan: " << error->description << '\n';
        return 1;
    }
    try {
        return larkspan::runFrontEndOnLinux({argv + 1, argv + argc});
    } catch (const std::exception& exception) {
        std::cerr << "larkspan: " << exception.what() << '\n';
        return 1;
    }
}
