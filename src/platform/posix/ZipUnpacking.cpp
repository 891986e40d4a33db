#include "platform/posix/ArchiveHandle.h"
#include "platform/posix/ArchivedName.h"
#include "platform/posix/FileContents.h"
#include "platform/posix/FileFacts.h"
#include "platform/posix/SystemCall.h"
#include "platform/posix/TemporaryItem.h"
#include "platform/posix/ZipArchives.h"

#include <array>
#include <string_view>

#include <sys/statvfs.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

constexpr size_t pieceSize = size_t{64} * 1024;
// Stays free on the disk whatever an archive holds.
constexpr std::uint64_t reserve = std::uint64_t{64} * 1024 * 1024;
constexpr mode_t rightsMask = S_IRWXU | S_IRWXG | S_IRWXO;

class ZipUnpacking {
  public:
    ZipUnpacking(const FileCalls& calls, const ArchiveLimits& limits, std::string doing, int target)
        : calls_(calls),
          doing_(std::move(doing)),
          target_(target),
          entriesLeft_(limits.mostEntries),
          bytesLeft_(limits.mostBytes ? *limits.mostBytes : roomOnDisk(target)),
          linkBytesLeft_(limits.mostLinkBytes),
          handle_(archive_read_new()),
          buffer_(pieceSize, '\0') {}

    std::optional<Error> run(int file) {
        // The central directory is what counts: only it has the kinds and permissions.
        if (archive_read_support_format_zip_seekable(handle_.get()) != ARCHIVE_OK ||
            archive_read_open_fd(handle_.get(), file, pieceSize) != ARCHIVE_OK) {
            return archiveError(handle_.get(), doing_);
        }
        for (;;) {
            archive_entry* entry = nullptr;
            const int result = archive_read_next_header(handle_.get(), &entry);
            if (result == ARCHIVE_EOF) break;
            // Warnings are about names and what else is not understood: an entry that has no name
            // then is refused.
            if (result != ARCHIVE_OK && result != ARCHIVE_WARN) {
                return archiveError(handle_.get(), doing_);
            }
            if (entriesLeft_-- == 0) return archiveError(doing_, "it holds too many entries");
            if (auto error = unpack(entry)) return error;
        }
        if (auto error = makeLinks()) return error;
        return finishFolders();
    }

  private:
    struct MadeFolder {
        std::vector<std::string> components;
        mode_t rights;
        timespec date;
    };

    struct AwaitedLink {
        std::vector<std::string> components;
        std::string leadsTo;
    };

    static std::uint64_t roomOnDisk(int folder) {
        struct statvfs facts {};
        if (::fstatvfs(folder, &facts) != 0) return 0;
        const std::uint64_t free = std::uint64_t{facts.f_bavail} * facts.f_frsize;
        return free > reserve ? free - reserve : 0;
    }

    std::optional<Error> unpack(archive_entry* entry) {
        const char* name = archive_entry_pathname(entry);
        const auto components = name ? archivedNameComponents(name) : std::nullopt;
        if (!components || archive_entry_hardlink(entry)) return refused(name);
        switch (archive_entry_filetype(entry)) {
            case AE_IFDIR:
                return makeFolder(entry, *components);
            case AE_IFREG:
                return components->empty() ? refused(name) : makeFile(entry, *components);
            case AE_IFLNK:
                return components->empty() ? refused(name) : awaitLink(entry, *components);
            default:
                return refused(name);
        }
    }

    Error refused(const char* name) const {
        return archiveError(doing_, "the entry \"" + std::string(name ? name : "") +
                                        "\" does not stay in the folder or is of a strange kind");
    }

    // Opens a folder in the new one, making what is missing on the way; a link on the way is
    // refused. Owns nothing, with errno set, on failure.
    FileDescriptor openFolder(const std::vector<std::string>& components, size_t count) const {
        FileDescriptor folder = openFolderAt(target_, ".");
        for (size_t i = 0; folder && i < count; ++i) {
            const char* name = components[i].c_str();
            if (::mkdirat(folder.get(), name, rightsMask) != 0 && errno != EEXIST) return {};
            folder = openFolderAt(folder.get(), name, O_NOFOLLOW);
        }
        return folder;
    }
    FileDescriptor openParent(const std::vector<std::string>& components) const {
        return openFolder(components, components.size() - 1);
    }

    std::optional<Error> makeFolder(archive_entry* entry,
                                    const std::vector<std::string>& components) {
        if (!openFolder(components, components.size())) return posixError(errno, doing_);
        folders_.push_back({components,
                            (archive_entry_perm(entry) & rightsMask) | S_IRWXU,
                            {archive_entry_mtime(entry), archive_entry_mtime_nsec(entry)}});
        return {};
    }

    std::optional<Error> awaitLink(archive_entry* entry,
                                   const std::vector<std::string>& components) {
        const char* text = archive_entry_symlink(entry);
        if (!text || *text == '\0') return refused(archive_entry_pathname(entry));
        const size_t size = std::string_view(text).size();
        if (size > linkBytesLeft_) return archiveError(doing_, "it holds too many links");
        linkBytesLeft_ -= size;
        links_.push_back({components, text});
        return {};
    }

    // When everything else is there, so that no entry can pass through one
    // (docs/behaviour.md, own 9).
    std::optional<Error> makeLinks() {
        for (const auto& [components, leadsTo] : links_) {
            const FileDescriptor folder = openParent(components);
            const char* name = components.back().c_str();
            if (!folder || ::symlinkat(leadsTo.c_str(), folder.get(), name) != 0) {
                return posixError(errno, doing_);
            }
        }
        return {};
    }

    std::optional<Error> makeFile(archive_entry* entry,
                                  const std::vector<std::string>& components) {
        const FileDescriptor folder = openParent(components);
        if (!folder) return posixError(errno, doing_);
        const FileDescriptor file =
            openAt(folder.get(), components.back().c_str(),
                   O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, S_IRUSR | S_IWUSR);
        if (!file) return posixError(errno, doing_ + ": " + components.back());
        if (auto error = writeContent(file.get())) return error;
        const timespec date{archive_entry_mtime(entry), archive_entry_mtime_nsec(entry)};
        return finishItem(file.get(), (archive_entry_perm(entry) & rightsMask) | S_IRUSR, date);
    }

    std::optional<Error> writeContent(int file) {
        for (;;) {
            const la_ssize_t count =
                archive_read_data(handle_.get(), buffer_.data(), buffer_.size());
            if (count == 0) return {};
            if (count < 0) return archiveError(handle_.get(), doing_);
            if (static_cast<std::uint64_t>(count) > bytesLeft_) return posixError(ENOSPC, doing_);
            bytesLeft_ -= static_cast<std::uint64_t>(count);
            if (const int failed = writeAll(file, {buffer_.data(), static_cast<size_t>(count)})) {
                return posixError(failed, doing_);
            }
        }
    }

    std::optional<Error> finishItem(int item, mode_t rights, const timespec& date) {
        const std::array<timespec, 2> times{date, date};
        if (::fchmod(item, rights) != 0 || ::futimens(item, times.data()) != 0) {
            return posixError(errno, doing_);
        }
        if (const int failed = calls_.sync(item)) return posixError(failed, doing_);
        return {};
    }

    // Folders get their rights and dates when everything is in them, the lowest first.
    std::optional<Error> finishFolders() {
        for (auto folder = folders_.rbegin(); folder != folders_.rend(); ++folder) {
            const FileDescriptor open = openFolder(folder->components, folder->components.size());
            if (!open) return posixError(errno, doing_);
            if (auto error = finishItem(open.get(), folder->rights, folder->date)) return error;
        }
        return {};
    }

    const FileCalls& calls_;
    std::string doing_;
    int target_;
    std::uint64_t entriesLeft_;
    std::uint64_t bytesLeft_;
    size_t linkBytesLeft_;
    ArchiveHandle handle_;
    std::string buffer_;
    std::vector<MadeFolder> folders_;
    std::vector<AwaitedLink> links_;
};

}  // namespace

std::optional<Error> ZipArchives::unpack(const Path& archive, const Path& folder) {
    const std::string doing = "unpacking " + archive.str() + " into " + folder.str();
    const FileDescriptor file = openAt(AT_FDCWD, systemName(archive), O_RDONLY | O_NONBLOCK);
    const auto status = file ? statusOf(file.get()) : std::nullopt;
    if (!status) return posixError(errno, doing);
    if (!S_ISREG(status->st_mode)) return posixError(EINVAL, doing);
    const EntryPlace place(folder);
    if (!place.folder) return posixError(errno, doing);
    if (statusAt(place.folder.get(), place.name.c_str(), AT_SYMLINK_NOFOLLOW)) {
        return posixError(EEXIST, doing);
    }
    auto item = TemporaryItem::makeFolder(calls_, place.folder.get(), temporaryCopyPrefix, doing);
    if (!item) return item.error();
    if (::fchmod(item->descriptor(), S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH) != 0) {
        return posixError(errno, doing);
    }
    const Utf8Names names;
    if (auto error = ZipUnpacking(calls_, limits_, doing, item->descriptor()).run(file.get())) {
        return error;
    }
    if (const int failed = item->publish(place.name)) return posixError(failed, doing);
    return {};
}

}  // namespace larkspan::platform
