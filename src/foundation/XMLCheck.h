#pragma once

#include "foundation/Error.h"

#include <optional>
#include <string_view>

namespace larkspan {

inline constexpr const char* xmlErrorDomain = "XMLErrorDomain";

// Whether a text is a well-formed XML document in UTF-8; empty when it is. Stands beside a parser
// that lets more pass: a second root, a bare "&", an element closed by another name, an attribute
// twice, what no XML document may hold. References to entities that a DOCTYPE may declare pass.
// The description is a sentence that names the line. Bounded depth of its own stack, linear time.
std::optional<Error> checkXML(std::string_view text);

}  // namespace larkspan
