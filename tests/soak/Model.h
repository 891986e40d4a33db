#pragma once

#include <chrono>
#include <deque>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace larkspan::soak {

using Moment = std::chrono::steady_clock::time_point;

// Stands for the whole content of a file, or of a folder with all that is in it.
using Digest = size_t;
// Empty when there is nothing, or it went meanwhile.
std::optional<Digest> digestOf(const std::filesystem::path& item);

struct State {
    Digest digest = 0;
    Moment from;                    // nobody wrote to it from then on
    std::optional<Moment> to = {};  // empty while it lasts
};

// All that a path held as a project, by every name and life of it.
struct ModelProject {
    std::vector<State> states;  // oldest first
    bool exists = false;
    // Its date went back, so that dates do not tell which version is the newest state's.
    bool isBackDated = false;
    bool restless = false;            // its states are not known here
    std::deque<std::string> history;  // what was done to it last
};

// What the soak did, and so what the store may and must hold.
class Model {
  public:
    using Projects = std::map<std::filesystem::path, ModelProject>;

    // The project has a new state, or was written anew with the old one. `start` is the moment
    // before it was written to.
    void becomes(const std::filesystem::path& project, Digest digest, Moment start, Moment from,
                 const std::string& action);
    void goes(const std::filesystem::path& project, const std::string& action);
    // A project, or all those in a folder.
    void moves(const std::filesystem::path& from, const std::filesystem::path& to);
    void dateGoesBack(const std::filesystem::path& project);
    // A project whose states somebody else knows.
    void isRestless(const std::filesystem::path& project) { projects_[project].restless = true; }
    // What happened to all of them.
    void happens(const std::string& event);

    const Projects& projects() const { return projects_; }
    std::vector<std::filesystem::path> existing() const;

  private:
    void note(ModelProject& project, const std::string& action);
    void moveOne(const std::filesystem::path& from, const std::filesystem::path& to);

    Projects projects_;
};

}  // namespace larkspan::soak
