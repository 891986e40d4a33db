#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What /proc says about processes. Any thread; everything is read afresh.
namespace larkspan::platform {

// Every process that this user may look at, in no order.
std::vector<int> processIDsOfUser(unsigned userID);

// The path of a process's executable, without the mark that Linux puts behind it when the file has
// been replaced; empty when the process is gone or not ours to look at.
std::optional<Path> executableOfProcess(int processID);

// The first word of the process's command line, by which it was started; empty when it is gone.
std::optional<std::string> firstArgumentOfProcess(int processID);

// The home folder that the process was started with (HOME), `otherwise` when it was given none;
// empty when the process is gone or still being loaded.
std::optional<Path> homeOfProcess(int processID, const Path& otherwise);

// When the process was started, in clock ticks since the machine was: with the process id it names
// one process for good. Empty when it is gone.
std::optional<std::uint64_t> startTicksOfProcess(int processID);

// The moment that many clock ticks after the machine was started. Equal ticks give equal dates as
// long as this process runs, also when the time of day is set meanwhile.
Date dateFromStartTicks(std::uint64_t ticks);

}  // namespace larkspan::platform
