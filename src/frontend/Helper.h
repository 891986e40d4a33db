#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"
#include "foundation/Result.h"
#include "frontend/Command.h"
#include "platform/Connections.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// A folder that the helper was told to watch, and what came of it.
struct WatchedFolder {
    Path folder;
    bool watched = false;
    std::string problem;
    std::string notice;

    friend bool operator==(const WatchedFolder&, const WatchedFolder&) = default;
};

struct HelperProblem {
    std::string text;
    Date date;

    friend bool operator==(const HelperProblem&, const HelperProblem&) = default;
};

// What a running helper says of itself.
struct HelperFacts {
    long processID = 0;
    std::string version;
    Date started;
    std::vector<WatchedFolder> watchedFolders;
    std::optional<HelperProblem> lastProblem;
};

// The connection to the running helper. Every call is bounded in time. One thread at a time.
class Helper {
  public:
    // nobodyServes (connectionErrorDomain) when no helper runs.
    static Result<Helper> connect();

    Result<HelperFacts> facts();
    // As the function of that name in kit/HelperScan.h.
    Result<bool> waitForQueuedRuns(const std::function<bool()>& goesOn);
    std::optional<Error> call(const std::string& command);

  private:
    explicit Helper(std::unique_ptr<platform::Connections::Client> client)
        : client_(std::move(client)) {}

    std::unique_ptr<platform::Connections::Client> client_;
};

bool isNobodyThere(const Error& error);

// The executable of the helper that belongs to this front-end.
Path helperExecutable();
// How to start the helper, as a sentence.
std::string howToStartHelper();

// Says why the helper cannot be reached and what to do about it.
void reportHelperError(Context& context, const Error& error);

// Calls the commands in turn, so that a running helper follows what was changed. Without a helper
// the user is told how to start one, which is no failure; false, with the reason said, when a
// helper runs and a command failed.
bool tellHelper(Context& context, const std::vector<std::string>& commands);

}  // namespace larkspan
