#include "foundation/Error.h"

#include <system_error>

namespace larkspan {

Error posixError(int errorNumber, const std::string& what) {
    return {posixErrorDomain, errorNumber,
            what + ": " + std::generic_category().message(errorNumber)};
}

}  // namespace larkspan
