#pragma once

#include "frontend/Command.h"
#include "frontend/Store.h"

#include <optional>
#include <string>

namespace larkspan {

// The one project that a user means by a word (see projectsMeantBy). Empty, with the reason said,
// when it names none or may name several.
std::optional<StoredProject> projectArgument(const std::string& text, Store& store,
                                             Context& context);

}  // namespace larkspan
