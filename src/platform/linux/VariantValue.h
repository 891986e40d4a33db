#pragma once

#include "foundation/Result.h"
#include "foundation/Value.h"
#include "platform/linux/GObjectHandle.h"

#include <string>
#include <string_view>

namespace larkspan::platform {

// Property-list values as D-Bus carries them:
//
//   boolean b    integer x    real d    string s    data ay
//   date (xu), seconds since 1970 and nanoseconds
//   array av     dictionary a{sv}
//
// Every value comes back equal, but for what D-Bus cannot carry: in strings and keys bytes that
// are no UTF-8, and zero bytes, become U+FFFD; what lies more than 24 containers deep is replaced
// by its description.

VariantHandle variantFromValue(const Value& value);

// Takes whatever other programs send, too: every kind of number and of array. An integer that is
// too large and a date out of range become the nearest value. Fails on kinds that property lists
// have no word for.
Result<Value> valueFromVariant(GVariant* variant);

// The text as D-Bus allows it.
std::string textForDBus(std::string_view text);

}  // namespace larkspan::platform
