#include "discovery/FolderNames.h"

#include "foundation/Text.h"
#include "kit/ZBFileManager.h"

#include <algorithm>
#include <array>

namespace larkspan {
namespace {

constexpr std::array<std::string_view, 5> ignoredFolders = {
    "Final Cut Projects - Hidden", "Final Cut Events - Hidden", "Final Cut Backups",
    "Final Cut Backups.localized", "Updated Projects"};

}  // namespace

std::string_view extensionOf(std::string_view name) {
    const size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

bool isIgnoredFolder(std::string_view name) {
    return name.starts_with('.') || std::ranges::find(ignoredFolders, name) != ignoredFolders.end();
}

bool canBeProject(std::string_view folderName) {
    const std::string_view extension = extensionOf(folderName);
    return !extension.empty() && caseInsensitiveCompare(extension, "fcpbundle") != 0 &&
           ZBFileManager::isFilePackage(Path(folderName));
}

bool isLookedInto(std::string_view name) {
    return !isIgnoredFolder(name) && !canBeProject(name);
}

bool isReached(const Path& folder, const Path& watchFolder) {
    if (!folder.isWithin(watchFolder)) return false;
    if (isIgnoredFolder(watchFolder.lastPathComponent())) return false;
    const auto components = folder.pathComponents();
    const auto above = static_cast<std::ptrdiff_t>(watchFolder.pathComponents().size());
    return std::all_of(components.begin() + above, components.end(), isLookedInto);
}

}  // namespace larkspan
