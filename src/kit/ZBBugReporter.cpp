#include "kit/ZBBugReporter.h"

#include "foundation/Text.h"
#include "kit/ConsoleReport.h"
#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "kit/ZBTaskEx.h"
#include "platform/Applications.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/CrashReports.h"
#include "platform/Files.h"
#include "platform/MainThread.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace larkspan {
namespace {

constexpr size_t mostReportsKept = 20;
constexpr Seconds chownTimeout{5.0};

platform::Platform& current() {
    return platform::Platform::current();
}

std::string bundleName() {
    return current().bundles.mainBundle().infoString("CFBundleName");
}

// In the order of the search.
std::vector<Path> crashReportFolders() {
    std::vector<Path> folders;
    for (const UserDomain domain : {UserDomain::yes, UserDomain::no}) {
        const auto logs = ZBLocalPaths::logDirectory(domain);
        if (!logs) continue;
        folders.push_back(*logs / "CrashReporter");
        folders.push_back(*logs / "DiagnosticReports");
    }
    return folders;
}

// The entries named after the application, in listing order.
std::vector<std::string> reportsIn(const Path& folder, const std::string& application) {
    std::vector<std::string> names;
    const auto opened = current().files.openFolder(folder);
    if (!opened || application.empty()) return names;
    const std::string start = lowercased(application + "_");
    const auto entries = (*opened)->entries([&](std::string_view name, platform::EntryKind) {
        return lowercased(name).starts_with(start);
    });
    if (!entries) return names;
    for (const auto& entry : *entries) names.push_back(entry.name);
    return names;
}

// The last report of a folder when it is newer than the launch. The others in it are not looked at,
// on purpose: names hold the date, so the last is the newest.
std::optional<Path> reportSince(Date launch, const Path& folder, const std::string& application) {
    const std::vector<std::string> names = reportsIn(folder, application);
    if (names.empty()) return std::nullopt;
    Path report = folder / names.back();
    const auto facts = current().files.info(report);
    if (!facts || facts->modificationDate <= launch) return std::nullopt;
    return report;
}

const Date* dateIn(const Preferences& stamps, const char* key) {
    const Value* value = stamps.object(key);
    return value ? value->date() : nullptr;
}

// Where the stamps lie; as if there were none when the file cannot be read.
Preferences stampsIn(const std::optional<Path>& plistPath) {
    if (!plistPath) return Preferences::ownDefaults();
    const Result<Preferences> stamps = Preferences::read(plistPath);
    return stamps ? *stamps : Preferences();
}

// A stamp that cannot be written is not reported: the program runs as well without it.
void stamp(const char* key, const std::optional<Path>& plistPath) {
    const Date now = current().clock.now();
    if (!plistPath) {
        const auto file = Preferences::ownDefaultsFile();
        if (file) (void)Preferences::setObject(*file, key, now);
        return;
    }
    const Preferences stamps = stampsIn(plistPath);
    Value::Dictionary values = *stamps.values().dictionary();
    values.insert_or_assign(key, now);
    (void)savePropertyList(Value(std::move(values)), *plistPath);
    ZBBugReporter::chownPlist(*plistPath);
}

// A bug reporter that cannot be started is not reported.
void openWithBugReporter(const Path& report) {
    platform::Applications& applications = current().applications;
    const Path own =
        current().bundles.mainBundle().path / "Contents/Resources" / "Bug Reporter.app";
    if (current().files.isFolder(own)) {
        (void)applications.openFile(report, own);
    } else if (const auto known =
                   applications.bundlePathForIdentifier(bugReporterBundleIdentifier)) {
        (void)applications.openFile(report, *known);
    }
}

void handOn(const Path& report) {
    ZBLog::appendLog("Application crashed on last launch");
    if (Preferences::organisation().isSwitchedOn("disable-crash-reporter")) {
        reportToConsole("Crash reporter disabled");
        ZBLog::appendLog("Crash reporter disabled");
    } else {
        openWithBugReporter(report);
    }
    // A new log is begun after this: what belongs to the one before must be in it by then.
    ZBLog::finishWriting();
}

void removeOldReports(const Path& folder, const std::string& application) {
    std::vector<std::string> names = reportsIn(folder, application);
    std::erase_if(names, [](const std::string& name) {
        return Path(name).pathExtension() != platform::crashReportExtension;
    });
    if (names.size() <= mostReportsKept) return;
    names.resize(names.size() - mostReportsKept);
    for (const std::string& name : names) (void)current().files.removeItem(folder / name);
}

}  // namespace

void ZBBugReporter::startBugReporter(const std::optional<std::string>& name,
                                     const std::optional<Path>& plistPath,
                                     std::shared_ptr<ZBBugReporterDelegate> delegate) {
    const auto report = checkForCrashes(name, plistPath);
    if (report && delegate) {
        current().mainThread.post([delegate = std::move(delegate), log = *report] {
            delegate->applicationDidCrashWithLog(log);
        });
    }
    stamp("launch", plistPath);
}

void ZBBugReporter::startBugReporterWithDelegate(std::shared_ptr<ZBBugReporterDelegate> delegate) {
    startBugReporter(std::nullopt, std::nullopt, std::move(delegate));
}

void ZBBugReporter::stopBugReporter(const std::optional<Path>& plistPath) {
    stamp("exit", plistPath);
}

std::optional<Path> ZBBugReporter::checkForCrashes(const std::optional<std::string>& name,
                                                   const std::optional<Path>& plistPath) {
    const Preferences stamps = stampsIn(plistPath);
    const Date* launch = dateIn(stamps, "launch");
    const Date* exit = dateIn(stamps, "exit");
    if (!launch || (exit && *exit >= *launch)) return std::nullopt;

    const std::string application = name ? *name : bundleName();
    for (const Path& folder : crashReportFolders()) {
        if (auto report = reportSince(*launch, folder, application)) {
            handOn(*report);
            return report;
        }
    }
    return std::nullopt;
}

void ZBBugReporter::chownPlist(const Path& file) {
    const std::vector<std::string> components = file.pathComponents();
    const auto users = std::ranges::find(components, current().places.usersFolderName());
    if (users == components.end() || std::next(users) == components.end()) return;
    const std::string& owner = *std::next(users);
    // Neither may be taken for an option, and what a link leads to is not the user's.
    const auto facts = current().files.linkInfo(file);
    if (!file.isAbsolute() || owner.starts_with('-') || !facts || !facts->isFile()) return;
    for (const char* tool : {"/usr/sbin/chown", "/usr/bin/chown", "/bin/chown"}) {
        if (!current().files.isExecutable(Path(tool))) continue;
        ZBTaskEx::runTask(Path(tool), {owner, file.str()}, chownTimeout);
        return;
    }
}

void ZBBugReporter::leaveReports() {
    const std::vector<Path> folders = crashReportFolders();
    const platform::Bundle bundle = current().bundles.mainBundle();
    const std::string application = bundleName();
    if (folders.empty() || application.empty()) return;
    removeOldReports(folders.front(), application);
    const auto folderError = current().files.createFolder(folders.front());
    // It may be there all the same, on a disk that fails for a moment.
    const auto error =
        current().crashReports.begin({.folder = folders.front(),
                                      .application = application,
                                      .version = bundle.infoString("CFBundleVersion")});
    for (const auto& problem : {folderError, error}) {
        if (problem) reportToConsole("Unable to write crash reports: %@", problem->description);
    }
}

}  // namespace larkspan
