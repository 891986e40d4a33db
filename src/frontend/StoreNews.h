#pragma once

#include "frontend/Store.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace larkspan {

// What is new in a version store since the last look. Main thread only.
class StoreNews {
  public:
    struct NewVersion {
        StoredProject project;
        StoredVersion version;
    };
    struct News {
        std::vector<StoredProject> projects;
        std::vector<NewVersion> versions;
    };

    // Begins with what is there now; that is not news.
    explicit StoreNews(const Path& root);

    // Looks again at the projects in these folders of the store (by their names), and at those
    // that are new. Nothing else is read.
    News lookAt(const std::set<std::string>& folderNames);
    News lookAtAll();

    const Path& root() const { return store_.root(); }
    size_t projectCount() const { return known_.size(); }
    size_t versionCount() const;

  private:
    template <class IsWanted>
    News look(const IsWanted& isWanted);

    Store store_;
    std::map<ProjectID, std::set<VersionNumber>> known_;
};

}  // namespace larkspan
