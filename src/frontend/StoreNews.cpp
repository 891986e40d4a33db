#include "frontend/StoreNews.h"

#include "backup/StoreLayout.h"

namespace larkspan {

StoreNews::StoreNews(const Path& root) : store_(root) {
    (void)lookAtAll();
}

template <class IsWanted>
StoreNews::News StoreNews::look(const IsWanted& isWanted) {
    News news;
    for (const StoredProject& project : store_.projects()) {
        const bool isNew = !known_.contains(project.id);
        if (!isNew && !isWanted(project)) continue;
        auto versions = store_.versions(project);
        if (!versions) continue;  // what is new in it is told when it can be read
        if (isNew) news.projects.push_back(project);
        const auto known = known_.try_emplace(project.id).first;
        std::set<VersionNumber> numbers;
        for (StoredVersion& version : *versions) {
            numbers.insert(version.number);
            if (known->second.contains(version.number)) continue;
            news.versions.push_back({project, std::move(version)});
        }
        known->second = std::move(numbers);
    }
    return news;
}

StoreNews::News StoreNews::lookAt(const std::set<std::string>& folderNames) {
    return look([&](const StoredProject& project) {
        const Path folder = storelayout::projectFolder(root(), project.id);
        return folderNames.contains(folder.lastPathComponent());
    });
}

StoreNews::News StoreNews::lookAtAll() {
    return look([](const StoredProject&) { return true; });
}

size_t StoreNews::versionCount() const {
    size_t count = 0;
    for (const auto& [id, numbers] : known_) count += numbers.size();
    return count;
}

}  // namespace larkspan
