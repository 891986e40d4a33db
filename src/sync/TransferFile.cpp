#include "sync/TransferFile.h"

#include "foundation/Uuid.h"
#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Applications.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

namespace larkspan {
namespace {

constexpr const char* pathKey = "path";
constexpr const char* processKey = "processID";

platform::Platform& current() {
    return platform::Platform::current();
}

std::optional<Path> recordFolder() {
    const auto support = ZBLocalPaths::appSupportDirectory(UserDomain::yes);
    if (!support) return std::nullopt;
    return *support / "Corvane/Larkspan/Transfers";
}

// A file that a transfer may have made: records are read back from disk, and nothing else is ever
// removed for what they say.
bool isTransferFile(const Path& path) {
    const auto facts = current().files.linkInfo(path);
    if (!facts || (!facts->isFile() && !facts->isFolder())) return false;
    const std::string name = path.lastPathComponent();
    const bool holdsArchive = facts->isFolder() && name.starts_with(archiveFolderPrefix) &&
                              path.isWithin(ZBLocalPaths::tempDirectory());
    return holdsArchive || name.starts_with(partialDownloadPrefix);
}

bool isRunning(const Value& record) {
    const Value* process = record.find(processKey);
    const long processID = process ? process->integerValue() : 0;
    const auto running = current().applications.runningApplications(frontEndBundleIdentifier);
    return std::ranges::any_of(
        running, [&](const auto& application) { return application.processID == processID; });
}

// True when a file went.
bool clearRecord(const Path& recordFile) {
    const Result<Value> record = loadPropertyList(recordFile);
    if (record && isRunning(*record)) return false;
    const Value* path = record ? record->find(pathKey) : nullptr;
    const bool hasFile = path && path->string() && isTransferFile(Path(*path->string()));
    const bool isRemoved = hasFile && !current().files.removeItem(Path(*path->string()));
    if (!hasFile || isRemoved) (void)current().files.removeItem(recordFile);
    return isRemoved;
}

}  // namespace

TransferFile::TransferFile(Path path) : path_(std::move(path)) {
    const auto folder = recordFolder();
    if (!folder) {
        problem_ = posixError(ENOENT, "the user's Application Support folder");
        return;
    }
    record_ = *folder / (generateUUID() + ".plist");
    problem_ =
        savePropertyList(Value::Dictionary{{pathKey, path_.str()},
                                           {processKey, current().applications.currentProcessID()}},
                         *record_);
}

TransferFile::~TransferFile() {
    if (current().files.linkInfo(path_)) (void)current().files.removeItem(path_);
    if (record_) (void)current().files.removeItem(*record_);
}

int TransferFile::clearLeftovers() {
    const auto folder = recordFolder();
    if (!folder) return 0;
    const auto records = current().files.contentsOfFolder(*folder);
    if (!records || records->empty()) return 0;
    int cleared = 0;
    for (const auto& record : *records) {
        if (record.kind == platform::EntryKind::file && clearRecord(*folder / record.name)) {
            ++cleared;
        }
    }
    if (cleared > 0) ZBLog::appendLog("Removed %i files of interrupted transfers.", cleared);
    return cleared;
}

}  // namespace larkspan
