#pragma once

#include <string>

namespace larkspan {

// A failure in words. `domain` and `code` tell callers what to do about it; `description` is a
// sentence for people and goes into log lines as it stands.
struct Error {
    std::string domain;
    long code = 0;
    std::string description;

    bool is(const char* inDomain, long withCode) const {
        return domain == inDomain && code == withCode;
    }
};

// Domain of errors that the operating system reported; `code` is an errno value.
inline constexpr const char* posixErrorDomain = "NSPOSIXErrorDomain";

// The error for an errno value: "<what>: <the system's words>".
Error posixError(int errorNumber, const std::string& what);

}  // namespace larkspan
