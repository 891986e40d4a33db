#include "frontend/ProjectSearch.h"

#include "foundation/Text.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>

namespace larkspan {

Path absolutePath(const std::string& text, const Path& currentDirectory) {
    const std::string whole = Path(text).isAbsolute() ? text : currentDirectory.str() + "/" + text;
    std::vector<std::string> kept;
    for (std::string& component : split(whole, '/')) {
        if (component.empty() || component == ".") continue;
        if (component == "..") {
            if (!kept.empty()) kept.pop_back();
        } else {
            kept.push_back(std::move(component));
        }
    }
    return Path("/" + joined(kept, "/"));
}

std::vector<StoredProject> projectsMeantBy(const std::string& text,
                                           const std::vector<StoredProject>& projects,
                                           const Path& currentDirectory) {
    if (text.empty()) return {};
    const Path path = absolutePath(text, currentDirectory);
    const std::string lower = lowercased(text);
    const auto bareName = [](const StoredProject& project) {
        return Path(project.displayName()).deletingPathExtension().str();
    };
    using Rule = std::function<bool(const StoredProject&)>;
    const std::array<Rule, 5> rules{
        [&](const auto& project) { return lowercased(project.id.text) == lower; },
        [&](const auto& project) { return project.path == path; },
        [&](const auto& project) {
            return project.displayName() == text || bareName(project) == text;
        },
        [&](const auto& project) {
            return lowercased(project.displayName()) == lower ||
                   lowercased(bareName(project)) == lower;
        },
        [&](const auto& project) { return lowercased(project.id.text).starts_with(lower); }};
    for (const Rule& rule : rules) {
        std::vector<StoredProject> found;
        std::copy_if(projects.begin(), projects.end(), std::back_inserter(found), rule);
        if (!found.empty()) return found;
    }
    return {};
}

}  // namespace larkspan
