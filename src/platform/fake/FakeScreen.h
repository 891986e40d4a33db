#pragma once

#include "foundation/Guarded.h"
#include "platform/Screen.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace larkspan::platform {

// A screen that shows what a test puts there; at first there is none. Any thread.
class FakeScreen final : public Screen {
  public:
    std::optional<std::string> captureJPEG(const PictureForm& form) override {
        return scene_.with([&](Scene& scene) {
            scene.asked.push_back(form);
            return scene.picture;
        });
    }

    void show(std::optional<std::string> picture) {
        scene_.with([&](Scene& scene) { scene.picture = std::move(picture); });
    }
    // The forms of the pictures that were asked for.
    std::vector<PictureForm> asked() const {
        return scene_.with([](const Scene& scene) { return scene.asked; });
    }

  private:
    struct Scene {
        std::optional<std::string> picture;
        std::vector<PictureForm> asked;
    };
    Guarded<Scene> scene_;
};

}  // namespace larkspan::platform
