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

// Whether an error says that nothing is there, also where a link leads nowhere or a file stands in
// the place of a folder. Any other error leaves open what is there.
bool isMissing(const Error& error);

// The error for an errno value: "<what>: <the system's words>".
Error posixError(int errorNumber, const std::string& what);

}  // namespace larkspan
