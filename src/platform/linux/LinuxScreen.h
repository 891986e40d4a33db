#pragma once

#include "platform/Processes.h"
#include "platform/Screen.h"
#include "platform/linux/Alarm.h"
#include "platform/linux/PortalScreen.h"

#include <optional>
#include <string>

namespace larkspan::platform {

// The screen through the desktop portal, where the user granted that before; else the X display;
// in a Wayland session the program grim. Takes two seconds at most, and the time to scale.
class LinuxScreen final : public Screen {
  public:
    // Reads the environment once, here. The processes must outlive this.
    explicit LinuxScreen(Processes& processes);

    std::optional<std::string> captureJPEG(const PictureForm& form) override;

  private:
    std::optional<std::string> runGrim(Alarm::Moment deadline);

    Processes& processes_;
    PortalAccess portal_;
    std::string display_;  // of X; "" when there is none
    bool isWayland_;
    std::optional<Path> grim_;
};

}  // namespace larkspan::platform
