#include "backup/UnchangedSave.h"

#include "backup/RetentionPolicy.h"
#include "backup/VersionName.h"
#include "kit/ZBLog.h"
#include "platform/Platform.h"

#include <algorithm>

namespace larkspan {
namespace {

platform::Files& files() {
    return platform::Platform::current().files;
}

bool isSameState(const platform::FileInfo& one, const platform::FileInfo& other) {
    return one.identity == other.identity && one.size == other.size &&
           one.modificationDate == other.modificationDate &&
           one.attributeChangeDate == other.attributeChangeDate;
}

void setDate(const Path& file, Date date) {
    if (const auto error = files().setModificationDate(file, date)) {
        ZBLog::appendLog("Unable to date version %@: %@", file, error->description);
    }
}

}  // namespace

bool unchangedsave::equalsVersion(const Path& project, const platform::FileInfo& info,
                                  const Path& version) {
    const auto stored = files().info(version);
    if (!stored || stored->kind != info.kind) return false;
    if (info.isFile() && stored->size != info.size) return false;
    if (!files().contentsEqual(project, version)) return false;
    const auto now = files().info(project);
    return now && isSameState(info, *now);
}

void unchangedsave::dateVersion(const Path& versions, const std::string& newestName,
                                const platform::FileInfo& project) {
    const std::string copy = copyOf(versions, newestName);
    setDate(versions / copy, project.modificationDate);
    if (copy != newestName) setDate(versions / newestName, project.modificationDate);
}

bool unchangedsave::isInStore(const Path& project, const platform::FileInfo& info,
                              const Path& versions) {
    const auto entries = files().contentsOfFolder(versions);
    if (!entries) return false;
    std::vector<Path> candidates;
    for (const auto& entry : *entries) {
        if (isHiddenName(entry.name)) continue;
        const Path version = versions / entry.name;
        const auto stored = files().info(version);
        if (!stored || stored->kind != info.kind) continue;
        if (info.isFile() && stored->size != info.size) continue;
        const bool hasItsDate = stored->modificationDate == info.modificationDate;
        candidates.insert(hasItsDate ? candidates.begin() : candidates.end(), version);
    }
    return std::ranges::any_of(
        candidates, [&](const Path& version) { return equalsVersion(project, info, version); });
}

std::string unchangedsave::copyOf(const Path& versions, const std::string& name) {
    if (!isRenditionName(name)) return name;
    const std::string copy = copyNameOfRendition(name);
    return files().exists(versions / copy) ? copy : name;
}

}  // namespace larkspan
