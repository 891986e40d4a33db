#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"
#include "foundation/Value.h"
#include "frontend/Helper.h"
#include "frontend/Store.h"
#include "frontend/WatchList.h"
#include "platform/Files.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// Something that keeps projects from being backed up.
struct Trouble {
    std::string text;
    std::string advice;
};

enum class Watched { yes, throughProjects, no, unknown };

struct FolderStatus {
    Path folder;
    std::string extensions;
    bool exists = false;
    Watched watched = Watched::unknown;  // unknown without a helper
    std::string problem;                 // the helper's words
    std::string notice;                  // as well
};

struct LastVersion {
    StoredProject project;
    StoredVersion version;
};

struct StoreStatus {
    Path root;
    bool isChosen = false;  // by the user; else it lies in the default place
    bool exists = false;
    bool writable = false;
    bool onUnmountedVolume = false;
    std::optional<platform::DiskSpace> space;
    size_t projects = 0;
    std::optional<LastVersion> last;
    std::vector<std::string> unreadable;  // settings, with the reason
    std::vector<std::string> unreadableVersions;
};

// Whether projects are being backed up, from facts.
struct StatusReport {
    std::optional<HelperFacts> helper;
    std::vector<FolderStatus> folders;
    std::optional<StoreStatus> store;
    std::vector<Trouble> troubles;

    static StatusReport gather();

    Value asValue() const;
};

// A folder of the watch list beside what the helper says of it. Folders of Final Cut projects and
// events are watched through the projects found in them, not as a whole.
FolderStatus folderStatus(const WatchFolder& entry, bool exists, const HelperFacts* helper);

// What is wrong with a folder or a store; nothing when all is well.
std::optional<Trouble> folderTrouble(const FolderStatus& folder);
std::vector<Trouble> storeTroubles(const StoreStatus& store);

}  // namespace larkspan
