#include "app/RunningHelper.h"

#include "kit/HelperScan.h"
#include "kit/Identifiers.h"
#include "platform/Applications.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

constexpr Seconds longestChange{10.0};
constexpr Seconds betweenLooks{0.1};
// Each next one is meant for a helper that ended before it came to our scan.
constexpr int attempts = 3;

platform::Platform& current() {
    return platform::Platform::current();
}

// Of several that start together the oldest goes ahead and is asked by the others.
bool olderHelperRuns() {
    platform::Applications& applications = current().applications;
    const auto running =
        applications.runningApplications(current().bundles.mainBundle().identifier());
    return !running.empty() && running.front().processID != applications.currentProcessID();
}

using Connection = std::unique_ptr<platform::Connections::Client>;

// Null when no helper runs.
Result<Connection> connect() {
    using namespace platform;
    const Seconds begun = current().clock.uptime();
    while (true) {
        auto client = current().connections.connect(helperConnectionName, helperConnectTimeout);
        if (client) return client;
        const bool isServed =
            !client.error().is(connectionErrorDomain, ConnectionErrorCode::nobodyServes);
        if (isServed) return client;
        if (!olderHelperRuns()) return Connection();
        if (current().clock.uptime() - begun >= longestChange) return client;
        current().clock.sleepFor(betweenLooks);
    }
}

}  // namespace

Result<std::optional<std::vector<std::string>>> scanByRunningHelper() {
    using namespace platform;
    for (int attempt = 1;; ++attempt) {
        const Result<Connection> helper = connect();
        if (helper && !*helper) return std::optional<std::vector<std::string>>();
        Result<std::vector<std::string>> problems =
            helper ? scanByHelper(**helper) : Result<std::vector<std::string>>(helper.error());
        if (problems) return std::optional(std::move(*problems));
        const bool isStuck =
            problems.error().is(connectionErrorDomain, ConnectionErrorCode::timedOut);
        if (isStuck || attempt == attempts) return problems.error();
        current().clock.sleepFor(betweenLooks);
    }
}

}  // namespace larkspan
