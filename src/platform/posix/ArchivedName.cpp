#include "platform/posix/ArchivedName.h"

namespace larkspan::platform {
namespace {

std::vector<std::string> splitAtSlashes(std::string_view text) {
    std::vector<std::string> parts;
    while (!text.empty()) {
        const size_t slash = text.find('/');
        const std::string_view part = text.substr(0, slash);
        if (!part.empty() && part != ".") parts.emplace_back(part);
        text.remove_prefix(slash == text.npos ? text.size() : slash + 1);
    }
    return parts;
}

}  // namespace

std::optional<std::vector<std::string>> archivedNameComponents(std::string_view name) {
    if (name.empty() || name.front() == '/') return {};
    auto components = splitAtSlashes(name);
    for (const std::string& component : components) {
        if (component == "..") return {};
    }
    return components;
}

}  // namespace larkspan::platform
