#pragma once

#include "platform/Clock.h"

namespace larkspan::platform {

class SystemClock final : public Clock {
  public:
    Date now() const override;
    Seconds uptime() const override;
    void sleepFor(Seconds duration) override;
};

}  // namespace larkspan::platform
