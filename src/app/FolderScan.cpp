#include "app/FolderScan.h"

#include "foundation/Text.h"
#include "kit/ZBFileManager.h"
#include "platform/Platform.h"

#include <algorithm>
#include <array>
#include <memory>

namespace larkspan {
namespace {

using platform::EntryKind;

// Longer paths cannot be opened by other programs either.
constexpr size_t longestPath = 4096;

// After the tilde 8, 4, 4, 4 and 11 characters, the extension counted in the last group. A whole
// 36-character identifier does not match, on purpose: projects saved under one are kept.
// In pieces, since "??-" would read as a trigraph.
constexpr std::string_view premiereCopyPattern =
    "*~????????"
    "-????"
    "-????"
    "-????"
    "-???????????";

template <size_t Size>
bool isOneOf(std::string_view name, const std::array<std::string_view, Size>& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

constexpr std::array<std::string_view, 5> ignoredFolders = {
    "Final Cut Projects - Hidden", "Final Cut Events - Hidden", "Final Cut Backups",
    "Final Cut Backups.localized", "Updated Projects"};

constexpr std::array<std::string_view, 6> foldersOfFinalCutCopies = {"Backups",
                                                                     "Old Versions",
                                                                     "Updated Projects",
                                                                     "Final Cut Backups.localized",
                                                                     "Final Cut Projects - Hidden",
                                                                     "Final Cut Events - Hidden"};

std::string_view extensionOf(std::string_view name) {
    const size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

}  // namespace

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
    if (finalCutBundles_ && isOneOf(folderName, foldersOfFinalCutCopies)) return true;
    if (premiere_ && folderName == "Adobe Premiere Pro Auto-Save") return true;
    if (premiere_ && matchesWildcard(name, premiereCopyPattern)) return true;
    return lowercased(extensionOf(name)) == "app";
}

bool isIgnoredFolder(std::string_view name) {
    return name.starts_with('.') || isOneOf(name, ignoredFolders);
}

void FolderScan::scan(const Path& folder) {
    const std::string name = folder.lastPathComponent();
    if (folder.empty() || isIgnoredFolder(name)) return;
    const auto opened = platform::Platform::current().files.openFolder(folder);
    if (opened) scanLevel({folder, name, **opened});
}

void FolderScan::scanLevel(const Level& level) {
    const auto entries = level.folder.entries(
        [this](std::string_view name, EntryKind kind) { return isWanted(name, kind); });
    if (!entries) return;
    bool found = false;
    for (const platform::DirectoryEntry& entry : *entries) {
        const What what = classify(level, entry);
        const Path path = level.path / entry.name;
        if (what == What::folder) {
            if (isIgnoredFolder(entry.name) || path.str().size() >= longestPath) continue;
            const auto folder = level.folder.openFolder(entry.name);
            if (folder) scanLevel({path, entry.name, **folder});
        } else if (what == What::project && isNewProject(level, entry.name, path)) {
            register_(path);
            found = true;
        }
    }
    if (found) done_(level.path);
}

// Everything that can be a folder, and files with a wanted extension.
bool FolderScan::isWanted(std::string_view name, EntryKind kind) const {
    if (kind == EntryKind::folder) return !name.starts_with('.') || types_.matchesExtensionOf(name);
    if (kind == EntryKind::file) return types_.matchesExtensionOf(name);
    return kind == EntryKind::symbolicLink;
}

FolderScan::What FolderScan::classify(const Level& level, const platform::DirectoryEntry& entry) {
    if (entry.kind == EntryKind::folder) return classifyFolder(entry.name);
    if (entry.kind == EntryKind::file) return What::project;
    const auto target = level.folder.info(entry.name);
    if (!target) return What::neither;
    if (target->isFile()) return What::project;
    if (!target->isFolder()) return What::neither;
    const What what = classifyFolder(entry.name);
    if (what != What::folder) return what;
    return followedLinks_.insert(target->identity).second ? What::folder : What::neither;
}

// A package other than a library can be a project itself.
FolderScan::What FolderScan::classifyFolder(const std::string& name) const {
    const bool isLibrary = lowercased(extensionOf(name)) == "fcpbundle";
    return isLibrary || !ZBFileManager::isFilePackage(Path(name)) ? What::folder : What::project;
}

bool FolderScan::isNewProject(const Level& level, const std::string& name, const Path& path) const {
    return types_.matchesExtensionOf(name) && !known_.contains(path) &&
           !types_.excludes(level.name, name);
}

}  // namespace larkspan
