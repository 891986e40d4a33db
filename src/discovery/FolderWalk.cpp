#include "discovery/FolderWalk.h"

#include "discovery/EditDocument.h"
#include "discovery/FolderNames.h"
#include "foundation/Text.h"
#include "platform/FileStreams.h"
#include "platform/Platform.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace larkspan {
namespace {

using platform::EntryKind;

// Longer paths cannot be opened by other programs either.
constexpr size_t longestPath = 4096;

// Folders that one thread holds open at a time. Below them it begins anew, with a path.
constexpr size_t mostOpen = 32;

// Enough to keep the queue's threads busy; more would only cost.
constexpr int mostGivenAway = 3;

platform::Platform& current() {
    return platform::Platform::current();
}

// docs/behaviour.md, own 16. One that cannot be read is looked at again by the next run.
bool mayHoldAnEdit(const Path& file) {
    if (caseInsensitiveCompare(extensionOf(file.str()), "xml") != 0) return true;
    const auto stream = current().streams.openForReading(file);
    if (!stream) return false;
    std::array<char, editDocumentStart> start{};
    const auto size = (*stream)->readAt(0, start);
    return size && showsEditDocument({start.data(), *size});
}

}  // namespace

FolderWalk::Found FolderWalk::walk(const Path& folder, WithSubfolders withSubfolders) {
    auto opened = current().files.openFolder(folder);
    if (!opened) return {};
    Descent descent;
    lookInto(folder, std::move(*opened), descent);
    if (withSubfolders == WithSubfolders::yes) goDown(descent);
    add(std::move(descent.found));
    queue_.waitUntilAllOperationsAreFinished();
    return found_.with([](Found& found) { return std::exchange(found, Found()); });
}

void FolderWalk::lookInto(Path path, std::unique_ptr<platform::Folder> folder, Descent& descent) {
    const auto facts = folder->info();
    if (!facts) return;
    // docs/behaviour.md, own 15
    if (!seen_.with([&](auto& seen) { return seen.insert(facts->identity).second; })) return;
    const auto entries = folder->entries(
        [this](std::string_view name, EntryKind kind) { return isWanted(name, kind); },
        platform::Sorted::no);
    if (!entries) return;
    const std::string folderName = path.lastPathComponent();
    std::vector<std::string> subfolders;
    for (const platform::DirectoryEntry& entry : *entries) {
        if (!mayGoOn_()) return;
        const What what = classify(*folder, entry);
        if (what == What::folder) {
            subfolders.push_back(entry.name);
        } else if (what == What::linkToFolder) {
            descent.found.linkedFolders.push_back(path / entry.name);
        } else if (what == What::project) {
            addIfNew(path, folderName, entry, descent.found);
        }
    }
    if (subfolders.empty()) return;
    descent.levels.push_back({std::move(path), std::move(folder), std::move(subfolders)});
}

void FolderWalk::goDown(Descent& descent) {
    std::vector<Level>& levels = descent.levels;
    while (!levels.empty()) {
        shareOut(levels);
        Level& level = levels.back();
        if (level.subfolders.empty() || !mayGoOn_()) {
            levels.pop_back();
            continue;
        }
        const std::string name = std::move(level.subfolders.back());
        level.subfolders.pop_back();
        Path path = level.path / name;
        if (path.str().size() >= longestPath) continue;
        auto folder = level.folder->openFolder(name);
        if (folder) lookInto(std::move(path), std::move(*folder), descent);
    }
}

// Gives half of the topmost level to a thread that has nothing to do: the higher a folder, the more
// there is below it.
void FolderWalk::shareOut(std::vector<Level>& levels) {
    if (levels.size() > mostOpen) return giveAway(levels.back(), levels.back().subfolders.size());
    if (givenAway_.load(std::memory_order_relaxed) >= mostGivenAway) return;
    const auto top = std::ranges::find_if(
        levels, [](const Level& level) { return level.subfolders.size() > 1; });
    if (top != levels.end()) giveAway(*top, top->subfolders.size() / 2);
}

void FolderWalk::giveAway(Level& level, size_t count) {
    const auto first = level.subfolders.begin();
    const auto last = first + static_cast<std::ptrdiff_t>(count);
    std::vector<std::string> given;
    std::move(first, last, std::back_inserter(given));
    level.subfolders.erase(first, last);
    ++givenAway_;
    queue_.addOperation([this, folder = level.path, given = std::move(given)] {
        walkSubfolders(folder, given);
        --givenAway_;
    });
}

void FolderWalk::walkSubfolders(const Path& folder, std::vector<std::string> subfolders) {
    auto opened = current().files.openFolder(folder);
    if (!opened) return;
    Descent descent;
    descent.levels.push_back({folder, std::move(*opened), std::move(subfolders)});
    goDown(descent);
    add(std::move(descent.found));
}

void FolderWalk::add(Found found) {
    const auto append = [](std::vector<Path>& to, std::vector<Path>& from) {
        std::ranges::move(from, std::back_inserter(to));
    };
    found_.with([&](Found& all) {
        append(all.projects, found.projects);
        append(all.linkedProjects, found.linkedProjects);
        append(all.linkedFolders, found.linkedFolders);
    });
}

// Everything that can be a folder, and files with a wanted extension.
bool FolderWalk::isWanted(std::string_view name, EntryKind kind) const {
    if (kind == EntryKind::folder) return !name.starts_with('.') || types_.matchesExtensionOf(name);
    if (kind == EntryKind::file) return types_.matchesExtensionOf(name);
    return kind == EntryKind::symbolicLink;
}

FolderWalk::What FolderWalk::classify(platform::Folder& folder,
                                      const platform::DirectoryEntry& entry) const {
    if (entry.kind == EntryKind::file) return What::project;
    const bool isLink = entry.kind == EntryKind::symbolicLink;
    if (isLink) {
        const auto target = folder.info(entry.name);
        if (!target) return What::neither;
        if (target->isFile()) return What::project;
        if (!target->isFolder()) return What::neither;
    }
    if (canBeProject(entry.name)) return What::project;
    if (isIgnoredFolder(entry.name)) return What::neither;
    return isLink ? What::linkToFolder : What::folder;
}

void FolderWalk::addIfNew(const Path& folder, const std::string& folderName,
                          const platform::DirectoryEntry& entry, Found& found) const {
    if (!types_.matchesExtensionOf(entry.name) || types_.excludes(folderName, entry.name)) return;
    Path project = folder / entry.name;
    if (known_.contains(project)) return;
    if (entry.kind != EntryKind::folder && !mayHoldAnEdit(project)) return;
    const bool isLink = entry.kind == EntryKind::symbolicLink;
    (isLink ? found.linkedProjects : found.projects).push_back(std::move(project));
}

}  // namespace larkspan
