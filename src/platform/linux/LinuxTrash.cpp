#include "platform/linux/LinuxTrash.h"

#include "foundation/MessageText.h"
#include "foundation/Text.h"
#include "platform/linux/GObjectHandle.h"
#include "platform/posix/SystemCall.h"

#include <array>
#include <ctime>

#include <gio/gio.h>

namespace larkspan::platform {
namespace {

// The date of deletion as information files have it: local time without a zone.
std::string deletionDate() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &local)};
}

std::string informationOf(const Path& item) {
    const TextHandle path(g_uri_escape_string(item.c_str(), "/", FALSE));
    return "[Trash Info]\nPath=" + std::string(path.get()) + "\nDeletionDate=" + deletionDate() +
           "\n";
}

// Takes a name in the Trash by creating its information file; whoever creates it first has it.
// "" with errno set when that fails.
std::string takeName(const Path& information, const std::string& wanted) {
    constexpr int mostTries = 10'000;
    for (int number = 1; number < mostTries; ++number) {
        std::string name = number == 1 ? wanted : wanted + "." + std::to_string(number);
        const Path file = information / (name + ".trashinfo");
        if (openAt(AT_FDCWD, systemName(file), O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR)) {
            return name;
        }
        if (errno != EEXIST) return {};
    }
    return {};
}

// Moves an item, across file systems if need be. What cannot be removed afterwards was not moved.
std::optional<Error> moveAnywhere(Files& files, const Path& item, const Path& target) {
    auto error = files.moveItem(item, target);
    if (!error || !error->is(posixErrorDomain, EXDEV)) return error;
    if (auto failed = files.copyItem(item, target)) return failed;
    error = files.removeItem(item);
    if (error) (void)files.removeItem(target);
    return error;
}

std::optional<Error> createPrivateFolder(Files& files, const Path& folder) {
    if (files.isFolder(folder)) return {};
    if (auto error = files.createFolder(folder)) return error;
    return files.setPermissions(folder, S_IRWXU);
}

}  // namespace

std::optional<Error> LinuxTrash::recycle(const Path& item) {
    if (!files_.linkInfo(item)) return posixError(ENOENT, "moving " + item.str() + " to the Trash");
    // GLib reads the environment for itself, once: with another home it would be the wrong Trash.
    if (Path(g_get_user_data_dir()) / "Trash/files" == homeTrash()) {
        const GObjectHandle<GFile> file(g_file_new_for_path(item.c_str()));
        if (g_file_trash(file.get(), nullptr, nullptr)) return {};
    }
    return moveToHomeTrash(item);
}

Path LinuxTrash::homeTrash() {
    return places_.homeDirectory() / places_.trashFolderInHome();
}

std::optional<Error> LinuxTrash::moveToHomeTrash(const Path& item) {
    const Path contents = homeTrash();
    const Path trash = contents.deletingLastPathComponent();
    const Path information = trash / "info";
    for (const Path& folder : {trash, contents, information}) {
        if (auto error = createPrivateFolder(files_, folder)) return error;
    }
    const std::string name = takeName(information, item.lastPathComponent());
    const Path note = information / (name + ".trashinfo");
    if (name.empty()) return posixError(errno, "moving " + item.str() + " to the Trash");
    auto error = files_.writeFileAtomically(note, informationOf(item));
    if (!error) error = moveAnywhere(files_, item, contents / name);
    if (error) (void)files_.removeItem(note);
    return error;
}

}  // namespace larkspan::platform
