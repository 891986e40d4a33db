#include "kit/ZBAuthorization.h"

#include "kit/ConsoleReport.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "kit/ZBTaskEx.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Privileges.h"
#include "platform/Trash.h"

#include <system_error>
#include <utility>

namespace larkspan {
namespace {

constexpr Seconds afterCreating = std::chrono::microseconds(500);

std::mutex instanceMutex;
std::unique_ptr<ZBAuthorization> instance;

platform::Platform& current() {
    return platform::Platform::current();
}

bool isRoot() {
    return current().places.userID() == 0;
}

// Whether a tool may be given the path: it names the same thing from every folder, can be taken for
// no option, and names an entry.
bool isPlain(const Path& path) {
    const std::string name = path.lastPathComponent();
    if (path.isAbsolute() && name != "." && name != "..") return true;
    reportToConsole("Unable to use path %@ with administrator rights.", path);
    return false;
}

// Whether something stands under the name, be it a link that leads nowhere.
bool isTaken(const Path& path) {
    return static_cast<bool>(current().files.linkInfo(path));
}

// The entries of a folder; empty when it cannot be listed.
std::vector<Path> entriesOf(const Path& folder) {
    std::vector<Path> paths;
    const auto entries = current().files.contentsOfFolder(folder);
    if (!entries) return paths;
    for (const auto& entry : *entries) paths.push_back(folder / entry.name);
    return paths;
}

// The names that an item may get in the Trash: its own, then with the date. See
// docs/behaviour.md, fixed 18.
std::function<std::string(int)> trashNames(const Path& path) {
    const Path name(path.lastPathComponent());
    const std::string date = dateDigits(current().clock.now());
    return [name, date](int number) {
        if (number == 1) return name.str();
        constexpr int firstDated = 2;
        const std::string dated =
            number == firstDated ? date : messageText("%@-%i", date, number - 1);
        return messageText("%@_%@.%@", name.deletingPathExtension(), dated, name.pathExtension());
    };
}

// Whether both ends of a move or copy can be handed to a tool.
bool canTransfer(const char* operation, const std::optional<Path>& path,
                 const std::optional<Path>& toPath) {
    if (!path) reportToConsole("Error in %s: old path is null", operation);
    if (path && !toPath) reportToConsole("Error in %s: new path is null", operation);
    return path && toPath && isPlain(*path) && isPlain(*toPath);
}

}  // namespace

ZBAuthorization& ZBAuthorization::sharedController(WithGUI withGUI, Question question) {
    const std::lock_guard lock(instanceMutex);
    if (!instance) instance = withGUI == WithGUI::yes ? init(question) : initWithoutGUI();
    return *instance;
}

void ZBAuthorization::discardSharedController() {
    const std::lock_guard lock(instanceMutex);
    instance.reset();
}

std::unique_ptr<ZBAuthorization> ZBAuthorization::init(Question question) {
    return std::unique_ptr<ZBAuthorization>(new ZBAuthorization(WithGUI::yes, question));
}

std::unique_ptr<ZBAuthorization> ZBAuthorization::initWithoutGUI() {
    return std::unique_ptr<ZBAuthorization>(new ZBAuthorization(WithGUI::no, Question::waitedFor));
}

ZBAuthorization::ZBAuthorization(WithGUI withGUI, Question question)
    : hasGUI_(withGUI == WithGUI::yes),
      question_(question),
      authRef_(current().privileges.inheritedAuthorization()) {
    if (!isRoot()) userDirectory_ = ZBLocalPaths::userDirectory();
}

ZBAuthorization::~ZBAuthorization() {
    discarded_ = true;
    if (questioner_.joinable()) questioner_.join();
    authEnd();
}

bool ZBAuthorization::isAuthorized() const {
    return isRoot() || authRef_.copy() != nullptr;
}

bool ZBAuthorization::canAuthorize() const {
    return hasGUI_ || isRoot();
}

bool ZBAuthorization::authStart() {
    const std::lock_guard lock(asking_);
    if (isAuthorized()) return true;
    if (!hasGUI_) {
        reportToConsole("Unable to authorize");
        return false;
    }
    platform::Privileges& privileges = current().privileges;
    // docs/behaviour.md, own 19
    if (wasAsked_ || !privileges.canAskPerson(asking())) return false;
    wasAsked_ = true;
    if (question_ == Question::apart) {
        askApart();
        return false;
    }
    ask(privileges);
    return isAuthorized();
}

platform::Asking ZBAuthorization::asking() const {
    using platform::Asking;
    return question_ == Question::apart ? Asking::atDesktop : Asking::anywhere;
}

void ZBAuthorization::askApart() {
    try {
        questioner_ = std::thread([this, &privileges = current().privileges] { ask(privileges); });
    } catch (const std::system_error&) {
        wasAsked_ = false;  // no thread to be had: another time
    }
}

void ZBAuthorization::ask(platform::Privileges& privileges) {
    std::shared_ptr<platform::Authorization> granted =
        privileges.authorize(asking(), [this] { return discarded_.load(); });
    if (granted) authRef_.with([&](auto& authRef) { authRef = std::move(granted); });
}

bool ZBAuthorization::authStartWithUser(const std::optional<std::string>& user,
                                        std::optional<Secret> password) {
    if (isRoot()) return true;
    if (!user || !password) return false;
    const std::lock_guard lock(asking_);
    auto granted = current().privileges.authorize(*user, *password);
    password.reset();
    authRef_.with([&](auto& authRef) { authRef.reset(); });
    if (granted) {
        authRef_.with([&](auto& authRef) { authRef = std::move(*granted); });
        return true;
    }
    if (granted.error().is(platform::privilegesErrorDomain, platform::authorizationDenied)) {
        reportToConsole("Authorization failed. Invalid username or password");
        ZBLog::appendLog("Authorization failed. Invalid username or password");
    } else {
        reportToConsole("Unable to create authRef - error %d", granted.error().code);
    }
    return false;
}

void ZBAuthorization::authEnd() {
    // Given up outside the lock: the system may take its time.
    const auto givenUp =
        authRef_.with([](auto& authRef) { return std::exchange(authRef, nullptr); });
}

std::int32_t ZBAuthorization::authExecTask(const Path& path,
                                           const std::vector<std::string>& parameters,
                                           Async async) {
    if (!current().files.exists(path)) {
        reportToConsole("Unable to execute task: path %@ doesn't exist", path);
        return toolMissing;
    }
    if (isRoot()) {
        if (async == Async::yes) {
            ZBTaskEx::runTaskAndReturn(path, parameters);
        } else {
            (void)ZBTaskEx::runTask(path, parameters);
        }
        return 0;
    }
    if (!isAuthorized() && !authStart()) return notAuthorized;
    const auto authorization = authRef_.copy();
    if (!authorization) return notAuthorized;  // given up meanwhile
    using platform::WaitForOutput;
    return authorization->execute(path, parameters,
                                  async == Async::no ? WaitForOutput::yes : WaitForOutput::no);
}

// As root whatever becomes of it, even that it cannot be started, is success.
bool ZBAuthorization::runTool(const char* tool, const std::vector<std::string>& parameters) {
    if (!isRoot()) return authExecTask(Path(tool), parameters) == 0;
    ZBTaskEx::runTaskAndReturn(Path(tool), parameters);
    return true;
}

bool ZBAuthorization::authRemoveFile(const Path& path) {
    if (ZBLocalPaths::leadsToSystemDirectory(path)) {
        reportToConsole("Unable to delete path %@ because it is a system directory.", path);
        return false;
    }
    return isPlain(path) && authExecTask(Path("/bin/rm"), {"-Rdf", path.str()}) == 0;
}

bool ZBAuthorization::authTrashFile(const Path& path, DeleteOnRootAccount deleteOnRootAccount) {
    if (ZBLocalPaths::leadsToSystemDirectory(path)) {
        reportToConsole("Unable to trash path %@ because it is a system directory.", path);
        return false;
    }
    if (!isPlain(path)) return false;
    if (!isTaken(path)) return false;
    const auto target = current().trash.reserve(path, trashNames(path));
    if (!target) {
        reportToConsole("Unable to trash path %@: %@", path, target.error().description);
        return false;
    }
    const bool deletes = deleteOnRootAccount == DeleteOnRootAccount::yes;
    // The target, not the item, on purpose: nothing is there, so that the item stays.
    const bool started = isRoot() && !userDirectory_ && deletes
                             ? authRemoveFile(*target)
                             : runTool("/bin/mv", {"-n", path.str(), target->str()});
    if (!started) current().trash.giveUp(*target);
    return started;
}

bool ZBAuthorization::authTrashFolderContents(const Path& path,
                                              DeleteOnRootAccount deleteOnRootAccount) {
    if (ZBLocalPaths::leadsToSystemDirectory(path)) {
        reportToConsole(
            "Unable to trash folder contents of path %@ because it is a system directory.", path);
        return false;
    }
    const bool keeps =
        userDirectory_ || !isRoot() || deleteOnRootAccount == DeleteOnRootAccount::no;
    bool all = isPlain(path);
    for (const Path& entry : all ? entriesOf(path) : std::vector<Path>()) {
        const bool done = keeps ? authTrashFile(entry)
                                : authExecTask(Path("/bin/rm"), {"-R", "-f", entry.str()}) == 0;
        all = all && done;
    }
    return all;
}

bool ZBAuthorization::authMoveFolderContents(const Path& path, const Path& toPath) {
    if (ZBLocalPaths::leadsToSystemDirectory(path)) {
        reportToConsole("Unable to move contents of path %@ because it is a system directory.",
                        path);
        return false;
    }
    bool all = isPlain(path) && isPlain(toPath);
    for (const Path& entry : all ? entriesOf(path) : std::vector<Path>()) {
        const bool done = authMoveFile(entry, toPath / entry.lastPathComponent());
        all = all && done;
    }
    return all;
}

bool ZBAuthorization::authMoveFile(const std::optional<Path>& path,
                                   const std::optional<Path>& toPath) {
    if (!canTransfer("authMoveFile", path, toPath)) return false;
    if (ZBLocalPaths::leadsToSystemDirectory(*path)) {
        reportToConsole("Unable to move path %@ because it is a system directory.", *path);
        return false;
    }
    return isTaken(*path) && runTool("/bin/mv", {"-f", path->str(), toPath->str()});
}

bool ZBAuthorization::authCopyFile(const std::optional<Path>& path,
                                   const std::optional<Path>& toPath) {
    if (!canTransfer("authCopyFile", path, toPath)) return false;
    return isTaken(*path) && runTool("/bin/cp", {"-f", "-p", "-R", path->str(), toPath->str()});
}

bool ZBAuthorization::authCreateDir(const Path& path) {
    if (!isPlain(path) || !runTool("/bin/mkdir", {"-p", path.str()})) return false;
    if (!isRoot()) current().clock.sleepFor(afterCreating);
    return true;
}

}  // namespace larkspan
