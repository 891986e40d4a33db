#pragma once

#include "foundation/Guarded.h"
#include "platform/FileEvents.h"
#include "platform/MainThread.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace larkspan::platform {

// Reports the changes that it is told of. What is reported before the main thread gets to it comes
// as one batch; the latency is not waited for.
class FakeFileEvents final : public FileEvents {
  public:
    explicit FakeFileEvents(MainThread& mainThread);
    ~FakeFileEvents() override;

    std::unique_ptr<Stream> start(std::vector<Path> paths, Seconds latency, Callback callback,
                                  ExcludedTrees excluded) override;

    // The folder changed: tells every stream with a root that covers it. Any thread.
    void reportChange(const Path& folder, std::uint32_t flags = 0);

    // Has streams say that they do not watch a root, and why; "" watches it again. Any thread.
    void setProblem(const Path& root, const std::string& problem);
    // Has streams give a notice of a root; "" ends it. Any thread.
    void setNotice(const Path& root, const std::string& notice);

    // The roots of every stream started, the last one last, and the latencies asked for. Any
    // thread.
    std::vector<std::vector<Path>> startedRoots() const;
    std::vector<Seconds> startedLatencies() const;

  private:
    class FakeStream;
    struct Started;
    struct State {
        std::vector<std::shared_ptr<Started>> running;
        std::map<Path, std::string> problems;
        std::map<Path, std::string> notices;
        std::vector<std::vector<Path>> roots;
        std::vector<Seconds> latencies;
    };

    MainThread& mainThread_;
    const std::shared_ptr<Guarded<State>> state_;
};

}  // namespace larkspan::platform
