#pragma once

#include "foundation/Error.h"

#include <optional>
#include <string>
#include <string_view>

namespace larkspan {

// The checks that stand before libplist. It recurses without a bound, follows what a binary list
// refers to as often as it is referred to, stops on some damage with an assertion, and takes a
// list that is cut off after its first value. Whatever passes here it can read in bounded time,
// memory and depth; it still decides itself what a number or a date is.

// Elements in place, comments and CDATA told from elements, one value and nothing after it.
std::optional<Error> checkXmlPropertyList(std::string_view text);

// Every offset and count inside the bytes; depth, number and size of the values as they will be
// once every reference has been followed.
std::optional<Error> checkBinaryPropertyList(std::string_view bytes);

// The error for a property list that cannot be read; `why` is a sentence.
Error propertyListError(std::string why);

}  // namespace larkspan
