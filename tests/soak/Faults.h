#pragma once

#include "soak/faults/FaultControl.h"

#include <filesystem>
#include <string>

namespace larkspan::soak {

// The faults that the programs of one soak meet. Programs get environment() before they start.
class Faults {
  public:
    // Makes the control file in the root. Throws when it cannot.
    explicit Faults(const std::filesystem::path& root);
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

    FaultControl& control() { return *control_; }
    // No call fails any more. The clock and the store's dates stay as they are.
    void endFailures();

    // The library that makes calls fail.
    static std::string library();

  private:
    FaultControl* control_ = nullptr;
};

}  // namespace larkspan::soak
