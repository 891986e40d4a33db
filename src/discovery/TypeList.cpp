#include "discovery/TypeList.h"

#include "discovery/FolderNames.h"
#include "foundation/Text.h"

#include <algorithm>
#include <array>

namespace larkspan {
namespace {

// After the tilde 8, 4, 4, 4 and 11 characters, the extension counted in the last group. A whole
// 36-character identifier does not match, on purpose: projects saved under one are kept.
// In pieces, since "??-" would read as a trigraph.
constexpr std::string_view premiereCopyPattern =
    "*~????????"
    "-????"
    "-????"
    "-????"
    "-???????????";

constexpr std::array<std::string_view, 6> foldersOfFinalCutCopies = {"Backups",
                                                                     "Old Versions",
                                                                     "Updated Projects",
                                                                     "Final Cut Backups.localized",
                                                                     "Final Cut Projects - Hidden",
                                                                     "Final Cut Events - Hidden"};

}  // namespace

std::vector<std::string> typeList(const std::string& extensions) {
    std::vector<std::string> types;
    for (const std::string& piece : split(extensions, ',')) {
        types.push_back(lowercased(trimmed(piece)));
    }
    return types;
}

TypeList::TypeList(std::vector<std::string> types)
    : types_(std::move(types)),
      finalCutBundles_(contains("fcpproject") || contains("fcpevent")),
      premiere_(contains("prproj")) {}

bool TypeList::contains(std::string_view type) const {
    return std::find(types_.begin(), types_.end(), type) != types_.end();
}

bool TypeList::matchesExtensionOf(std::string_view name) const {
    const std::string_view extension = extensionOf(name);
    if (extension.empty()) return false;
    return std::any_of(types_.begin(), types_.end(), [&](const std::string& type) {
        return type.size() == extension.size() && caseInsensitiveCompare(type, extension) == 0;
    });
}

bool TypeList::excludes(const std::string& folderName, const std::string& name) const {
    const auto& copies = foldersOfFinalCutCopies;
    if (finalCutBundles_ && std::ranges::find(copies, folderName) != copies.end()) return true;
    if (premiere_ && folderName == "Adobe Premiere Pro Auto-Save") return true;
    if (premiere_ && matchesWildcard(name, premiereCopyPattern)) return true;
    return lowercased(extensionOf(name)) == "app";
}

}  // namespace larkspan
