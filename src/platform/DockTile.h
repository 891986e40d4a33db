#pragma once

#include <optional>

namespace larkspan::platform {

// The program's icon among those of the running programs, where the desktop shows one. A desktop
// without is fine: nothing is shown. Any thread; nothing waits.
class DockTile {
  public:
    virtual ~DockTile() = default;

    // Shows how far the program has come, from 0 to 1; without a value, shows nothing.
    virtual void showProgress(std::optional<double> progress) = 0;
};

}  // namespace larkspan::platform
