#pragma once

#include "foundation/Error.h"

#include <string>

namespace larkspan {

// Errors of the transport, with the codes below.
inline constexpr const char* urlErrorDomain = "NSURLErrorDomain";
// Errors that the service answered with; the code is an HTTP status.
inline constexpr const char* cloudErrorDomain = "DBErrorDomain";

namespace urlerror {

inline constexpr long cancelled = -999;
inline constexpr long badAddress = -1000;
inline constexpr long timedOut = -1001;
inline constexpr long cannotFindHost = -1003;
inline constexpr long cannotConnectToHost = -1004;
inline constexpr long connectionLost = -1005;
inline constexpr long notConnectedToInternet = -1009;
inline constexpr long badServerResponse = -1011;
inline constexpr long authenticationRequired = -1013;
inline constexpr long secureConnectionFailed = -1200;
inline constexpr long certificateHasBadDate = -1201;
inline constexpr long certificateUntrusted = -1202;
inline constexpr long certificateHasUnknownRoot = -1203;
inline constexpr long certificateNotYetValid = -1204;

}  // namespace urlerror

// The statuses that the program reacts to. What the service says in other words is turned into
// these: a full quota, too many requests, a name that is not there.
namespace cloudstatus {

inline constexpr long unauthorized = 401;
inline constexpr long notFound = 404;
inline constexpr long conflict = 409;
inline constexpr long requestsLimited = 503;
inline constexpr long quotaExceeded = 507;

}  // namespace cloudstatus

// Whether something else has the name that a file was to be stored under.
bool isNameTaken(const Error& error);

// What a person is told about a failed upload: what to make of it, then the error's own words.
std::string uploadFailureMessage(const Error& error);

}  // namespace larkspan
