#include "architecture/IncludeRules.h"

#include <algorithm>
#include <array>
#include <vector>

namespace larkspan::testing {
namespace {

using Folders = std::vector<std::string_view>;

struct Layer {
    std::string_view folder;  // below src/
    Folders mayInclude;       // besides itself
};

const std::vector<Layer>& layers() {
    static const std::vector<Layer> all = {
        {"foundation", {}},
        {"platform", {"foundation"}},
        {"platform/posix", {"platform", "foundation"}},
        {"platform/linux", {"platform/posix", "platform", "foundation"}},
        {"platform/fake", {"platform", "foundation"}},
        {"kit", {"platform", "foundation"}},
        {"host", {"kit", "platform", "foundation"}},
        {"changes", {"kit", "platform", "foundation"}},
        {"sync", {"kit", "platform", "foundation"}},
        {"sync/curl", {"sync", "kit", "platform", "foundation"}},
        {"discovery", {"kit", "platform", "foundation"}},
        {"backup", {"host", "changes", "sync", "kit", "platform", "foundation"}},
        {"app",
         {"discovery", "backup", "host", "changes", "sync", "kit", "platform", "foundation"}},
        {"frontend",
         {"discovery", "backup", "host", "changes", "sync", "kit", "platform", "foundation"}},
    };
    return all;
}

// Libraries that stay behind few layers, so that they can be replaced there.
struct Confined {
    std::string_view prefix;           // of what stands between the brackets
    std::vector<std::string> folders;  // with everything below them
};
const std::vector<Confined>& confinedHeaders() {
    static const std::vector<std::string> system{"platform/linux"};
    static const std::vector<Confined> headers = {
        {"glib", system},
        {"gio/", system},
        {"gobject/", system},
        {"gmodule", system},
        {"gdk-pixbuf/", system},
        {"xcb/", system},
        {"archive", {"platform/posix"}},
        {"plist/", {"foundation"}},
        {"openssl/", {"foundation"}},
        {"filesystem", {"platform"}},
        {"pugi", {"changes", "host", "backup"}},
        {"zlib", {"changes"}},
        {"curl/", {"sync/curl"}},
        {"nlohmann/", {"sync"}},
    };
    return headers;
}

bool isBelow(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) && path.substr(folder.size()).starts_with('/');
}

// The innermost layer that holds the path, which is given from src/ on; null when there is none.
const Layer* layerOf(std::string_view path) {
    const Layer* innermost = nullptr;
    for (const Layer& layer : layers()) {
        const bool isDeeper = !innermost || layer.folder.size() > innermost->folder.size();
        if (isBelow(path, layer.folder) && isDeeper) innermost = &layer;
    }
    return innermost;
}

std::string mayOnlyInclude(const Layer& layer) {
    std::string rule = std::string(layer.folder) + " may include ";
    if (layer.mayInclude.empty()) return rule + "nothing of ours but itself";
    rule += "only itself";
    for (const std::string_view folder : layer.mayInclude) rule.append(", ").append(folder);
    return rule;
}

std::string brokenSystemRule(std::string_view path, std::string_view name) {
    for (const Confined& confined : confinedHeaders()) {
        const bool isMeant = confined.prefix == "filesystem" ? name == confined.prefix
                                                             : name.starts_with(confined.prefix);
        const auto holds = [&](const std::string& folder) { return isBelow(path, folder); };
        if (!isMeant || std::ranges::any_of(confined.folders, holds)) continue;
        std::string rule = "<" + std::string(name) + "> may be included only in";
        for (const std::string& folder : confined.folders) rule += " " + folder;
        return rule;
    }
    return {};
}

}  // namespace

std::string brokenIncludeRule(std::string_view file, std::string_view include) {
    constexpr std::string_view sources = "src/";
    if (include.size() < 2 || !file.starts_with(sources)) return {};
    const std::string_view path = file.substr(sources.size());
    const std::string_view name = include.substr(1, include.size() - 2);
    if (include.front() == '<') return brokenSystemRule(path, name);

    const Layer* from = layerOf(path);
    const Layer* to = layerOf(name);
    if (!from) return "every folder of src/ needs its place among the layers";
    if (!to) return "our own headers are included by their path from src/";
    const bool isProgram = path.ends_with("/main.cpp");
    if (isProgram && (isBelow(name, "platform") || isBelow(name, "sync/curl"))) return {};
    const bool isAllowed = from == to || std::find(from->mayInclude.begin(), from->mayInclude.end(),
                                                   to->folder) != from->mayInclude.end();
    if (isAllowed) return {};
    if (to->folder == "platform/linux") return "only main.cpp files may include platform/linux";
    return mayOnlyInclude(*from);
}

std::string_view includedBy(std::string_view line) {
    constexpr std::string_view blanks = " \t";
    const auto skip = [&](std::string_view what) {
        line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
        const bool found = line.starts_with(what);
        line.remove_prefix(found ? what.size() : line.size());
    };
    skip("#");
    skip("include");
    skip("");
    if (line.empty()) return {};
    const size_t end = line.find(line.front() == '<' ? '>' : '"', 1);
    return end == std::string_view::npos ? std::string_view() : line.substr(0, end + 1);
}

}  // namespace larkspan::testing
