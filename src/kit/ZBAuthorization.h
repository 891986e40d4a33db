#pragma once

#include "foundation/Guarded.h"
#include "foundation/Path.h"
#include "foundation/Secret.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace larkspan {

namespace platform {
class Authorization;
class Privileges;
enum class Asking;
}  // namespace platform

enum class WithGUI { no, yes };
// Whether who needs the rights waits for the person's answer, or goes without them until it comes.
enum class Question { waitedFor, apart };
enum class Async { no, yes };
enum class DeleteOnRootAccount { no, yes };

// File operations with administrator rights, for when the ordinary ones fail for want of them. They
// run the system's own tools: as root at once, else with an authorization that a person is asked
// for at the first need (or that authStartWithUser got) and that is kept until authEnd. Once asked,
// nobody is asked again. With Question::apart a person is asked only at a desktop, on a thread of
// its own: what needs the rights fails until they are granted.
//
//   if (ZBAuthorization::sharedController().authRemoveFile(path)) waitUntilGone(path);
//
// A true result says that the tool was started. It is not waited for, and its failure not seen:
// callers look for the result on disk. Paths must be absolute: a relative one is refused, since a
// tool of another user starts in another folder and may take a name for an option. Standard folders
// (ZBLocalPaths::leadsToSystemDirectory) are never removed, moved or trashed. What is refused
// starts nothing, and why goes to the system console. Any thread.
class ZBAuthorization {
  public:
    // Made on first use; whether it may ask a person, and how, is settled then.
    static ZBAuthorization& sharedController(WithGUI withGUI = WithGUI::yes,
                                             Question question = Question::waitedFor);
    // Gives the authorization, and a question that is open, up and forgets the instance: before the
    // platform goes.
    static void discardSharedController();

    ZBAuthorization(const ZBAuthorization&) = delete;
    ZBAuthorization& operator=(const ZBAuthorization&) = delete;
    ~ZBAuthorization();

    bool isAuthorized() const;
    bool canAuthorize() const;

    // True when authorized, now or before; asks a person only with a user interface, and once.
    [[nodiscard]] bool authStart();
    // By name and password, without asking. The password is overwritten afterwards.
    [[nodiscard]] bool authStartWithUser(const std::optional<std::string>& user,
                                         std::optional<Secret> password);
    void authEnd();

    static constexpr std::int32_t notAuthorized = -1;
    static constexpr std::int32_t toolMissing = -2;
    // 0 when the tool was started, one of the above, or the system's status. Without `async`,
    // returns when the tool has finished. The tool and its arguments are the caller's affair: no
    // path among them is checked.
    [[nodiscard]] std::int32_t authExecTask(const Path& path,
                                            const std::vector<std::string>& parameters = {},
                                            Async async = Async::yes);

    // With everything in it. A missing file is no failure.
    [[nodiscard]] bool authRemoveFile(const Path& path);
    // Moves it to the user's Trash, where its name gets the date added when it is taken.
    [[nodiscard]] bool authTrashFile(
        const Path& path, DeleteOnRootAccount deleteOnRootAccount = DeleteOnRootAccount::no);
    // Every entry is tried; false when any failed.
    [[nodiscard]] bool authTrashFolderContents(
        const Path& path, DeleteOnRootAccount deleteOnRootAccount = DeleteOnRootAccount::no);
    [[nodiscard]] bool authMoveFolderContents(const Path& path, const Path& toPath);
    // Replaces what is at the destination. Nothing for a path is an error of its own; a missing
    // source gives false.
    [[nodiscard]] bool authMoveFile(const std::optional<Path>& path,
                                    const std::optional<Path>& toPath);
    [[nodiscard]] bool authCopyFile(const std::optional<Path>& path,
                                    const std::optional<Path>& toPath);
    // With those above it.
    [[nodiscard]] bool authCreateDir(const Path& path);

  private:
    ZBAuthorization(WithGUI withGUI, Question question);
    static std::unique_ptr<ZBAuthorization> init(Question question);
    static std::unique_ptr<ZBAuthorization> initWithoutGUI();

    platform::Asking asking() const;
    void askApart();
    void ask(platform::Privileges& privileges);
    [[nodiscard]] bool runTool(const char* tool, const std::vector<std::string>& parameters);

    const bool hasGUI_;
    std::optional<Path> userDirectory_;  // only when not root at the start
    const Question question_;
    std::mutex asking_;  // held while a person's answer is waited for
    bool wasAsked_ = false;
    std::atomic<bool> discarded_{false};
    std::thread questioner_;
    Guarded<std::shared_ptr<platform::Authorization>> authRef_;
};

}  // namespace larkspan
