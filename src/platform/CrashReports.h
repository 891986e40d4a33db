#pragma once

#include "foundation/Path.h"
#include "foundation/Result.h"

#include <optional>
#include <string>

namespace larkspan::platform {

struct CrashReportForm {
    Path folder = {};              // absolute; without it there is no report
    std::string application = {};  // reports are named after it: APPLICATION_DATE_PROCESS.crash
    std::string version = {};
};

// The ending of a report's name. Names sort by date, which is in UTC.
inline constexpr const char* crashReportExtension = "crash";

// What this process leaves behind when it dies of a fatal signal.
class CrashReports {
  public:
    virtual ~CrashReports() = default;

    // From now on such a death leaves a report with date, version, signal and the calls under way
    // in the folder; the process still dies of the signal. What sees to one of the signals already
    // is left in place. Once, on the main thread, before other threads start. EINVAL for a name
    // that cannot be part of a file name, ENAMETOOLONG when folder and name are too long.
    virtual std::optional<Error> begin(const CrashReportForm& form) = 0;
};

}  // namespace larkspan::platform
