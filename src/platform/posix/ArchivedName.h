#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

// The components of an entry's name in an archive, none for the top folder itself. Empty for a
// name that is absolute or goes up.
std::optional<std::vector<std::string>> archivedNameComponents(std::string_view name);

}  // namespace larkspan::platform
