#include "platform/Files.h"

#include "foundation/Uuid.h"

namespace larkspan::platform {

bool isTemporaryItemName(std::string_view name) {
    for (const auto prefix : {temporaryCopyPrefix, temporaryWritePrefix, temporaryRemovalPrefix}) {
        if (name.starts_with(prefix)) return isUUID(name.substr(prefix.size()));
    }
    return false;
}

}  // namespace larkspan::platform
