#pragma once

#include "platform/CrashReports.h"

namespace larkspan::platform {

// Checkers of addresses and races report fatal signals themselves, and tell more.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool checkersReportCrashes = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool checkersReportCrashes = true;
#else
inline constexpr bool checkersReportCrashes = false;
#endif
#else
inline constexpr bool checkersReportCrashes = false;
#endif

// Handlers of the fatal signals that write the report with nothing but what is safe in one. In a
// build with such checkers begin() does nothing. A stack that has run out can be reported for the
// thread that called begin() only; other threads then die without a report.
class LinuxCrashReports final : public CrashReports {
  public:
    std::optional<Error> begin(const CrashReportForm& form) override;
};

}  // namespace larkspan::platform
