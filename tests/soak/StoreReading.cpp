#include "soak/StoreReading.h"

#include "support/Programs.h"

#include <algorithm>
#include <cstdlib>

#include <sys/stat.h>

namespace larkspan::soak {
namespace fs = std::filesystem;
namespace {

// The number between the last two dots of "Name.00012.fcp"; 0 when there is none.
long numberOf(const std::string& name) {
    const size_t last = name.rfind('.');
    if (last == std::string::npos || last == 0) return 0;
    const size_t before = name.rfind('.', last - 1);
    if (before == std::string::npos) return 0;
    return std::strtol(name.c_str() + before + 1, nullptr, 10);
}

fs::path projectPathIn(const fs::path& settings) {
    const std::string text = testing::readWhole(Path(settings.string()));
    const size_t key = text.find("<key>projectPath</key>");
    if (key == std::string::npos) return {};
    constexpr std::string_view opening = "<string>";
    const size_t begin = text.find(opening, key);
    const size_t end = text.find("</string>", key);
    if (begin == std::string::npos || end == std::string::npos) return {};
    return text.substr(begin + opening.size(), end - begin - opening.size());
}

}  // namespace

const StoredVersion* StoredProject::newest() const {
    return versions.empty() ? nullptr : &versions.back();
}

std::optional<Digest> StoreReading::digestOfVersion(const fs::path& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) return {};
    Known& known = known_[file];
    const Known now{status.st_ino, status.st_ctim.tv_sec, status.st_ctim.tv_nsec, known.digest};
    const bool isKnown = now.inode == known.inode && now.changedSeconds == known.changedSeconds &&
                         now.changedNanoseconds == known.changedNanoseconds;
    if (isKnown) return known.digest;
    const auto digest = digestOf(file);
    if (!digest) return {};
    known = now;
    known.digest = *digest;
    return digest;
}

std::vector<StoredVersion> StoreReading::versionsIn(const fs::path& folder) {
    std::vector<StoredVersion> versions;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with('.')) continue;
        const auto digest = digestOfVersion(entry.path());
        const auto date = fs::last_write_time(entry.path(), error);
        if (digest && !error) versions.push_back({numberOf(name), entry.path(), *digest, date});
    }
    std::ranges::sort(versions, {}, &StoredVersion::number);
    return versions;
}

std::vector<StoredProject> StoreReading::read() {
    std::vector<StoredProject> projects;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(store_, error)) {
        projects.push_back({.folder = entry.path(),
                            .project = projectPathIn(entry.path() / "Settings.plist"),
                            .versions = versionsIn(entry.path() / "Versions")});
    }
    std::ranges::sort(projects, {}, &StoredProject::folder);
    return projects;
}

}  // namespace larkspan::soak
