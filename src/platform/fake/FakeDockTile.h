#pragma once

#include "foundation/Guarded.h"
#include "platform/DockTile.h"

#include <vector>

namespace larkspan::platform {

// Writes down what was shown.
class FakeDockTile final : public DockTile {
  public:
    void showProgress(std::optional<double> progress) override {
        shown_.with([&](auto& shown) { shown.push_back(progress); });
    }
    std::vector<std::optional<double>> shown() const { return shown_.copy(); }

  private:
    Guarded<std::vector<std::optional<double>>> shown_;
};

}  // namespace larkspan::platform
