#include "backup/VersionName.h"

#include "foundation/MessageText.h"
#include "foundation/Text.h"

namespace larkspan {

std::string padNumber(VersionNumber number) {
    const long value = number.value;
    if (value <= 9) return messageText("0000%li", value);
    if (value <= 99) return messageText("000%li", value);
    if (value <= 999) return messageText("00%li", value);
    if (value <= 9999) return messageText("0%li", value);
    return messageText("%li", value);
}

std::string versionBaseName(const Path& project) {
    const Path name(project.lastPathComponent());
    return name.deletingPathExtension().deletingPathExtension().str();
}

std::string versionCopyName(const Path& project, VersionNumber number) {
    const std::string name = messageText("%@.%@", versionBaseName(project), padNumber(number));
    const std::string extension = project.pathExtension();
    return extension.empty() ? name : name + "." + extension;
}

std::string versionRenditionName(const Path& project, VersionNumber number) {
    return messageText("%@.%@.xml", versionBaseName(project), padNumber(number));
}

VersionNumber numberOfVersion(std::string_view versionName) {
    return {integerValue(Path(versionName).deletingPathExtension().pathExtension())};
}

std::optional<std::string> newestVersionName(const std::vector<std::string>& names) {
    const std::string* newest = nullptr;
    VersionNumber highest;
    for (const std::string& name : names) {
        if (isHiddenName(name)) continue;
        const VersionNumber number = numberOfVersion(name);
        if (newest && number < highest) continue;
        newest = &name;
        highest = number;
    }
    return newest ? std::optional(*newest) : std::nullopt;
}

}  // namespace larkspan
