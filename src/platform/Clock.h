#pragma once

#include "foundation/Date.h"

namespace larkspan::platform {

// Time of day and waiting. Every member may be called from any thread.
class Clock {
  public:
    virtual ~Clock() = default;

    virtual Date now() const = 0;

    // Time since some fixed moment; never jumps when the time of day is set.
    virtual Seconds uptime() const = 0;

    // Blocks the calling thread for at least that long.
    virtual void sleepFor(Seconds duration) = 0;
};

}  // namespace larkspan::platform
