#pragma once

#include "soak/Model.h"

namespace larkspan::soak {

struct StoredVersion {
    long number = 0;
    std::filesystem::path file;
    Digest digest = 0;
    std::filesystem::file_time_type date;
};

struct StoredProject {
    std::filesystem::path folder;
    std::filesystem::path project;        // empty when the settings name none
    std::vector<StoredVersion> versions;  // by number

    const StoredVersion* newest() const;  // the one with the highest number
};

// Reads a version store as a stranger would. What was read once and has not changed since, by its
// file's numbers, is not read again.
class StoreReading {
  public:
    explicit StoreReading(std::filesystem::path store) : store_(std::move(store)) {}

    std::vector<StoredProject> read();
    // The next reading reads everything.
    void forget() { known_.clear(); }

  private:
    struct Known {
        unsigned long inode = 0;
        long changedSeconds = 0;
        long changedNanoseconds = 0;
        Digest digest = 0;
    };
    std::optional<Digest> digestOfVersion(const std::filesystem::path& file);
    std::vector<StoredVersion> versionsIn(const std::filesystem::path& folder);

    std::filesystem::path store_;
    std::map<std::filesystem::path, Known> known_;
};

}  // namespace larkspan::soak
