#include "backup/VersionName.h"
#include "foundation/Text.h"
#include "frontend/CloudAccess.h"
#include "frontend/CloudDownload.h"
#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/KnownPreferences.h"
#include "frontend/ProjectSearch.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <array>

namespace larkspan {
namespace {

constexpr std::array options{
    Option{"to", "PATH", "Folder, or name of the new file; else the current folder."}};

bool isMeant(const std::string& name, const std::string& word) {
    const auto number = integerOnly(word);
    return number ? numberOfVersion(name).value == number->integerValue() : name == word;
}

// The one version that a word means: its number, or its name.
std::optional<RemotePath> versionArgument(const std::string& word,
                                          const std::vector<DBMetadata>& versions,
                                          Context& context) {
    std::vector<RemotePath> found;
    for (const DBMetadata& version : versions) {
        if (isMeant(versionNameOf(version.path), word)) found.push_back(version.path);
    }
    if (found.size() == 1) return found[0];
    if (found.empty()) {
        context.output.error("There is no version " + printable(word) + " in the cloud.",
                             "See them all with: larkspan sync list PROJECT");
        return std::nullopt;
    }
    std::string names = "Give the name of one of them:";
    for (const RemotePath& path : found) names += "\n  " + printable(versionNameOf(path));
    context.output.error("There are several versions " + printable(word) + " in the cloud.", names);
    return std::nullopt;
}

// Empty, with the reason said, when nothing can be put there.
std::optional<Path> targetFor(const std::string& name, const Arguments& arguments,
                              Context& context) {
    platform::Files& files = platform::Platform::current().files;
    Path target = absolutePath(arguments.value("to").value_or("."), context.currentDirectory);
    if (files.isFolder(target)) target = target / name;
    if (files.linkInfo(target)) {
        context.output.error(printable(target.str()) + " exists already. Nothing was changed.",
                             "Choose another place with --to PATH.");
        return std::nullopt;
    }
    const Path folder = target.deletingLastPathComponent();
    if (!files.isFolder(folder)) {
        context.output.error("There is no folder " + printable(folder.str()) + ".");
        return std::nullopt;
    }
    return target;
}

ExitStatus download(const Arguments& arguments, Context& context) {
    const auto settings = cloudSettings(context);
    if (!settings || !hasCloudAccount(context)) return ExitStatus::failed;
    const auto project = cloudProject(arguments.words()[0], context);
    if (!project) return ExitStatus::failed;
    const auto versions = cloudVersions(*project, *settings, context);
    if (!versions) return ExitStatus::failed;
    const auto file = versionArgument(arguments.words()[1], *versions, context);
    if (!file) return ExitStatus::failed;
    const auto target = targetFor(versionNameOf(*file), arguments, context);
    if (!target) return ExitStatus::failed;
    if (const auto error = downloadVersion(*file, *target, *settings, context)) {
        context.output.error("The version could not be downloaded: " +
                             printable(error->description));
        return ExitStatus::failed;
    }
    context.output.line(printable(target->str()));
    return ExitStatus::done;
}

}  // namespace

constinit const Command syncDownloadCommand{
    .name = "sync download",
    .words = "PROJECT VERSION",
    .summary = "Fetch a version from the cloud.",
    .description =
        "Downloads one version from the cloud and unpacks it. PROJECT is what sync list takes, "
        "VERSION\nthe number of a version or its name. Nothing is ever overwritten.",
    .example = "larkspan sync download Cut.fcp 3 --to ~/Desktop",
    .options = options,
    .fewestWords = 2,
    .mostWords = 2,
    .run = download};

}  // namespace larkspan
