#include "platform/linux/LinuxApplications.h"

#include "platform/linux/LinuxBundles.h"
#include "platform/linux/ProcessTable.h"

#include <algorithm>
#include <cassert>
#include <csignal>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

// The header of C libraries before 2.37 does not say that it is C.
extern "C" {
#include <sys/pidfd.h>
}

namespace larkspan::platform {
namespace {

// Whether the number still, or again, names that very process.
bool isStillThere(const RunningApplication& application) {
    const auto ticks = startTicksOfProcess(application.processID);
    return ticks && dateFromStartTicks(*ticks) == application.started &&
           executableOfProcess(application.processID) == application.executable;
}

// A handle of exactly that process; empty when it is gone. First the handle, then the look: what
// the number names then is what the handle holds.
FileDescriptor openProcess(const RunningApplication& application) {
    FileDescriptor process(::pidfd_open(application.processID, 0));
    if (process && !isStillThere(application)) process.reset();
    return process;
}

std::optional<Date> modificationDate(const Path& path) {
    struct stat facts = {};
    if (::stat(path.c_str(), &facts) != 0) return std::nullopt;
    return dateFromUnixTime(facts.st_mtim.tv_sec, facts.st_mtim.tv_nsec);
}

std::vector<Path> foldersIn(const Path& folder) {
    namespace fs = std::filesystem;
    std::vector<Path> found;
    std::error_code error;
    fs::directory_iterator entries(folder.str(), fs::directory_options::skip_permission_denied,
                                   error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
        std::error_code ignored;
        if (entries->is_directory(ignored)) found.emplace_back(entries->path().string());
    }
    std::ranges::sort(found);
    return found;
}

}  // namespace

LinuxApplications::LinuxApplications(LinuxMainThread& mainThread, Bundles& bundles,
                                     StandardPlaces& places, Processes& processes,
                                     std::vector<WellKnownExecutable> table)
    : mainThread_(mainThread),
      bundles_(bundles),
      places_(places),
      processes_(processes),
      table_(std::move(table)) {}

int LinuxApplications::currentProcessID() const {
    return ::getpid();
}

std::string LinuxApplications::identifierOfBundle(const Path& bundle) {
    const std::optional<Date> modified = modificationDate(bundle / "Contents/Info.plist");
    if (!modified) return {};
    const auto known = identifiers_.with([&](const auto& identifiers) {
        const auto found = identifiers.find(bundle);
        const bool current = found != identifiers.end() && found->second.modified == *modified;
        return current ? std::optional(found->second.identifier) : std::nullopt;
    });
    if (known) return *known;
    std::string identifier = readBundle(bundle).identifier();
    identifiers_.with([&](auto& identifiers) {
        constexpr size_t most = 1000;  // bundles that come and go must not pile up
        if (identifiers.size() >= most) identifiers.clear();
        identifiers[bundle] = {*modified, identifier};
    });
    return identifier;
}

std::string LinuxApplications::identifierOfExecutable(const Path& executable) {
    for (const Path& bundle : bundlePathsAround(executable)) {
        std::string identifier = identifierOfBundle(bundle);
        if (!identifier.empty()) return identifier;
    }
    for (const WellKnownExecutable& known : table_) {
        const bool isPath = known.executable.find('/') != std::string::npos;
        const std::string name = isPath ? executable.str() : executable.lastPathComponent();
        if (name == known.executable) return known.bundleIdentifier;
    }
    return {};
}

// Setting HOME isolates everything: a second instance of a program in another home folder is not
// its business, nor are programs that tests start in theirs.
bool LinuxApplications::sharesOurHome(int processID) {
    const Path usual = places_.homeDirectoryForUser(places_.userName()).value_or(Path());
    return homeOfProcess(processID, usual) == places_.homeDirectory();
}

std::vector<RunningApplication> LinuxApplications::allApplications() {
    std::vector<RunningApplication> found;
    for (const int processID : processIDsOfUser(::geteuid())) {
        const auto executable = executableOfProcess(processID);
        if (!executable) continue;
        const std::string identifier = identifierOfExecutable(*executable);
        if (identifier.empty() || !sharesOurHome(processID)) continue;
        const auto ticks = startTicksOfProcess(processID);
        if (!ticks) continue;
        RunningApplication application{.processID = processID,
                                       .bundleIdentifier = identifier,
                                       .executable = *executable,
                                       .started = dateFromStartTicks(*ticks)};
        // The number may have passed to another process between the two looks.
        if (isStillThere(application)) found.push_back(std::move(application));
    }
    return found;
}

std::vector<RunningApplication> LinuxApplications::runningApplications(
    const std::string& bundleIdentifier) {
    std::vector<RunningApplication> found = allApplications();
    std::erase_if(found, [&](const RunningApplication& application) {
        return application.bundleIdentifier != bundleIdentifier;
    });
    std::ranges::sort(found, {}, [](const RunningApplication& application) {
        return std::pair(application.started, application.processID);
    });
    return found;
}

bool LinuxApplications::forceTerminate(const RunningApplication& application) {
    const FileDescriptor process = openProcess(application);
    return process && ::pidfd_send_signal(process.get(), SIGKILL, nullptr, 0) == 0;
}

std::optional<Path> LinuxApplications::findBundle(const Path& folder,
                                                  const std::string& bundleIdentifier,
                                                  int levelsBelow) {
    std::vector<Path> others;
    for (Path& entry : foldersIn(folder)) {
        if (entry.pathExtension() != "app") {
            others.push_back(std::move(entry));
        } else if (identifierOfBundle(entry) == bundleIdentifier) {
            return std::move(entry);
        }
    }
    for (size_t at = 0; levelsBelow > 0 && at < others.size(); ++at) {
        if (auto found = findBundle(others[at], bundleIdentifier, levelsBelow - 1)) return found;
    }
    return std::nullopt;
}

std::optional<Path> LinuxApplications::bundlePathForIdentifier(
    const std::string& bundleIdentifier) {
    if (bundleIdentifier.empty()) return std::nullopt;
    if (const auto loaded = bundles_.loadedBundle(bundleIdentifier)) return loaded->path;
    for (const Domain domain : {Domain::user, Domain::local, Domain::system}) {
        for (const Path& folder : places_.searchPaths(DirectoryKind::applications, domain)) {
            if (auto found = findBundle(folder, bundleIdentifier, 1)) return found;
        }
    }
    return std::nullopt;
}

// The application is started once more with the file: handing it to the instance that runs is
// left to it, as with every program that a file browser starts.
bool LinuxApplications::openFile(const Path& file, const Path& application) {
    const Path executable = readBundle(application).executable;
    if (executable.empty()) return false;
    const auto started = processes_.launch({.launchPath = executable, .arguments = {file.str()}});
    return static_cast<bool>(started);
}

std::unique_ptr<Applications::Observation> LinuxApplications::observeTerminations(
    TerminationObserver observer) {
    assert(mainThread_.isCurrent());
    auto observation = observers_.add(std::move(observer));
    lookForApplications();
    return observation;
}

void LinuxApplications::lookForApplications() {
    assert(mainThread_.isCurrent());
    if (observers_.empty()) {
        watched_.clear();
        return;
    }
    for (const RunningApplication& application : allApplications()) {
        const bool isOther = application.processID != currentProcessID();
        if (isOther && !watched_.contains({application.processID, application.started})) {
            watch(application);
        }
    }
}

void LinuxApplications::watch(const RunningApplication& application) {
    FileDescriptor process = openProcess(application);
    if (!process) return;
    const Key key(application.processID, application.started);
    auto watch = mainThread_.watchDescriptor(process.get(), [this, key] { ended(key); });
    watched_.emplace(key, Watched{.application = application,
                                  .process = std::move(process),
                                  .watch = std::move(watch)});
}

void LinuxApplications::ended(const Key& key) {
    const auto entry = watched_.extract(key);
    if (!entry.empty()) observers_.notify(entry.mapped().application);
}

}  // namespace larkspan::platform
