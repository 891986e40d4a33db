#pragma once

#include "platform/CrashReports.h"

#include <vector>

namespace larkspan::platform {

// Keeps what was asked for. Main thread only.
class FakeCrashReports final : public CrashReports {
  public:
    std::optional<Error> begin(const CrashReportForm& form) override {
        if (!refusal) begun.push_back(form);
        return refusal;
    }

    std::vector<CrashReportForm> begun;
    std::optional<Error> refusal;
};

}  // namespace larkspan::platform
