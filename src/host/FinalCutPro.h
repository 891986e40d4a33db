#pragma once

#include "platform/AppleEvents.h"

namespace larkspan {

inline constexpr const char* finalCutBundleIdentifier = "com.apple.FinalCutPro";
inline constexpr platform::FourCharCode finalCutSignature = platform::fourCharCode("KeyG");

}  // namespace larkspan
