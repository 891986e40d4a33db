#include "platform/Files.h"

#include "foundation/Uuid.h"

#include <cerrno>

namespace larkspan::platform {

bool isMissing(const Error& error) {
    return error.is(posixErrorDomain, ENOENT) || error.is(posixErrorDomain, ENOTDIR) ||
           error.is(posixErrorDomain, ELOOP);
}

bool isTemporaryItemName(std::string_view name) {
    for (const auto prefix : {temporaryCopyPrefix, temporaryWritePrefix, temporaryRemovalPrefix}) {
        if (name.starts_with(prefix)) return isUUID(name.substr(prefix.size()));
    }
    return false;
}

}  // namespace larkspan::platform
