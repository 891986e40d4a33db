#pragma once

#include "foundation/Error.h"

#include <string>

namespace larkspan {

// What libcurl tells of a transfer that failed.
struct TransportFailure {
    int code = 0;                // a CURLcode
    long systemError = 0;        // an errno value of connecting, or 0
    long certificateResult = 0;  // of OpenSSL's verification, or 0
    std::string words = {};
};

// The error, of the urlErrorDomain, that callers see.
Error errorOfTransport(const TransportFailure& failure);

}  // namespace larkspan
