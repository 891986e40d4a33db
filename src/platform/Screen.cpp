#include "platform/Screen.h"

#include <algorithm>
#include <cmath>

namespace larkspan::platform {

PictureSize storedSize(PictureSize picture, int largestWidth) {
    if (picture.width <= largestWidth) return picture;
    const double height = double(picture.height) / picture.width * largestWidth;
    return {.width = largestWidth, .height = std::max(1, static_cast<int>(std::lround(height)))};
}

}  // namespace larkspan::platform
