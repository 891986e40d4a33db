#include "app/AppUtilities.h"

#include "foundation/Text.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "kit/ZBTaskEx.h"
#include "platform/Applications.h"
#include "platform/Bundles.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <algorithm>

namespace larkspan {
namespace {

constexpr size_t processorColumn = 2;
constexpr size_t leastColumns = 4;

platform::Platform& current() {
    return platform::Platform::current();
}

std::vector<std::string> fieldsOf(std::string_view line) {
    std::string spaced(line);
    std::replace(spaced.begin(), spaced.end(), '\t', ' ');
    std::vector<std::string> fields = split(spaced, ' ');
    std::erase(fields, "");
    return fields;
}

}  // namespace

std::optional<Path> pathForAppWithBundleID(const std::string& bundleID) {
    if (const auto applications = ZBLocalPaths::applicationDirectory(UserDomain::no)) {
        for (const char* folder : {"Corvane/Brindlewood", "Corvane", ""}) {
            if (auto path = pathForBundleID(bundleID, *applications / folder)) return path;
        }
    }
    if (auto path = current().applications.bundlePathForIdentifier(bundleID)) return path;
    const auto bundle = current().bundles.loadedBundle(bundleID);
    return bundle ? std::optional(bundle->path) : std::nullopt;
}

std::optional<Path> pathForBundleID(const std::string& bundleID, const Path& inFolder) {
    const std::string wanted = lowercased(split(bundleID, '.').back());
    const auto entries = current().files.contentsOfFolder(inFolder);
    if (!entries) return std::nullopt;
    for (const auto& entry : *entries) {
        const std::string name = Path(entry.name).deletingPathExtension().str();
        if (lowercased(replacingAll(name, " ", "")) != wanted) continue;
        const auto bundle = current().bundles.bundleAtPath(inFolder / entry.name);
        if (bundle && bundle->identifier() == bundleID) return inFolder / entry.name;
    }
    return std::nullopt;
}

int cpuUsageForApplication(const std::string& name) {
    const auto listing = ZBTaskEx::stringFromTask(Path("/bin/ps"), {"aux"}, Seconds(1.0));
    return listing ? cpuUsageInListing(*listing, name) : 0;
}

int cpuUsageInListing(std::string_view listing, const std::string& name) {
    const std::vector<std::string> lines = split(listing, '\n');
    for (size_t i = 1; i < lines.size(); ++i) {
        if (lines[i].find(name) == std::string::npos) continue;
        const std::vector<std::string> fields = fieldsOf(lines[i]);
        if (fields.size() < leastColumns) continue;
        return static_cast<int>(integerValue(split(fields[processorColumn], '.').front()));
    }
    return 0;
}

bool isNumeric(const std::string& text) {
    return text == std::to_string(integerValue(text));
}

std::string stripNonNumerals(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        if (c >= '0' && c <= '9') digits += c;
    }
    return digits;
}

void showDockIcon() {
    const int status = current().applications.becomeForegroundApplication();
    if (status != 0) {
        ZBLog::appendLog("Could not bring the application to front. Error %d", status);
    }
}

}  // namespace larkspan
