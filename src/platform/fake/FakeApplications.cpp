#include "platform/fake/FakeApplications.h"

#include <algorithm>
#include <utility>

namespace larkspan::platform {

std::vector<RunningApplication> FakeApplications::runningApplications(
    const std::string& bundleIdentifier) {
    return running_.with([&](const std::vector<Entry>& running) {
        std::vector<RunningApplication> found;
        for (const Entry& entry : running) {
            if (entry.application.bundleIdentifier != bundleIdentifier) continue;
            found.push_back(entry.application);
        }
        std::ranges::sort(found, {}, &RunningApplication::started);
        return found;
    });
}

bool FakeApplications::forceTerminate(const RunningApplication& application) {
    if (isProtected_ || !remove(application)) return false;
    forced_.with([&](auto& forced) { forced.push_back(application); });
    return true;
}

std::optional<Path> FakeApplications::bundlePathForIdentifier(const std::string& bundleIdentifier) {
    return installed_.with([&](const auto& installed) -> std::optional<Path> {
        const auto found = installed.find(bundleIdentifier);
        if (found == installed.end()) return std::nullopt;
        return found->second;
    });
}

bool FakeApplications::openFile(const Path& file, const Path& application) {
    opened_.with([&](auto& opened) { opened.emplace_back(file, application); });
    const std::string identifier = installed_.with([&](const auto& installed) {
        const auto found = std::ranges::find_if(
            installed, [&](const auto& one) { return one.second == application; });
        return found == installed.end() ? std::string() : found->first;
    });
    if (identifier.empty()) return true;
    const FileOpener opener = openers_.with([&](const auto& openers) {
        const auto found = openers.find(identifier);
        return found == openers.end() ? FileOpener() : found->second;
    });
    if (opener) opener(file);
    if (runningApplications(identifier).empty()) (void)start(identifier);
    return true;
}

std::unique_ptr<Applications::Observation> FakeApplications::observeTerminations(
    TerminationObserver observer) {
    lookForApplications();
    return observers_.add(std::move(observer));
}

void FakeApplications::lookForApplications() {
    running_.with([](std::vector<Entry>& running) {
        for (Entry& entry : running) entry.seen = true;
    });
}

RunningApplication FakeApplications::start(const std::string& bundleIdentifier) {
    return add(bundleIdentifier, ++lastProcessID_);
}

void FakeApplications::startSelf(const std::string& bundleIdentifier) {
    (void)add(bundleIdentifier, ownProcessID);
}

RunningApplication FakeApplications::add(const std::string& bundleIdentifier, int processID) {
    RunningApplication application{
        .processID = processID,
        .bundleIdentifier = bundleIdentifier,
        .executable = Path("/Applications") / (bundleIdentifier + ".app/Contents/MacOS/program"),
        .started = dateFromUnixTime(1'700'000'000 + started_++)};
    running_.with([&](auto& running) { running.push_back({.application = application}); });
    return application;
}

void FakeApplications::end(const RunningApplication& application) {
    (void)remove(application);
}

void FakeApplications::install(const std::string& bundleIdentifier, const Path& bundle) {
    installed_.with([&](auto& installed) { installed[bundleIdentifier] = bundle; });
}

void FakeApplications::setFileOpener(const std::string& bundleIdentifier, FileOpener opener) {
    openers_.with([&](auto& openers) { openers[bundleIdentifier] = std::move(opener); });
}

bool FakeApplications::remove(const RunningApplication& application) {
    const std::optional<Entry> removed =
        running_.with([&](std::vector<Entry>& running) -> std::optional<Entry> {
            const auto isIt = [&](const Entry& entry) {
                return entry.application.processID == application.processID;
            };
            const auto found = std::ranges::find_if(running, isIt);
            if (found == running.end()) return std::nullopt;
            Entry entry = *found;
            running.erase(found);
            return entry;
        });
    if (removed && removed->seen) observers_.notify(removed->application);
    return removed.has_value();
}

}  // namespace larkspan::platform
