#include "soak/Model.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <sstream>

namespace larkspan::soak {
namespace fs = std::filesystem;
namespace {

constexpr size_t historyLength = 30;

std::optional<std::string> contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return {};
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::string clockTime() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count() % 86'400'000;
    std::ostringstream text;
    text << milliseconds / 3'600'000 << ':' << milliseconds / 60'000 % 60 << ':'
         << milliseconds / 1000 % 60 << '.' << milliseconds % 1000 << ' ';
    return text.str();
}

}  // namespace

std::optional<Digest> digestOf(const fs::path& item) {
    std::error_code error;
    const fs::file_status status = fs::symlink_status(item, error);
    if (error || !fs::exists(status)) return {};
    if (!fs::is_directory(status)) {
        const auto content = contentOf(item);
        return content ? std::optional(std::hash<std::string>()(*content)) : std::nullopt;
    }
    std::map<std::string, std::string> entries;
    for (fs::recursive_directory_iterator at(item, error), end; !error && at != end;
         at.increment(error)) {
        const auto content =
            at->is_directory() ? std::string() : contentOf(at->path()).value_or("");
        entries[fs::relative(at->path(), item).string()] = content;
    }
    if (error) return {};
    std::string all;
    for (const auto& [name, content] : entries) all += name + '\0' + content + '\0';
    return std::hash<std::string>()(all);
}

void Model::note(ModelProject& project, const std::string& action) {
    project.history.push_back(clockTime() + action);
    if (project.history.size() > historyLength) project.history.pop_front();
}

void Model::becomes(const fs::path& project, Digest digest, Moment start, Moment from,
                    const std::string& action) {
    ModelProject& known = projects_[project];
    if (!known.states.empty() && !known.states.back().to) known.states.back().to = start;
    known.states.push_back({digest, from});
    known.exists = true;
    known.isBackDated = false;
    note(known, action + " -> " + std::to_string(digest));
}

void Model::goes(const fs::path& project, const std::string& action) {
    ModelProject& known = projects_[project];
    known.exists = false;
    if (!known.states.empty()) known.states.back().to = std::chrono::steady_clock::now();
    note(known, action);
}

void Model::moveOne(const fs::path& from, const fs::path& to) {
    const State state = projects_[from].states.back();
    goes(from, "moves to " + to.string());
    becomes(to, state.digest, std::chrono::steady_clock::now(), state.from,
            "comes from " + from.string());
    dateGoesBack(to);
}

void Model::moves(const fs::path& from, const fs::path& to) {
    for (const fs::path& project : existing()) {
        const std::string name = project.string();
        const std::string folder = from.string() + "/";
        if (project == from) moveOne(project, to);
        if (name.starts_with(folder)) moveOne(project, to / name.substr(folder.size()));
    }
}

void Model::dateGoesBack(const fs::path& project) {
    projects_[project].isBackDated = true;
}

void Model::happens(const std::string& event) {
    for (auto& [path, project] : projects_) {
        if (project.exists) note(project, event);
    }
}

std::vector<fs::path> Model::existing() const {
    std::vector<fs::path> paths;
    for (const auto& [path, project] : projects_) {
        if (project.exists) paths.push_back(path);
    }
    return paths;
}

}  // namespace larkspan::soak
