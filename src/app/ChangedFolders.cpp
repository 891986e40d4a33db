#include "app/ChangedFolders.h"

#include "foundation/MessageText.h"
#include "foundation/Text.h"

#include <algorithm>

namespace larkspan {
namespace {

constexpr size_t namedAtMost = 8;

std::string rest(size_t count) {
    return messageText("and %li more", static_cast<long>(count - namedAtMost));
}

// The folder that a path lies in, "" for the topmost.
std::string_view folderOf(std::string_view path) {
    const size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

bool hasExtension(std::string_view path) {
    return path.rfind('.') > path.rfind('/') + 1 && path.rfind('.') != std::string_view::npos;
}

}  // namespace

void ChangedFolders::add(const ChangedFolder& folder) {
    const auto [place, isNew] = places_.try_emplace(folder.path, folders_.size());
    if (isNew) {
        folders_.push_back(folder);
    } else {
        folders_[place->second].withSubfolders |= folder.withSubfolders;
    }
}

std::string ChangedFolders::description() const {
    std::vector<std::string> names;
    for (size_t i = 0; i < std::min(folders_.size(), namedAtMost); ++i) {
        names.push_back(folders_[i].path.str());
    }
    if (folders_.size() > namedAtMost) names.push_back(rest(folders_.size()));
    return joined(names, ", ");
}

AffectedProjects::AffectedProjects(const std::vector<ChangedFolder>& folders) {
    for (const ChangedFolder& folder : folders) {
        folders_.insert(folder.path.str());
        for (std::string_view path = folder.path.str(); !path.empty(); path = folderOf(path)) {
            if (hasExtension(path)) bundles_.insert(path);
        }
    }
}

bool AffectedProjects::contains(const Path& project) const {
    std::string_view path = project.str();
    if (bundles_.contains(path)) return true;
    for (;; path = folderOf(path)) {
        if (folders_.contains(path)) return true;
        if (path.empty()) return false;
    }
}

Value firstFew(const Value::Array& all) {
    if (all.size() <= namedAtMost) return all;
    Value::Array few(all.begin(), all.begin() + namedAtMost);
    few.emplace_back(rest(all.size()));
    return few;
}

}  // namespace larkspan
