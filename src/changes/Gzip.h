#pragma once

#include "foundation/Result.h"

#include <string>
#include <string_view>

namespace larkspan {

// Whether bytes begin as compressed with gzip.
bool isGzip(std::string_view bytes);

// What was compressed, in memory: all parts of it. An error in words for what is torn, damaged or
// larger than that, before more than `largestSize` bytes are unpacked.
Result<std::string> gunzipped(std::string_view bytes, size_t largestSize);

}  // namespace larkspan
