#include "app/ZBFSEvents.h"

#include "foundation/MessageText.h"
#include "platform/Clock.h"
#include "platform/Platform.h"

#include <algorithm>

namespace larkspan {
namespace {

bool contains(const std::vector<Path>& paths, const Path& path) {
    return std::find(paths.begin(), paths.end(), path) != paths.end();
}

}  // namespace

ZBFSEvents& ZBFSEvents::sharedController() {
    static ZBFSEvents controller;
    return controller;
}

void ZBFSEvents::startWatchingPaths(const std::vector<Path>& paths, Seconds interval) {
    stopWatching();
    stream_ = platform::Platform::current().fileEvents.start(
        paths, interval, [this](const auto& events) { deliver(events); }, excluded_);
    running_ = true;
    watchPaths_ = paths;
}

void ZBFSEvents::addWatchPaths(const std::vector<Path>& paths, Seconds interval) {
    std::vector<Path> all = watchPaths_.value_or(std::vector<Path>());
    for (const Path& path : paths) {
        if (!contains(all, path)) all.push_back(path);
    }
    startWatchingPaths(all, interval);
}

void ZBFSEvents::removeWatchPaths(const std::vector<Path>& paths, Seconds interval) {
    std::vector<Path> rest = watchPaths_.value_or(std::vector<Path>());
    std::erase_if(rest, [&](const Path& path) { return contains(paths, path); });
    startWatchingPaths(rest, interval);
}

void ZBFSEvents::stopWatching() {
    stream_.reset();
    watchPaths_.reset();
}

std::vector<platform::WatchedRoot> ZBFSEvents::watchedRoots() const {
    return stream_ ? stream_->roots() : std::vector<platform::WatchedRoot>();
}

void ZBFSEvents::deliver(const std::vector<platform::FileEvent>& events) const {
    const Date now = platform::Platform::current().clock.now();
    Value::Array records;
    for (const platform::FileEvent& event : events) {
        records.emplace_back(Value::Dictionary{{"id", static_cast<long>(event.id)},
                                               {"path", event.path.str()},
                                               {"flag", messageText("%04x", event.flags)},
                                               {"date", now}});
    }
    if (delegate_) delegate_->fileSystemEventsReceived(records);
}

}  // namespace larkspan
