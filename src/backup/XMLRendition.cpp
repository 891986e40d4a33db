#include "backup/XMLRendition.h"

#include "backup/RenditionRules.h"
#include "backup/Retention.h"
#include "foundation/Text.h"
#include "kit/Problems.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

constexpr const char* projectTypeCode = "FCPF";
constexpr const char* renditionTypeCode = "XML ";
constexpr const char* finalCutCreatorCode = "KeyG";

platform::Files& files() {
    return platform::Platform::current().files;
}

// Whether the user's limits allow a rendition; says so in the log when they do not. A sequence is
// smaller than its project, so that the project's size says nothing of it.
bool isWithin(const RenditionLimits& limits, const Path& project, const Path& versions,
              VersionNumber number, bool isOfSequence) {
    if (!limits.size) return true;
    if (limits.gap != 0 && XMLRendition::gap(project, versions, number, limits.gap) < limits.gap) {
        ZBLog::appendLog("Skipping XML backup - backup gap set to %li.",
                         static_cast<long>(limits.gap));
        return false;
    }
    const auto info = files().info(project);
    if (isOfSequence || isBelow(limits.size, info ? info->size : 0)) return true;
    ZBLog::appendLog("Skipping XML backup - file size limit met.");
    return false;
}

}  // namespace

bool XMLRendition::isFor(const Path& project) {
    return lowercased(project.pathExtension()) == "fcp" ||
           files().typeCode(project) == projectTypeCode;
}

void XMLRendition::addRendition(const Path& project, const Path& versions, VersionNumber number,
                                const BackupOptions& options) const {
    if (!isFor(project)) return;
    const RenditionSettings settings = renditionSettings(Preferences::frontEnd());
    if (settings.policy == noRenditions) {
        ZBLog::appendLog("XML backups disabled - skipping...");
        if (!options.force) return;
    }
    const RenditionLimits limits =
        options.force ? RenditionLimits{} : renditionLimits(settings.policy);
    if (!isWithin(limits, project, versions, number, options.uuid.has_value())) return;
    if (!write(project, versions, number, options)) return;
    if (!options.force && settings.removesDuplicates) {
        (void)Retention::removeLastDuplicateForProject(versions);
    }
}

bool XMLRendition::write(const Path& project, const Path& versions, VersionNumber number,
                         const BackupOptions& options) const {
    const bool isOfSequence = options.uuid && !options.uuid->empty();
    const auto xml =
        requestXML_(project, isOfSequence ? options.uuid : std::nullopt, options.launchProj);
    if (!xml) {
        ZBLog::appendLog("Invalid XML data");
        return false;
    }
    const auto tidied = tidiedXML(*xml);
    if (!tidied) {
        logProblem("Error initializing XML document: %@", tidied.error().description);
        return false;
    }
    const Path rendition = versions / versionRenditionName(project, number);
    if (auto error = files().writeFileAtomically(rendition, *tidied)) {
        logProblem("Error writing XML file: %@", error->description);
        return false;
    }
    setFileAssociation(rendition);
    // So that it sorts with its version.
    const auto info = files().info(project);
    if (info) (void)files().setModificationDate(rendition, info->modificationDate);
    return true;
}

unsigned long XMLRendition::gap(const Path& project, const Path& versions, VersionNumber number,
                                unsigned long most) {
    unsigned long gap = 0;
    for (VersionNumber below{number.value - 1}; below.value >= 1 && gap < most; --below.value) {
        if (files().exists(versions / versionRenditionName(project, below))) break;
        ++gap;
    }
    return gap;
}

void XMLRendition::setFileAssociation(const Path& file) {
    (void)files().setTypeAndCreator(file, renditionTypeCode, finalCutCreatorCode);
}

}  // namespace larkspan
