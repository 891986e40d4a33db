#include "discovery/FolderScan.h"

#include "discovery/FolderNames.h"
#include "discovery/LinkTargets.h"
#include "discovery/SecondNames.h"
#include "foundation/Text.h"
#include "kit/ZBException.h"
#include "platform/Clock.h"
#include "platform/Platform.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <map>
#include <tuple>

namespace larkspan {
namespace {

// With the calling thread four.
constexpr int helpingThreads = 3;

bool standsBefore(const Path& one, const Path& other) {
    return pathListingOrder(one.str(), other.str());
}

class FolderScan {
  public:
    FolderScan(const KnownProjects& known, const std::vector<ScannedFolder>& watched,
               std::optional<Seconds> atMost)
        : known_(known), targets_(watched) {
        if (atMost) deadline_ = uptime() + *atMost;
    }

    void scan(const std::vector<ScannedFolder>& folders, WithSubfolders withSubfolders) {
        for (size_t i = 0; i < folders.size(); ++i) {
            const ScannedFolder& folder = folders[i];
            const bool isMeant = folder.withSubfolders == withSubfolders;
            if (isMeant && !folder.folder.empty() &&
                !isIgnoredFolder(folder.folder.lastPathComponent()))
                scan({i, 0, targets_.nameOf(folder.folder, folder.types)}, folder.types,
                     withSubfolders);
        }
        while (!links_.empty()) {
            const Link link = links_.front();
            links_.pop_front();
            if (targets_.isFollowed(link.place.path, link.types)) {
                scan(link.place, link.types, WithSubfolders::yes);
            }
        }
    }

    std::vector<Path> projects() {
        std::ranges::sort(found_, [](const Place& a, const Place& b) {
            if (a.folder != b.folder || a.links != b.links)
                return std::tie(a.folder, a.links) < std::tie(b.folder, b.links);
            return standsBefore(a.path, b.path);
        });
        std::vector<Path> paths;
        for (const Place& place : found_) paths.push_back(place.path);
        return withoutSecondNames(paths, known_);
    }
    bool isComplete() const { return !isTimeUp_; }

  private:
    // Where something was found: below which of the folders, through how many links.
    struct Place {
        size_t folder;
        int links;
        Path path;
    };
    struct Link {
        Place place;
        std::vector<std::string> types;
    };

    static Seconds uptime() { return platform::Platform::current().clock.uptime(); }

    bool mayGoOn() {
        if (deadline_ && uptime() >= *deadline_) isTimeUp_ = true;
        return !isTimeUp_;
    }

    FolderWalk& walkFor(const std::vector<std::string>& types) {
        auto& walk = walks_[types];
        if (!walk) {
            walk = std::make_unique<FolderWalk>(TypeList(types), known_, queue_,
                                                [this] { return mayGoOn(); });
        }
        return *walk;
    }

    void scan(const Place& place, const std::vector<std::string>& types,
              WithSubfolders withSubfolders) {
        if (!mayGoOn()) return;
        FolderWalk::Found found = walkFor(types).walk(place.path, withSubfolders);
        for (Path& path : found.projects) {
            found_.push_back({place.folder, place.links, std::move(path)});
        }
        for (Path& path : found.linkedProjects) {
            found_.push_back({place.folder, place.links + 1, std::move(path)});
        }
        if (withSubfolders == WithSubfolders::no) return;
        std::ranges::sort(found.linkedFolders, standsBefore);
        for (Path& path : found.linkedFolders) {
            links_.push_back({{place.folder, place.links + 1, std::move(path)}, types});
        }
    }

    const KnownProjects& known_;
    LinkTargets targets_;
    std::optional<Seconds> deadline_;
    std::atomic<bool> isTimeUp_ = false;
    std::map<std::vector<std::string>, std::unique_ptr<FolderWalk>> walks_;  // one for each types
    std::deque<Link> links_;
    std::vector<Place> found_;
    OperationQueue queue_{helpingThreads, [](const std::string& reason) {
                              ZBException::logException({"Exception", reason},
                                                        "-[AppController addNewProjectsInFolder]");
                          }};
};

}  // namespace

ScanResult scanForProjects(const std::vector<ScannedFolder>& folders, const KnownProjects& known,
                           const std::vector<ScannedFolder>& watched,
                           std::optional<Seconds> atMost) {
    FolderScan scan(known, watched, atMost);
    // Whole trees first: a folder that was looked through by itself is not gone down into again.
    scan.scan(folders, WithSubfolders::yes);
    scan.scan(folders, WithSubfolders::no);
    return {scan.projects(), scan.isComplete()};
}

}  // namespace larkspan
