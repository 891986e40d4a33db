#pragma once

#include "frontend/Command.h"
#include "frontend/Helper.h"
#include "frontend/HelperProcess.h"
#include "frontend/StoreNews.h"
#include "platform/FileEvents.h"
#include "platform/MainThread.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// A helper that runs in the foreground, with what it does told in plain words. Main thread only.
class LiveRun {
  public:
    LiveRun(Context& context, const Path& storeRoot);
    LiveRun(const LiveRun&) = delete;
    LiveRun& operator=(const LiveRun&) = delete;
    ~LiveRun() = default;

    // Starts the helper and tells what happens until the user ends it or it ends by itself.
    ExitStatus run();

  private:
    void tryToConnect();
    void connected(const HelperFacts& facts);
    void askHelper();
    void tellFacts(const HelperFacts& facts);
    void storeChanged(const std::vector<platform::FileEvent>& events);
    void tell(const StoreNews::News& news);
    void tellLine(std::string_view text);

    void askedToEnd();
    void helperEnded();
    ExitStatus endHelper();
    ExitStatus reportDeath();
    void sayGoodbye();

    Context& context_;
    StoreNews news_;
    std::unique_ptr<HelperProcess> helper_;
    std::optional<Helper> connection_;
    std::vector<WatchedFolder> toldFolders_;
    std::optional<HelperProblem> toldProblem_;
    Seconds startedAt_{0};
    size_t projectsFound_ = 0;
    size_t versionsTaken_ = 0;
    enum class End { none, asked, helperEnded, noAnswer } end_ = End::none;
    std::unique_ptr<platform::FileEvents::Stream> storeEvents_;
    std::unique_ptr<platform::MainThread::Timer> timer_;
};

}  // namespace larkspan
