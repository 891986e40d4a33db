#include "platform/linux/LinuxScreen.h"

#include "foundation/Text.h"
#include "platform/linux/SessionBus.h"
#include "platform/linux/X11Screen.h"
#include "platform/posix/SmallFile.h"

#include <cstdlib>
#include <utility>

#include <unistd.h>

namespace larkspan::platform {
namespace {

constexpr std::chrono::milliseconds timeForAll{2000};
// What the portal may take of it, so that something is left for the others.
constexpr Seconds timeForPortal = std::chrono::milliseconds(1200);
constexpr size_t largestPicture = 64UL * 1024 * 1024;

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::optional<Path> programInPath(const char* name) {
    for (const std::string& folder : split(variable("PATH"), ':')) {
        Path program = Path(folder) / name;
        if (program.isAbsolute() && ::access(program.c_str(), X_OK) == 0) return program;
    }
    return std::nullopt;
}

}  // namespace

LinuxScreen::LinuxScreen(Processes& processes)
    : processes_(processes),
      portal_{.busAddress = sessionBusAddress(),
              .applicationIDs =
                  portalApplicationIDs(readSmallFile(Path("/proc/self/cgroup")).value_or(""))},
      display_(variable("DISPLAY")),
      isWayland_(!variable("WAYLAND_DISPLAY").empty()),
      grim_(programInPath("grim")) {}

std::optional<std::string> LinuxScreen::captureJPEG(const PictureForm& form) {
    const Alarm::Moment deadline = std::chrono::steady_clock::now() + timeForAll;
    if (const auto image = captureThroughPortal(portal_, timeForPortal)) {
        if (auto picture = jpegOfImage(*image, form)) return picture;
    }
    // In a Wayland session the X display, if any, shows X programs only.
    if (!isWayland_) {
        const auto pixels = captureX11(display_, deadline);
        return pixels ? jpegOf(*pixels, form) : std::nullopt;
    }
    const auto image = runGrim(deadline);
    return image ? jpegOfImage(*image, form) : std::nullopt;
}

std::optional<std::string> LinuxScreen::runGrim(Alarm::Moment deadline) {
    if (!grim_) return std::nullopt;
    const auto launched = processes_.launch(
        {.launchPath = *grim_, .arguments = {"-t", "png", "-l", "1", "-"}, .output = Stream::pipe});
    if (!launched) return std::nullopt;
    Process& process = **launched;
    std::string image;
    {
        const Alarm alarm(deadline, [&process] {
            process.kill();
            process.stopReading();
        });
        for (;;) {
            const std::string chunk = process.readAvailableOutput();
            if (chunk.empty()) break;
            image += chunk;
            if (image.size() > largestPicture) process.kill();
        }
        if (process.waitUntilExit() != 0) return std::nullopt;
    }
    return image;
}

}  // namespace larkspan::platform
