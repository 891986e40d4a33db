#pragma once

#include <optional>
#include <string>

namespace larkspan::platform {

struct PictureSize {
    int width = 0;  // pixels
    int height = 0;
    friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

// How a picture is to be stored.
struct PictureForm {
    int largestWidth = 0;            // pixels; what is wider is scaled down to this
    double compressionFactor = 1.0;  // of JPEG, 0 to 1, where 1 is the best quality
};

// The size a picture is stored in: scaled down to the largest width with its height in proportion,
// at least one pixel; its own where it is no wider.
PictureSize storedSize(PictureSize picture, int largestWidth);

// The user's screen.
class Screen {
  public:
    virtual ~Screen() = default;

    // The whole screen as it looks now, as a JPEG file. Empty when there is no screen, or none that
    // may be looked at without asking the user; never asks. Takes a few seconds at most. Any
    // thread but the main thread.
    virtual std::optional<std::string> captureJPEG(const PictureForm& form) = 0;
};

}  // namespace larkspan::platform
