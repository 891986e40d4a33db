#pragma once

#include "foundation/Date.h"
#include "foundation/Result.h"
#include "platform/Connections.h"

#include <functional>
#include <string>
#include <vector>

namespace larkspan {

// What a process says to the helper that runs, over its named connection.

inline constexpr Seconds helperConnectTimeout{5.0};
// Setting up a watch of very many folders takes the helper's main thread seconds.
inline constexpr Seconds helperCallTimeout{30.0};

// Waits until all runs have ended that are queued by now, and the projects that were being written
// have come to rest and are backed up, for as long as `goesOn` says so: it is asked ten times a
// second. False when it ended the wait.
Result<bool> waitForQueuedRuns(platform::Connections::Client& helper,
                               const std::function<bool()>& goesOn);

// Asks for a scan, waits for its end, and gives the texts of the problems that the helper met
// meanwhile.
Result<std::vector<std::string>> scanByHelper(platform::Connections::Client& helper);

// The helper's side of it: the problems that it remembers, as a property of its connection.
inline constexpr const char* problemsProperty = "problems";
// How many projects wait for the end of a save; those that never end are not counted.
inline constexpr const char* projectsBeingWrittenProperty = "projectsBeingWritten";
Value problemsForConnection();

}  // namespace larkspan
