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

Path informationFile(const Path& reserved) {
    const Path trash = reserved.deletingLastPathComponent().deletingLastPathComponent();
    return trash / "info" / (reserved.lastPathComponent() + ".trashinfo");
}

// The name, or as much of it as leaves room for what is added to names in the Trash. Its extension
// stays.
std::string fitting(const std::string& name) {
    constexpr size_t longest = NAME_MAX - 25;
    if (name.size() <= longest) return name;
    const std::string extension = Path(name).pathExtension();
    const std::string ending =
        extension.empty() || extension.size() > longest / 2 ? std::string() : "." + extension;
    size_t end = longest - ending.size();
    constexpr unsigned char continuation = 0x80;  // of a character in UTF-8, under the mask 0xC0
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0U) == continuation) --end;
    return name.substr(0, end) + ending;
}

// A path in the Trash that nothing else has. Whoever creates its information file first has it; an
// item without such a file has its name, too.
Result<Path> takeName(Files& files, const Path& contents, const Path& item,
                      const std::function<std::string(int)>& nameForTry) {
    constexpr int mostTries = 10'000;
    const std::string doing = "moving " + item.str() + " to the Trash";
    for (int number = 1; number < mostTries; ++number) {
        Path reserved = contents / nameForTry(number);
        const Path file = informationFile(reserved);
        if (!openAt(AT_FDCWD, systemName(file), O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR)) {
            if (errno != EEXIST) return posixError(errno, doing);
            continue;
        }
        const auto there = files.linkInfo(reserved);
        if (!there && isMissing(there.error())) return reserved;
        (void)files.removeItem(file);
        if (!there) return there.error();
    }
    return posixError(EEXIST, doing);
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

Result<Path> LinuxTrash::reserve(const Path& item,
                                 const std::function<std::string(int)>& nameForTry) {
    const Path contents = homeTrash();
    const Path trash = contents.deletingLastPathComponent();
    for (const Path& folder : {trash, contents, trash / "info"}) {
        if (auto error = createPrivateFolder(files_, folder)) return *error;
    }
    auto reserved = takeName(files_, contents, item, nameForTry);
    if (!reserved) return reserved;
    if (auto error = files_.writeFileAtomically(informationFile(*reserved), informationOf(item))) {
        giveUp(*reserved);
        return *error;
    }
    return reserved;
}

void LinuxTrash::giveUp(const Path& reserved) {
    (void)files_.removeItem(informationFile(reserved));
}

std::optional<Error> LinuxTrash::moveToHomeTrash(const Path& item) {
    // Otherwise every try would leave one more copy there.
    if (!files_.isDeletable(item)) return posixError(EACCES, "removing " + item.str());
    const std::string name = fitting(item.lastPathComponent());
    const auto reserved = reserve(
        item, [&](int number) { return number == 1 ? name : name + "." + std::to_string(number); });
    if (!reserved) return reserved.error();
    auto error = files_.moveItem(item, *reserved);
    if (error && error->is(posixErrorDomain, EXDEV)) {
        error = copyThere(files_, item, *reserved);
        // The copy is whole, and what is left of the item may not be: it stays
        // (docs/behaviour.md, own 7).
        if (!error) return files_.removeItem(item);
    }
    if (error) giveUp(*reserved);
    return error;
}

}  // namespace larkspan::platform
