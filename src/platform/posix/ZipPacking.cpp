#include "foundation/Text.h"
#include "platform/posix/ArchiveHandle.h"
#include "platform/posix/FileFacts.h"
#include "platform/posix/FolderChain.h"
#include "platform/posix/PosixFolder.h"
#include "platform/posix/SystemCall.h"
#include "platform/posix/TemporaryItem.h"
#include "platform/posix/ZipArchives.h"

#include <array>
#include <climits>

#include <unistd.h>

namespace larkspan::platform {
namespace {

constexpr size_t pieceSize = size_t{64} * 1024;

class ZipPacking {
  public:
    ZipPacking(const FileCalls& calls, const ArchiveLimits& limits, std::string doing, int target)
        : calls_(calls),
          limits_(limits),
          doing_(std::move(doing)),
          target_(target),
          handle_(archive_write_new()),
          buffer_(pieceSize, '\0') {}

    std::optional<Error> packFile(const Path& source) {
        if (auto error = begin()) return error;
        if (auto error = addFile(AT_FDCWD, systemName(source), source.lastPathComponent(), 0)) {
            return error;
        }
        return finish();
    }

    std::optional<Error> packFolder(const Path& source, IncludeParent includeParent) {
        if (auto error = begin()) return error;
        FileDescriptor top = openFolderAt(AT_FDCWD, systemName(source));
        if (!top) return posixError(errno, doing_);
        if (includeParent == IncludeParent::yes) {
            prefix_ = source.lastPathComponent() + "/";
            if (auto error = addFolder(top.get())) return error;
        }
        FolderChain chain(top.get());
        if (auto error = walk(chain)) return error;
        if (entries_ == 0) {
            // An archive without an entry is taken for a torn one.
            const auto status = statusOf(top.get());
            if (!status) return posixError(errno, doing_);
            if (auto error = writeHeader(*status, "./")) return error;
        }
        return finish();
    }

  private:
    struct Level {
        std::vector<DirectoryEntry> entries;
        size_t next = 0;
        size_t prefixSize = 0;  // of the archived name of the folder above
    };

    std::optional<Error> begin() {
        const auto status = statusOf(target_);
        if (!status) return posixError(errno, doing_);
        identity_ = identityOf(*status);
        if (archive_write_set_format_zip(handle_.get()) != ARCHIVE_OK ||
            archive_write_open_fd(handle_.get(), target_) != ARCHIVE_OK) {
            return archiveError(handle_.get(), doing_);
        }
        return {};
    }

    std::optional<Error> finish() {
        if (archive_write_close(handle_.get()) == ARCHIVE_OK) return {};
        return archiveError(handle_.get(), doing_);
    }

    std::optional<Error> walk(FolderChain& chain) {
        if (auto error = list(chain.current(), prefix_.size())) return error;
        while (!levels_.empty()) {
            Level& level = levels_.back();
            if (level.next == level.entries.size()) {
                if (auto error = leave(chain)) return error;
                continue;
            }
            const DirectoryEntry entry = std::move(level.entries[level.next++]);
            if (auto error = add(chain, entry)) return error;
        }
        return {};
    }

    std::optional<Error> list(int folder, size_t prefixSize) {
        Level level{{}, 0, prefixSize};
        if (const int failed = calls_.listFolder(folder, {}, level.entries)) {
            return posixError(failed, doing_);
        }
        sortListing(level.entries);
        levels_.push_back(std::move(level));
        return {};
    }

    std::optional<Error> leave(FolderChain& chain) {
        prefix_.resize(levels_.back().prefixSize);
        levels_.pop_back();
        if (levels_.empty()) return {};
        FileDescriptor left;
        if (const int failed = chain.leave(left)) return posixError(failed, doing_);
        return {};
    }

    std::optional<Error> add(FolderChain& chain, const DirectoryEntry& entry) {
        switch (entry.kind) {
            case EntryKind::folder:
                return enter(chain, entry.name);
            case EntryKind::file:
                return addFile(chain.current(), entry.name.c_str(), prefix_ + entry.name,
                               O_NOFOLLOW);
            case EntryKind::symbolicLink:
                return addLink(chain.current(), entry.name);
            case EntryKind::other:
                break;
        }
        return {};
    }

    std::optional<Error> enter(FolderChain& chain, const std::string& name) {
        FileDescriptor folder = openFolderAt(chain.current(), name.c_str(), O_NOFOLLOW);
        if (!folder) return posixError(errno, doing_);
        const size_t above = prefix_.size();
        prefix_ += name + "/";
        if (auto error = addFolder(folder.get())) return error;
        if (auto error = list(folder.get(), above)) return error;
        chain.enter(std::move(folder));
        return {};
    }

    std::optional<Error> writeHeader(const struct stat& status, const std::string& name,
                                     const char* linkTarget = nullptr) {
        // A name in other bytes is stored as it is, and not marked as UTF-8, by the plain locale.
        std::optional<Utf8Names> names;
        if (isValidUtf8(name)) names.emplace();
        const ArchiveEntry entry(archive_entry_new());
        archive_entry_set_pathname(entry.get(), name.c_str());
        archive_entry_set_mode(entry.get(), status.st_mode);
        archive_entry_set_mtime(entry.get(), status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
        archive_entry_set_size(entry.get(), S_ISREG(status.st_mode) ? status.st_size : 0);
        if (linkTarget) archive_entry_set_symlink(entry.get(), linkTarget);
        if (entries_++ == limits_.mostEntries) {
            return archiveError(doing_, "it would hold too many entries");
        }
        if (archive_write_header(handle_.get(), entry.get()) == ARCHIVE_OK) return {};
        return archiveError(handle_.get(), doing_);
    }

    std::optional<Error> addFolder(int folder) {
        const auto status = statusOf(folder);
        if (!status) return posixError(errno, doing_);
        return writeHeader(*status, prefix_);
    }

    std::optional<Error> addLink(int folder, const std::string& name) {
        const auto status = statusAt(folder, name.c_str(), AT_SYMLINK_NOFOLLOW);
        std::array<char, PATH_MAX> text{};
        if (!status || ::readlinkat(folder, name.c_str(), text.data(), text.size() - 1) < 0) {
            return posixError(errno, doing_);
        }
        linkBytes_ += std::string_view(text.data()).size();
        if (linkBytes_ > limits_.mostLinkBytes) {
            return archiveError(doing_, "it would hold too many links");
        }
        return writeHeader(*status, prefix_ + name, text.data());
    }

    std::optional<Error> addFile(int folder, const char* name, const std::string& archivedName,
                                 int flags) {
        const FileDescriptor file = openAt(folder, name, O_RDONLY | O_NONBLOCK | flags);
        const auto before = file ? statusOf(file.get()) : std::nullopt;
        if (!before) return posixError(errno, doing_);
        if (!S_ISREG(before->st_mode)) return posixError(EINVAL, doing_);
        if (identityOf(*before) == identity_) return {};  // the archive in the making
        if (auto error = writeHeader(*before, archivedName)) return error;
        if (auto error = writeContent(file.get())) return error;
        const auto after = statusOf(file.get());
        if (after && isUnchanged(*before, *after)) return {};
        return archiveError(doing_, archivedName + " changed meanwhile");
    }

    std::optional<Error> writeContent(int file) {
        for (;;) {
            const ssize_t count =
                retrying([&] { return ::read(file, buffer_.data(), buffer_.size()); });
            if (count < 0) return posixError(errno, doing_);
            if (count == 0) break;
            // Fewer bytes are taken only when the file has grown, which is looked at afterwards.
            if (archive_write_data(handle_.get(), buffer_.data(), static_cast<size_t>(count)) < 0) {
                return archiveError(handle_.get(), doing_);
            }
        }
        if (archive_write_finish_entry(handle_.get()) == ARCHIVE_OK) return {};
        return archiveError(handle_.get(), doing_);
    }

    const FileCalls& calls_;
    const ArchiveLimits limits_;
    std::string doing_;
    int target_;
    FileIdentity identity_;
    ArchiveHandle handle_;
    std::string buffer_;
    std::string prefix_;  // the archived name of the folder that the walk is in, with a slash
    std::vector<Level> levels_;
    std::uint64_t entries_ = 0;  // written
    size_t linkBytes_ = 0;
};

}  // namespace

std::optional<Error> ZipArchives::pack(const Path& source, const Path& archive,
                                       IncludeParent includeParent) {
    const std::string doing = "packing " + source.str() + " into " + archive.str();
    const auto status = statusAt(AT_FDCWD, systemName(source), 0);
    if (!status) return posixError(errno, doing);
    const EntryPlace place(archive);
    if (!place.folder) return posixError(errno, doing);
    if (statusAt(place.folder.get(), place.name.c_str(), AT_SYMLINK_NOFOLLOW)) {
        return posixError(EEXIST, doing);
    }
    // What was closed to others does not become readable by being packed into an open folder.
    constexpr mode_t mode = S_IRUSR | S_IWUSR;
    auto item =
        TemporaryItem::makeFile(calls_, place.folder.get(), temporaryCopyPrefix, mode, doing);
    if (!item) return item.error();
    ZipPacking packing(calls_, limits_, doing, item->descriptor());
    auto error = S_ISDIR(status->st_mode) ? packing.packFolder(source, includeParent)
                                          : packing.packFile(source);
    if (error) return error;
    if (const int failed = item->publish(place.name)) return posixError(failed, doing);
    return {};
}

}  // namespace larkspan::platform
