#include "platform/linux/LinuxTrash.h"

#include "foundation/MessageText.h"
#include "foundation/Text.h"
#include "platform/linux/GObjectHandle.h"
#include "platform/posix/SystemCall.h"

#include <array>
#include <climits>
#include <ctime>

#include <gio/gio.h>
#include <unistd.h>

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

// A name in the Trash that nothing else has. Whoever creates its information file first has it; an
// item without such a file has its name, too. "" with errno set when there is none to be had.
std::string takeName(Files& files, const Path& contents, const Path& information,
                     const std::string& wanted) {
    constexpr int mostTries = 10'000;
    for (int number = 1; number < mostTries; ++number) {
        std::string name = number == 1 ? wanted : wanted + "." + std::to_string(number);
        const Path file = information / (name + ".trashinfo");
        if (!openAt(AT_FDCWD, systemName(file), O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR)) {
            if (errno != EEXIST) return {};
            continue;
        }
        const auto there = files.linkInfo(contents / name);
        if (!there && isMissing(there.error())) return name;
        (void)files.removeItem(file);
        if (!there) {
            errno = static_cast<int>(there.error().code);
            return {};
        }
    }
    errno = EEXIST;
    return {};
}

// Makes a link that leads where another one does. 0 or an errno value.
int copyLink(const Path& link, const Path& target) {
    std::string text(PATH_MAX, '\0');
    const ssize_t length = ::readlink(systemName(link), text.data(), text.size());
    if (length < 0) return errno;
    text.resize(static_cast<size_t>(length));
    return ::symlink(text.c_str(), systemName(target)) == 0 ? 0 : errno;
}

// A copy in the Trash, whole; a link as the link that it is (docs/behaviour.md, own 8).
std::optional<Error> copyThere(Files& files, const Path& item, const Path& target) {
    const auto info = files.linkInfo(item);
    if (!info) return info.error();
    if (info->kind != EntryKind::symbolicLink) return files.copyItem(item, target);
    if (const int failed = copyLink(item, target))
        return posixError(failed, "copying " + item.str());
    return {};
}

// Whether GLib would put the item into the Trash of the item's own file system, under a name that
// nothing there has. Where a name has no information file GLib replaces what bears it, so it is
// asked only where that cannot be (docs/behaviour.md, own 7).
bool isSafeWithGLib(Files& files, const Path& item, const Path& homeFolder) {
    const auto folder = files.info(item.deletingLastPathComponent());
    const auto home = files.info(homeFolder);
    if (!folder || !home || folder->identity.device == home->identity.device) return false;
    Path top = item.deletingLastPathComponent();
    for (Path above = top.deletingLastPathComponent(); !top.empty() && above != top;
         above = top.deletingLastPathComponent()) {
        const auto info = files.info(above.empty() ? Path("/") : above);
        if (!info || info->identity.device != folder->identity.device) break;
        top = above;
    }
    const std::string user = std::to_string(::getuid());
    const std::string name = item.lastPathComponent();
    for (const Path& trash : {top / (".Trash-" + user), top / ".Trash" / user}) {
        for (const Path& taken : {trash / "files" / name, trash / "info" / (name + ".trashinfo")}) {
            const auto info = files.linkInfo(taken);
            if (info || !isMissing(info.error())) return false;
        }
    }
    return true;
}

std::optional<Error> createPrivateFolder(Files& files, const Path& folder) {
    if (files.isFolder(folder)) return {};
    if (auto error = files.createFolder(folder)) return error;
    return files.setPermissions(folder, S_IRWXU);
}

}  // namespace

std::optional<Error> LinuxTrash::recycle(const Path& item) {
    if (const auto info = files_.linkInfo(item); !info) return info.error();
    // GLib reads the environment for itself, once: with another home it would be the wrong Trash.
    const bool isGLibsTrash = Path(g_get_user_data_dir()) / "Trash/files" == homeTrash();
    if (isGLibsTrash && isSafeWithGLib(files_, item, places_.homeDirectory())) {
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
    const std::string name = takeName(files_, contents, information, item.lastPathComponent());
    if (name.empty()) return posixError(errno, "moving " + item.str() + " to the Trash");
    const Path note = information / (name + ".trashinfo");
    auto error = files_.writeFileAtomically(note, informationOf(item));
    if (!error) error = files_.moveItem(item, contents / name);
    if (error && error->is(posixErrorDomain, EXDEV)) {
        error = copyThere(files_, item, contents / name);
        // The copy is whole, and what is left of the item may not be: it stays
        // (docs/behaviour.md, own 7).
        if (!error) return files_.removeItem(item);
    }
    if (error) (void)files_.removeItem(note);
    return error;
}

}  // namespace larkspan::platform
