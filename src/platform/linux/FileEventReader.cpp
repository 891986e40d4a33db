#include "platform/linux/FileEventReader.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <fstream>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>

namespace larkspan::platform {
namespace {

// How long a long work goes on before what happened meanwhile has its turn.
constexpr Seconds oneGo = std::chrono::milliseconds(20);

Seconds uptime() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

// While events keep coming, the thread rests between two reads, so that a writer wakes it some
// hundred times a second and not at every write. No queue of the usual size fills up meanwhile.
int napLength(Seconds latency) {
    constexpr int milliseconds = 4;
    constexpr long enoughEvents = 16384;
    long queue = 0;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> queue;
    const bool napIsShort = latency >= 10 * std::chrono::milliseconds(milliseconds);
    return queue >= enoughEvents && napIsShort ? milliseconds : 0;
}

std::vector<std::string> rootPaths(const std::vector<Path>& roots) {
    std::vector<std::string> paths;
    for (const Path& root : roots) {
        std::string path = root.str();
        while (path.ends_with('/')) path.pop_back();
        paths.push_back(path + '/');
    }
    return paths;
}

}  // namespace

FileEventReader::Watch::Watch(const InotifyCalls& calls, const std::vector<Path>& given,
                              const TreeExclusion& exclusion, const WatchReports& reports)
    : inotify(calls),
      folders(inotify, rootPaths(given), exclusion, reports),
      roots(inotify, folders, given, exclusion, reports) {}

bool FileEventReader::needsTimer() const {
    return watch_->folders.hasUnwatched() || watch_->roots.hasUnwatchedWay() ||
           !silentTrees_.isEmpty();
}

FileEventReader::FileEventReader(std::vector<Path> roots, ExcludedTrees excluded, Seconds latency,
                                 FileEventsOptions options, Deliver deliver)
    : given_(std::move(roots)),
      exclusion_(std::move(excluded)),
      options_(std::move(options)),
      deliver_(std::move(deliver)),
      stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      napMilliseconds_(napLength(latency)),
      gathering_(latency),
      silentTrees_(exclusion_, [this] { return stopping_.load(); }) {
    startAnew(0);
    publishStates();
}

std::shared_ptr<FileEventReader> FileEventReader::start(std::vector<Path> roots,
                                                        ExcludedTrees excluded, Seconds latency,
                                                        FileEventsOptions options,
                                                        Deliver deliver) {
    auto reader = std::make_shared<FileEventReader>(std::move(roots), std::move(excluded), latency,
                                                    std::move(options), std::move(deliver));
    auto firstLook = reader->firstLook_.get_future();
    reader->thread_ = std::thread([reader] {
        reader->run();
        reader->ended_.set_value();
    });
    firstLook.wait_for(reader->options_.startWait);
    reader->returned_ = true;
    return reader;
}

void FileEventReader::stop() {
    stopping_ = true;
    isQuiet_.with([](bool& isQuiet) { isQuiet = true; });
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(stop_.get(), &one, sizeof one);
    if (ended_.get_future().wait_for(options_.endWait) == std::future_status::ready) {
        thread_.join();
    } else {
        thread_.detach();
    }
}

WatchReports FileEventReader::reports() {
    return {
        .changed = [this](std::string folder,
                          std::uint32_t flags) { gathering_.add(std::move(folder), flags); },
        .problem =
            [this](const std::string& problem) {
                if (std::exchange(lastProblem_, problem) == problem) return;
                isQuiet_.with([&](bool isQuiet) {
                    if (!isQuiet) options_.reportProblem(problem);
                });
            },
        .stopping = [this] { return stopping_.load(); },
    };
}

void FileEventReader::run() {
    while (!stopping_) {
        const Ready ready = wait(nextDue());
        if (ready.mounts) watch_->roots.mountsChanged(mounts_.mounts());
        const bool moreEvents = ready.events && readEvents();
        lookWhereDue();
        deliverWhenDue();
        // After lost events the roots are as they were until all have been looked at.
        if (!starting_ || startFlags_ == 0) publishStates();
        if (starting_ && !watch_->roots.needsFirstLook()) started();
        if (ready.events && !moreEvents) nap();
    }
}

// Empty: until something happens.
std::optional<Seconds> FileEventReader::nextDue() const {
    if (watch_->roots.needsLook() || silentTrees_.isLooking()) return Seconds(0);
    const Seconds now = uptime();
    std::optional<Seconds> due = gathering_.dueIn(now);
    const auto at = [&](Seconds moment) {
        const Seconds wait = std::max(Seconds(0), moment - now);
        due = due ? std::min(*due, wait) : wait;
    };
    if (eventsDropped_) at(startAnewNotBefore_);
    if (needsTimer()) at(lookAtUnwatchedAt_);
    // Without the descriptor that ends the wait, the wait has to end by itself.
    if (!stop_) at(now + std::chrono::milliseconds(200));
    return due;
}

FileEventReader::Ready FileEventReader::wait(std::optional<Seconds> timeout) const {
    std::array<pollfd, 3> descriptors{{{stop_.get(), POLLIN, 0},
                                       {watch_->inotify.descriptor(), POLLIN, 0},
                                       {mounts_.descriptor(), POLLPRI, 0}}};
    // An hour at most, so that the count of milliseconds fits.
    const int milliseconds =
        timeout ? static_cast<int>(std::ceil(std::min(timeout->count(), 3600.0) * 1000)) : -1;
    if (::poll(descriptors.data(), descriptors.size(), milliseconds) <= 0) return {};
    return {descriptors[1].revents != 0, descriptors[2].revents != 0};
}

void FileEventReader::nap() const {
    pollfd stop{stop_.get(), POLLIN, 0};
    if (napMilliseconds_ > 0) ::poll(&stop, 1, napMilliseconds_);
}

// True when more may wait to be read.
bool FileEventReader::readEvents() {
    options_.beforeReading();
    watch_->folders.beginEvents();
    return watch_->inotify.read([this](const InotifyEvent& event) {
        if ((event.mask & IN_Q_OVERFLOW) != 0) eventsDropped_ = true;
        watch_->roots.handle(event);
        watch_->folders.handle(event);
    });
}

void FileEventReader::lookWhereDue() {
    if (!starting_ && eventsDropped_ && uptime() >= startAnewNotBefore_) {
        startAnew(FileEventFlag::mustScanSubfolders | FileEventFlag::eventsDropped);
    }
    const bool isBusy = starting_ || silentTrees_.isLooking();
    if (!isBusy && needsTimer() && uptime() >= lookAtUnwatchedAt_) lookAtUnwatched();
    watch_->roots.addLinks();
    if (watch_->roots.needsLook()) lookAtRoots();
    if (silentTrees_.isLooking()) lookAtSilentTrees();
}

// For a moment at a time: what happens in the roots seen so far does not wait for all others.
void FileEventReader::lookAtRoots() {
    const Seconds until = uptime() + oneGo;
    while (watch_->roots.needsLook() && !stopping_ && uptime() < until) {
        const std::optional<size_t> isNew = watch_->roots.lookAtNext();
        if (isNew) firstLookDone(*isNew);
    }
    if (!watch_->roots.needsLook()) findSilentTrees();
}

void FileEventReader::findSilentTrees() {
    const std::vector<Mount> mounts = options_.mounts ? options_.mounts() : mounts_.mounts();
    for (size_t root = 0; root < watch_->roots.count(); ++root) {
        silentTrees_.setTreesOf(root, watch_->roots.silentTrees(root, mounts));
    }
    if (silentTrees_.hasNew() && !silentTrees_.isLooking()) beginSilentLook();
}

void FileEventReader::lookAtSilentTrees() {
    const Seconds until = uptime() + oneGo;
    silentTrees_.goOn([&] { return uptime() >= until; },
                      [this](std::string folder, std::uint32_t flags) {
                          gathering_.add(std::move(folder), flags);
                      });
    if (silentTrees_.isLooking()) return;
    restUntilNextLook(lookBegun_);
    if (silentTrees_.hasNew()) beginSilentLook();
}

void FileEventReader::firstLookDone(size_t root) {
    const bool isGiven = root < given_.size();
    if (isGiven && startFlags_ == 0) {
        states_.with([&](auto& states) { states[root] = state(root); });
    }
    // What happened below it before may have been reported to nobody.
    const bool isMissed = returned_ || startFlags_ != 0;
    if (isMissed && (isGiven || watch_->folders.isKnownByRoot(root))) {
        gathering_.add(watch_->folders.rootPath(root),
                       (starting_ ? startFlags_ : 0) | FileEventFlag::mustScanSubfolders);
    }
}

void FileEventReader::lookAtUnwatched() {
    const Seconds begun = uptime();
    if (!watch_->inotify.isOpen() && Inotify(options_.calls).isOpen()) {
        startAnew(FileEventFlag::mustScanSubfolders);
    } else {
        watch_->roots.lookForUnwatched();
        watch_->folders.lookAtUnwatched();
        findSilentTrees();
        if (!silentTrees_.isLooking() && !silentTrees_.isEmpty()) beginSilentLook();
    }
    restUntilNextLook(begun);
}

// Never more than a tenth of the time is spent on looks, however large the trees are.
void FileEventReader::restUntilNextLook(Seconds begun) {
    const Seconds end = uptime();
    lookAtUnwatchedAt_ = end + std::max(options_.unwatchedInterval, 10 * (end - begun));
}

void FileEventReader::beginSilentLook() {
    lookBegun_ = uptime();
    silentTrees_.begin();
}

// Has everything watched from scratch, since after lost events nothing that is known can be
// trusted.
void FileEventReader::startAnew(std::uint32_t flags) {
    startBegun_ = uptime();
    starting_ = true;
    startFlags_ = flags;
    eventsDropped_ = false;
    watch_.reset();  // before the new one, which needs its watches
    watch_ = std::make_unique<Watch>(options_.calls, given_, exclusion_, reports());
}

// All roots have been looked at for the first time.
void FileEventReader::started() {
    starting_ = false;
    publishStates();
    if (startFlags_ == 0) firstLook_.set_value();
    // A writer that floods the queue all the time must not keep this thread busy for good.
    const Seconds end = uptime();
    startAnewNotBefore_ = end + 4 * (end - startBegun_);
    lookAtUnwatchedAt_ = end + options_.unwatchedInterval;
}

void FileEventReader::publishStates() {
    states_.with([&](auto& states) {
        states.clear();
        for (size_t root = 0; root < given_.size(); ++root) {
            states.push_back(state(root));
        }
    });
}

WatchedRoot FileEventReader::state(size_t root) const {
    WatchedRoot state = watch_->roots.state(root);
    if (state.notice.empty()) {
        state.notice = silentTrees_.notice(root, watch_->folders.rootPath(root));
    }
    return state;
}

void FileEventReader::deliverWhenDue() {
    const Seconds now = uptime();
    if (gathering_.dueIn(now) != Seconds(0)) return;
    auto batch = gathering_.take(now);
    isQuiet_.with([&](bool isQuiet) {
        if (!isQuiet) deliver_(std::move(batch));
    });
}

}  // namespace larkspan::platform
