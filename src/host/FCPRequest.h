#pragma once

#include "foundation/Path.h"
#include "foundation/Value.h"
#include "platform/AppleEvents.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace larkspan {

// What Final Cut Pro can be asked, how that is put into an event, and how its answers are read.
// Pure functions; the codes, their order and their types are the application's.
namespace fcprequest {

platform::AppleEvent listOfOpenProjects();

// `project` is the data of a file-system reference, `item` an item's identifier.
platform::AppleEvent projectXML(const std::string& project);
platform::AppleEvent itemXML(const std::string& project, const std::string& item);
platform::AppleEvent tableOfContents(const std::string& project);
platform::AppleEvent importXML(const std::string& project, const std::string& xml);
platform::AppleEvent openItem(const std::string& project, const std::string& item);
// Saves the project to `target`, replacing what stands there when `overwrite` is set.
platform::AppleEvent saveProject(const std::string& project, const Path& target, bool overwrite);
platform::AppleEvent closeProject(const std::string& project, const Path& target, bool saveChanges);

using Reply = std::vector<platform::AppleEventDescriptor>;

// The data of the references to the open projects, in the order of the list. Entries that are no
// such reference are left out; empty when the reply holds no list.
std::optional<std::vector<std::string>> openProjects(const Reply& reply);

// The XML in the reply, or why there is none.
enum class NoXML { missing, notText };
std::variant<Data, NoXML> xml(const Reply& reply);

// "file:///Work/My%20Cut.fcp"
std::string fileURL(const Path& path);

}  // namespace fcprequest
}  // namespace larkspan
