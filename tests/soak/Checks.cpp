#include "soak/Checks.h"

#include <algorithm>
#include <set>

namespace larkspan::soak {
namespace fs = std::filesystem;
namespace {

// A project counts as being written for 4 seconds. What the soak measures of them is a little less.
constexpr auto rest = std::chrono::milliseconds(3500);

bool hasState(const ModelProject& project, Digest digest, bool passingStatesToo) {
    return std::ranges::any_of(project.states, [&](const State& state) {
        return state.digest == digest &&
               (passingStatesToo || !state.to || *state.to - state.from >= rest);
    });
}

const StoredProject* storedProject(const Store& store, const fs::path& project) {
    const auto found = std::ranges::find(store, project, &StoredProject::project);
    return found == store.end() ? nullptr : &*found;
}

bool hasVersion(const StoredProject& stored, Digest digest) {
    return std::ranges::find(stored.versions, digest, &StoredVersion::digest) !=
           stored.versions.end();
}

}  // namespace

Complaints missingStates(const Model& model, const Store& store) {
    Complaints complaints;
    for (const auto& [path, project] : model.projects()) {
        if (!project.exists) continue;
        const StoredProject* stored = storedProject(store, path);
        const Digest digest = project.states.back().digest;
        if (!stored) {
            complaints.push_back(path.string() + " is not registered");
        } else if (project.isBackDated && !hasVersion(*stored, digest)) {
            complaints.push_back(path.string() + ": no version holds its state");
        } else if (!project.isBackDated &&
                   (!stored->newest() || stored->newest()->digest != digest)) {
            complaints.push_back(path.string() + ": the newest version is not its state, in " +
                                 stored->folder.string());
        }
    }
    return complaints;
}

Complaints foreignVersions(const Model& model, const Store& store, const Seen& seen,
                           bool passingStatesToo) {
    Complaints complaints;
    for (const StoredProject& stored : store) {
        const auto known = model.projects().find(stored.project);
        // What is none is told as such.
        if (known == model.projects().end() || known->second.restless) continue;
        for (const StoredVersion& version : stored.versions) {
            if (seen.contains(version.file)) continue;
            if (!hasState(known->second, version.digest, passingStatesToo)) {
                complaints.push_back(version.file.string() + " is no state of " +
                                     stored.project.string());
            }
        }
    }
    return complaints;
}

Complaints doubles(const Model& model, const Store& store, const Seen& seen, bool someUnread) {
    Complaints complaints;
    std::set<fs::path> projects;
    for (const StoredProject& stored : store) {
        // Registered by halves: the next start clears it.
        if (!fs::exists(stored.folder / "Settings.plist") && stored.versions.empty()) continue;
        const std::string folder = stored.folder.string();
        if (!projects.insert(stored.project).second) {
            complaints.push_back(stored.project.string() + " is registered again in " + folder);
        }
        if (!model.projects().contains(stored.project)) {
            complaints.push_back("'" + stored.project.string() + "' is no project, in " + folder);
        }
        for (size_t i = 1; i < stored.versions.size(); ++i) {
            const bool isNew = !seen.contains(stored.versions[i].file);
            const bool isEqual = stored.versions[i].digest == stored.versions[i - 1].digest;
            if (isNew && isEqual && !someUnread) {
                complaints.push_back(stored.versions[i].file.string() + " of " +
                                     stored.project.string() + " is equal to the one before");
            }
        }
    }
    return complaints;
}

Complaints losses(const Seen& seen, const Store& store, std::optional<long> limit) {
    Complaints complaints;
    std::map<fs::path, const StoredProject*> folders;
    Seen now;
    for (const StoredProject& stored : store) {
        folders[stored.folder / "Versions"] = &stored;
        for (const StoredVersion& version : stored.versions) {
            now[version.file] = version.digest;
        }
    }
    for (const auto& [file, digest] : seen) {
        const auto found = now.find(file);
        if (found != now.end()) {
            if (found->second != digest) complaints.push_back(file.string() + " changed");
            continue;
        }
        const auto stored = folders.find(file.parent_path());
        const bool mayGo = limit && stored != folders.end() &&
                           static_cast<long>(stored->second->versions.size()) >= *limit &&
                           file < stored->second->versions.front().file;
        if (!mayGo) complaints.push_back(file.string() + " went");
    }
    return complaints;
}

Complaints earlyDates(const Model& model, const Store& store, const Seen& seen) {
    Complaints complaints;
    for (const StoredProject& stored : store) {
        const auto known = model.projects().find(stored.project);
        if (known == model.projects().end() || !known->second.exists) continue;
        const StoredVersion* newest = stored.newest();
        std::error_code error;
        const auto date = fs::last_write_time(stored.project, error);
        if (error || !newest || newest->digest != known->second.states.back().digest) continue;
        if (newest->date < date && !seen.contains(newest->file)) {
            complaints.push_back(newest->file.string() + " of " + stored.project.string() +
                                 " has a date before its project's");
        }
    }
    return complaints;
}

Complaints leavings(const std::vector<fs::path>& folders, const Store& store) {
    Complaints complaints;
    for (const StoredProject& stored : store) {
        if (stored.project.empty()) complaints.push_back(stored.folder.string() + " was left");
    }
    for (const fs::path& folder : folders) {
        std::error_code error;
        for (fs::recursive_directory_iterator at(folder, error), end; !error && at != end;
             at.increment(error)) {
            const std::string name = at->path().filename().string();
            if (name.starts_with(".larkspan-")) {
                complaints.push_back(at->path().string() + " was left");
            }
        }
    }
    return complaints;
}

Seen seenIn(const Store& store) {
    Seen seen;
    for (const StoredProject& stored : store) {
        for (const StoredVersion& version : stored.versions) seen[version.file] = version.digest;
    }
    return seen;
}

}  // namespace larkspan::soak
