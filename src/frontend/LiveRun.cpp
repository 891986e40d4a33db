#include "frontend/LiveRun.h"

#include "foundation/Text.h"
#include "frontend/Format.h"
#include "kit/ZBLocalPaths.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <algorithm>
#include <set>

namespace larkspan {
namespace {

constexpr Seconds storeLatency{0.5};
constexpr Seconds betweenTries{0.1};
constexpr Seconds betweenQuestions{5.0};
constexpr Seconds longestStart{30.0};
// The helper ends the run it is in before it goes.
constexpr Seconds longestEnd{30.0};
constexpr Seconds longestKill{5.0};

platform::Platform& current() {
    return platform::Platform::current();
}

std::string helperLog() {
    const bool isOwn = !ZBLocalPaths::actsForConsoleUser();
    const auto logs = ZBLocalPaths::logDirectory(isOwn ? UserDomain::yes : UserDomain::no);
    return logs ? (*logs / "Corvane/LarkspanHelper.1.log").str() : std::string();
}

std::string howItEnded(int status) {
    if (status > 128) return "was ended by signal " + std::to_string(status - 128);
    return "ended with status " + std::to_string(status);
}

}  // namespace

LiveRun::LiveRun(Context& context, const Path& storeRoot) : context_(context), news_(storeRoot) {}

ExitStatus LiveRun::run() {
    const auto asked = context_.onTermination([this] { askedToEnd(); });
    const Path executable = helperExecutable();
    if (!current().files.isExecutable(executable)) {
        context_.output.error("The helper is missing: " + printable(executable.str()),
                              "Build or install Larkspan as a whole, then try again.");
        return ExitStatus::failed;
    }
    storeEvents_ = current().fileEvents.start({news_.root()}, storeLatency,
                                              [this](const auto& events) { storeChanged(events); });
    auto started = HelperProcess::start(executable, [this] { helperEnded(); });
    if (!started) {
        context_.output.error(
            "The helper cannot be started: " + printable(started.error().description),
            "Its executable is " + printable(executable.str()));
        return ExitStatus::failed;
    }
    helper_ = std::move(*started);
    startedAt_ = current().clock.uptime();
    timer_ = current().mainThread.scheduleRepeating(betweenTries, [this] { tryToConnect(); });
    if (end_ == End::none) current().mainThread.run();
    timer_.reset();
    storeEvents_.reset();
    return end_ == End::helperEnded ? reportDeath() : endHelper();
}

// An older helper may still answer until the new one has ended it, so only its own answer counts.
void LiveRun::tryToConnect() {
    Result<Helper> connection = Helper::connect();
    if (connection) {
        const Result<HelperFacts> facts = connection->facts();
        if (facts && facts->processID == helper_->processID()) {
            connection_ = std::move(*connection);
            connected(*facts);
            return;
        }
    }
    if (helper_->waitUntilEnded(Seconds(0))) return helperEnded();
    if (current().clock.uptime() - startedAt_ < longestStart) return;
    end_ = End::noAnswer;
    current().mainThread.stop();
}

void LiveRun::connected(const HelperFacts& facts) {
    tellLine("Larkspan is running. End it with Ctrl-C; projects are backed up while it runs.");
    tellFacts(facts);
    tellLine("Versions are kept in " + printable(news_.root().str()) + " (" +
             countText(news_.projectCount(), "project", "projects") + ", " +
             countText(news_.versionCount(), "version", "versions") + ").");
    tell(news_.lookAtAll());
    // Projects that lie there already get their first version now, not when they are next saved.
    (void)connection_->call("startBackupScan");
    timer_ = current().mainThread.scheduleRepeating(betweenQuestions, [this] { askHelper(); });
}

void LiveRun::askHelper() {
    if (!connection_) return;
    const Result<HelperFacts> facts = connection_->facts();
    if (facts) {
        tellFacts(*facts);
    } else if (helper_->waitUntilEnded(Seconds(0))) {
        helperEnded();
    }
}

void LiveRun::tellFacts(const HelperFacts& facts) {
    for (const WatchedFolder& folder : facts.watchedFolders) {
        const auto told = std::find(toldFolders_.begin(), toldFolders_.end(), folder);
        if (told != toldFolders_.end()) continue;
        const std::string name = printable(folder.folder.str());
        const std::string& why = folder.problem.empty() ? folder.notice : folder.problem;
        tellLine((folder.watched ? "Watching " : "Not watching ") + name +
                 (why.empty() ? "" : ": " + printable(why)));
    }
    toldFolders_ = facts.watchedFolders;
    if (facts.lastProblem && facts.lastProblem != toldProblem_) {
        tellLine(context_.output.styled(Style::bad, "Problem: ") +
                 printable(facts.lastProblem->text));
    }
    toldProblem_ = facts.lastProblem;
}

void LiveRun::storeChanged(const std::vector<platform::FileEvent>& events) {
    std::set<std::string> folders;
    bool everything = false;
    const size_t depth = news_.root().pathComponents().size();
    for (const platform::FileEvent& event : events) {
        const auto components = event.path.pathComponents();
        if (event.flags != 0) everything = true;
        if (components.size() > depth) folders.insert(components[depth]);
    }
    tell(everything ? news_.lookAtAll() : news_.lookAt(folders));
    askHelper();
}

void LiveRun::tell(const StoreNews::News& news) {
    for (const StoredProject& project : news.projects) {
        ++projectsFound_;
        tellLine("Found project " + printable(project.displayName()) + " in " +
                 printable(project.path.deletingLastPathComponent().str()));
    }
    for (const auto& [project, version] : news.versions) {
        ++versionsTaken_;
        tellLine(context_.output.styled(Style::good, printable(project.displayName())) +
                 ": version " + std::to_string(version.number.value) + " (" +
                 sizeText(Store::size(version.file)) + ", saved " + timeText(version.saved) + ")");
    }
}

// When nobody reads the lines any more there is nothing to run for.
void LiveRun::tellLine(std::string_view text) {
    context_.output.line(text);
    if (!context_.output.hasReader()) askedToEnd();
}

void LiveRun::askedToEnd() {
    if (end_ == End::none) end_ = End::asked;
    current().mainThread.stop();
}

void LiveRun::helperEnded() {
    if (end_ == End::none) end_ = End::helperEnded;
    current().mainThread.stop();
}

ExitStatus LiveRun::endHelper() {
    helper_->terminate();
    if (!helper_->waitUntilEnded(longestEnd)) {
        helper_->kill();
        (void)helper_->waitUntilEnded(longestKill);
        context_.output.message("The helper did not end in time and was ended by force.");
    }
    if (end_ == End::noAnswer) {
        context_.output.error("The helper was started but did not answer.",
                              "See why in its log: " + printable(helperLog()));
        return ExitStatus::failed;
    }
    sayGoodbye();
    return ExitStatus::done;
}

ExitStatus LiveRun::reportDeath() {
    const auto status = helper_->waitUntilEnded(longestKill);
    std::string advice;
    for (const std::string& line : split(helper_->lastOutput(), '\n')) {
        if (!line.empty()) advice += "  " + printable(line) + "\n";
    }
    advice += status == 128 + 9 ? "Another helper may have taken its place. " : "";
    advice += "Its log is " + printable(helperLog());
    context_.output.error(
        "The helper " + (status ? howItEnded(*status) : "closed its output") + ".", advice);
    return ExitStatus::failed;
}

void LiveRun::sayGoodbye() {
    tell(news_.lookAtAll());
    context_.output.line("Goodbye: " + countText(projectsFound_, "project", "projects") +
                         " found, " + countText(versionsTaken_, "version", "versions") + " taken.");
}

}  // namespace larkspan
