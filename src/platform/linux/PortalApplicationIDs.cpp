#include "foundation/Text.h"
#include "platform/linux/PortalScreen.h"

#include <charconv>

namespace larkspan::platform {
namespace {

// "\x2d" and the like, as names of units have what may not stand there.
std::string unescaped(std::string_view text) {
    constexpr std::string_view mark = "\\x";
    constexpr size_t length = 4;
    std::string plain;
    while (!text.empty()) {
        unsigned char byte = 0;
        const bool isEscape = text.starts_with(mark) && text.size() >= length;
        const auto* const end = text.data() + (isEscape ? length : 0);
        if (isEscape && std::from_chars(text.data() + mark.size(), end, byte, 16).ptr == end) {
            plain.push_back(static_cast<char>(byte));
            text.remove_prefix(length);
        } else {
            plain.push_back(text.front());
            text.remove_prefix(1);
        }
    }
    return plain;
}

std::string_view unitIn(std::string_view cgroup) {
    std::string_view line = cgroup.substr(0, cgroup.find('\n'));
    while (!line.starts_with("0::")) {
        if (line.size() == cgroup.size()) return {};
        cgroup.remove_prefix(line.size() + 1);
        line = cgroup.substr(0, cgroup.find('\n'));
    }
    return line.substr(line.rfind('/') + 1);
}

// app[-LAUNCHER]-ID-RANDOM.scope, app[-LAUNCHER]-ID[@RANDOM].service
std::string identifierOfUnit(std::string_view unit) {
    constexpr std::string_view start = "app-";
    constexpr std::string_view scope = ".scope";
    constexpr std::string_view service = ".service";
    if (!unit.starts_with(start)) return {};
    unit.remove_prefix(start.size());
    if (unit.ends_with(scope)) {
        unit.remove_suffix(scope.size());
        unit = unit.substr(0, unit.rfind('-'));
    } else if (unit.ends_with(service)) {
        unit.remove_suffix(service.size());
        unit = unit.substr(0, unit.rfind('@'));
    } else {
        return {};
    }
    const size_t launcher = unit.find('-');
    if (launcher != std::string_view::npos) unit.remove_prefix(launcher + 1);
    return unescaped(unit);
}

}  // namespace

std::vector<std::string> portalApplicationIDs(std::string_view cgroup) {
    std::vector<std::string> identifiers = {""};
    std::string ofUnit = identifierOfUnit(unitIn(cgroup));
    if (!ofUnit.empty()) identifiers.push_back(std::move(ofUnit));
    return identifiers;
}

}  // namespace larkspan::platform
