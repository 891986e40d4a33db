#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string>

namespace larkspan {

// The change-list cache of a project after a version is removed, as a function of values: the
// entry of the version goes, and what it says has changed is put at the end of the next version's
// list, except when that is the last one of all. When the first version goes the next one becomes
// the base version. Only entries made from renditions ("xml") are passed on. Empty when the cache
// has no entry for the version.
std::optional<Value::Dictionary> cacheWithout(Value::Dictionary cache, const std::string& version);

}  // namespace larkspan
