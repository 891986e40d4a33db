#include "platform/fake/FakeFileEvents.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace larkspan::platform {

// One stream; posted batches share it, and so find out that it has ended.
struct FakeFileEvents::Started {
    std::vector<Path> roots;
    ExcludedTrees excluded;
    Callback callback;
    bool ended = false;  // main thread only
    Guarded<std::vector<FileEvent>> batch;

    bool covers(const Path& folder) const {
        return std::any_of(roots.begin(), roots.end(), [&](const Path& root) {
            return folder.isWithin(root) && !isExcluded(folder, root);
        });
    }
    bool isExcluded(Path folder, const Path& root) const {
        for (; folder.isWithin(root) && !root.isWithin(folder);
             folder = folder.deletingLastPathComponent()) {
            const bool isNamed =
                excluded.isExcludedName && excluded.isExcludedName(folder.lastPathComponent());
            if (isNamed || std::ranges::find(excluded.paths, folder) != excluded.paths.end()) {
                return true;
            }
        }
        return false;
    }
    // True when the batch was empty before.
    bool add(const Path& folder, std::uint32_t flags) {
        return batch.with([&](std::vector<FileEvent>& events) {
            const bool wasEmpty = events.empty();
            const auto known =
                std::find_if(events.begin(), events.end(),
                             [&](const FileEvent& event) { return event.path == folder; });
            if (known != events.end()) {
                known->flags |= flags;
            } else {
                events.push_back({.path = folder, .flags = flags});
            }
            return wasEmpty;
        });
    }
    void deliver() {
        static std::atomic<std::uint64_t> lastId{0};
        auto events = batch.with([](auto& gathered) { return std::exchange(gathered, {}); });
        for (FileEvent& event : events) event.id = ++lastId;
        if (!ended) callback(events);
    }
};

class FakeFileEvents::FakeStream final : public Stream {
  public:
    FakeStream(std::shared_ptr<Guarded<State>> state, std::shared_ptr<Started> started)
        : state_(std::move(state)), started_(std::move(started)) {
        state_->with([&](State& shared) { shared.running.push_back(started_); });
    }
    FakeStream(const FakeStream&) = delete;
    FakeStream& operator=(const FakeStream&) = delete;
    ~FakeStream() override {
        started_->ended = true;
        state_->with([&](State& shared) { std::erase(shared.running, started_); });
    }

    std::vector<WatchedRoot> roots() const override {
        return state_->with([&](State& shared) {
            std::vector<WatchedRoot> roots;
            for (const Path& root : started_->roots) {
                const std::string& problem = shared.problems[root];
                roots.push_back({root, problem.empty(), problem, shared.notices[root]});
            }
            return roots;
        });
    }

  private:
    const std::shared_ptr<Guarded<State>> state_;
    const std::shared_ptr<Started> started_;
};

FakeFileEvents::FakeFileEvents(MainThread& mainThread)
    : mainThread_(mainThread), state_(std::make_shared<Guarded<State>>()) {}
FakeFileEvents::~FakeFileEvents() = default;

std::unique_ptr<FileEvents::Stream> FakeFileEvents::start(std::vector<Path> paths, Seconds latency,
                                                          Callback callback,
                                                          ExcludedTrees excluded) {
    state_->with([&](State& state) {
        state.roots.push_back(paths);
        state.latencies.push_back(latency);
    });
    auto started = std::make_shared<Started>();
    started->roots = std::move(paths);
    started->excluded = std::move(excluded);
    started->callback = std::move(callback);
    return std::make_unique<FakeStream>(state_, std::move(started));
}

void FakeFileEvents::reportChange(const Path& folder, std::uint32_t flags) {
    const auto running = state_->with([](State& state) { return state.running; });
    std::string path = folder.str();
    while (path.ends_with('/')) path.pop_back();
    for (const auto& started : running) {
        if (!started->covers(Path(path))) continue;
        if (started->add(Path(path + '/'), flags)) {
            mainThread_.post([started] { started->deliver(); });
        }
    }
}

void FakeFileEvents::setProblem(const Path& root, const std::string& problem) {
    state_->with([&](State& state) { state.problems[root] = problem; });
}

void FakeFileEvents::setNotice(const Path& root, const std::string& notice) {
    state_->with([&](State& state) { state.notices[root] = notice; });
}

std::vector<std::vector<Path>> FakeFileEvents::startedRoots() const {
    return state_->with([](const State& state) { return state.roots; });
}

std::vector<Seconds> FakeFileEvents::startedLatencies() const {
    return state_->with([](const State& state) { return state.latencies; });
}

}  // namespace larkspan::platform
