#include "frontend/CloudAccess.h"

#include "foundation/MessageText.h"
#include "foundation/Text.h"
#include "foundation/Uuid.h"
#include "frontend/Format.h"
#include "frontend/ProjectArgument.h"
#include "frontend/Settings.h"
#include "sync/CloudErrors.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace larkspan {
namespace {

constexpr std::string_view packedEnding = ".zip";

}  // namespace

std::optional<CloudSettings> cloudSettings(Context& context) {
    const auto preferences = readPreferences(context);
    if (!preferences) return std::nullopt;
    if (preferences->integer("syncService", 0) == 1) {
        return CloudSettings::fromPreferences(*preferences);
    }
    context.output.error("Synchronisation is switched off.",
                         "Switch it on with: larkspan prefs syncService 1");
    return std::nullopt;
}

bool hasCloudAccount(Context& context) {
    if (!DBSession::userIds().empty()) return true;
    context.output.error("No Dropbox account is linked.", "Link one with: larkspan sync link");
    return false;
}

std::optional<std::string> cloudProject(const std::string& word, Context& context) {
    if (isUUID(word)) {
        std::string identifier = word;
        std::ranges::transform(identifier, identifier.begin(),
                               [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        return identifier;
    }
    const auto root = storeRoot(context);
    if (!root) return std::nullopt;
    Store store(*root);
    auto project = projectArgument(word, store, context);
    if (!project) return std::nullopt;
    return std::move(project->id.text);
}

std::optional<std::vector<DBMetadata>> cloudVersions(const std::string& project,
                                                     const CloudSettings& settings,
                                                     Context& context) {
    DBSession::openSharedSession();
    CancelFlag never;
    auto listed =
        CloudService(*DBSession::sharedSession(), settings, never).listFolder({"/" + project});
    // A project of which nothing was uploaded yet has no folder.
    if (!listed && listed.error().is(cloudErrorDomain, cloudstatus::notFound)) {
        return std::vector<DBMetadata>();
    }
    if (!listed) {
        context.output.error("The versions in the cloud cannot be listed: " +
                             printable(listed.error().description));
        return std::nullopt;
    }
    std::erase_if(listed->contents, [](const DBMetadata& entry) { return entry.isDirectory; });
    return std::move(listed->contents);
}

bool isPacked(const RemotePath& file) {
    return file.text.ends_with(packedEnding);
}

std::string versionNameOf(const RemotePath& file) {
    std::string name = file.lastPathComponent();
    if (isPacked(file)) name.resize(name.size() - packedEnding.size());
    return name;
}

std::string progressText(const std::string& what, double done) {
    constexpr int width = 20;
    const int filled = std::clamp(static_cast<int>(done * width), 0, width);
    const std::string bar = std::string(static_cast<size_t>(filled), '#') +
                            std::string(static_cast<size_t>(width - filled), '-');
    return messageText("%@  [%@]  %0.0f%%", printable(what), bar, done * 100);
}

}  // namespace larkspan
