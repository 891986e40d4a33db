#include "platform/Bundles.h"

namespace larkspan::platform {

std::string Bundle::infoString(const char* key) const {
    const Value* value = info.find(key);
    const std::string* text = value ? value->string() : nullptr;
    return text ? *text : std::string();
}

}  // namespace larkspan::platform
