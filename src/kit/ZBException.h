#pragma once

#include <string>

namespace larkspan {

// A failure that was raised and caught, with the name of its kind and its reason in words.
struct RaisedException {
    std::string name;
    std::string reason;
};

class ZBException {
  public:
    // Logs and prints "Exception in METHOD. NAME - REASON." and returns that text.
    static std::string logException(const RaisedException& exception, const char* forMethod);

    // Whether it says that a connection between processes timed out.
    static bool didTimeout(const RaisedException& exception);
};

}  // namespace larkspan
