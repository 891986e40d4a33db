#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

// The components of an entry's name in an archive, none for the top folder itself. Empty for a
// name that is absolute or goes up.
std::optional<std::vector<std::string>> archivedNameComponents(std::string_view name);

// Whether a link that lies `depth` folders below the top leads nowhere outside, whatever other
// such links stand on its way: it may go up only at its start, where every folder is a real one.
bool staysInFolder(std::string_view linkTarget, size_t depth);

}  // namespace larkspan::platform
