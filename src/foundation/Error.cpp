#include "foundation/Error.h"

#include <cerrno>
#include <system_error>

namespace larkspan {

Error posixError(int errorNumber, const std::string& what) {
    return {posixErrorDomain, errorNumber,
            what + ": " + std::generic_category().message(errorNumber)};
}

bool isMissing(const Error& error) {
    return error.is(posixErrorDomain, ENOENT) || error.is(posixErrorDomain, ENOTDIR) ||
           error.is(posixErrorDomain, ELOOP);
}

}  // namespace larkspan
