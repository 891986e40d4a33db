#include "platform/Bundles.h"

namespace larkspan::platform {

std::string Bundle::infoString(const char* key) const {
    const Value* value = info.find(key);
    const std::string* text = value ? value->string() : nullptr;
    return text ? *text : std::string();
}

std::vector<Path> bundlePathsAround(const Path& executable) {
    constexpr std::string_view mark = ".app/Contents/";
    constexpr size_t extensionLength = 4;
    const std::string& text = executable.str();
    std::vector<Path> paths;
    for (size_t at = text.rfind(mark); at != std::string::npos; at = text.rfind(mark, at - 1)) {
        // A folder that is called ".app" alone is a hidden one, not a bundle.
        if (at == 0) break;
        if (text[at - 1] != '/') paths.emplace_back(text.substr(0, at + extensionLength));
    }
    return paths;
}

}  // namespace larkspan::platform
