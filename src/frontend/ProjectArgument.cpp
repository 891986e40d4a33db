#include "frontend/ProjectArgument.h"

#include "frontend/Format.h"
#include "frontend/ProjectSearch.h"
#include "frontend/Suggestions.h"

#include <algorithm>

namespace larkspan {
namespace {

constexpr size_t shownCandidates = 20;

void reportAmbiguous(Context& context, const std::string& text,
                     const std::vector<StoredProject>& found) {
    std::string list = "Name one of them by the start of its identifier:";
    for (size_t at = 0; at < std::min(found.size(), shownCandidates); ++at) {
        list += "\n  " + printable(found[at].id.text + "  " + found[at].path.str());
    }
    if (found.size() > shownCandidates) {
        list += "\n  and " + std::to_string(found.size() - shownCandidates) + " more";
    }
    context.output.error(
        "\"" + printable(text) + "\" may be " + std::to_string(found.size()) + " projects.", list);
}

void reportUnknown(Context& context, const std::string& text,
                   const std::vector<StoredProject>& projects) {
    std::vector<std::string> names;
    for (const StoredProject& project : projects) {
        names.push_back(printable(project.displayName()));
    }
    context.output.error("There is no project \"" + printable(text) + "\" in the version store." +
                             didYouMean(names, text),
                         "See them all with: larkspan projects");
}

}  // namespace

std::optional<StoredProject> projectArgument(const std::string& text, Store& store,
                                             Context& context) {
    const auto projects = sortedByName(store.projects());
    auto found = projectsMeantBy(text, projects, context.currentDirectory);
    if (found.size() == 1) return std::move(found[0]);
    if (found.empty()) {
        reportUnknown(context, text, projects);
    } else {
        reportAmbiguous(context, text, found);
    }
    return std::nullopt;
}

}  // namespace larkspan
