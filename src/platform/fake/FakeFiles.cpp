#include "platform/fake/FakeFiles.h"

#include "platform/FinderInfo.h"

#include <algorithm>
#include <cerrno>

namespace larkspan::platform {
namespace {

using LastLink = FakeFileTree::LastLink;
constexpr unsigned mayRead = 4;
constexpr unsigned mayWrite = 2;
constexpr unsigned mayGoThrough = 1;

// What keeps entries of a folder from being added or removed; 0 when nothing does.
int writeProblem(const FakeNode& folder) {
    return folder.allows(mayWrite | mayGoThrough) ? 0 : EACCES;
}

Result<std::string> contentOf(const FakeFileTree::Found& found, size_t largestSize,
                              const std::string& doing) {
    if (found.failed != 0) return posixError(found.failed, doing);
    const FakeNode& node = *found.node;
    if (node.kind == EntryKind::folder) return posixError(EISDIR, doing);
    if (node.kind != EntryKind::file) return posixError(EINVAL, doing);
    if (!node.allows(mayRead)) return posixError(EACCES, doing);
    if (node.size() > largestSize) return posixError(EFBIG, doing);
    return node.content;
}

Result<FileInfo> infoOf(const FakeFileTree& tree, const FakeFileTree::Found& found,
                        const std::string& doing) {
    if (found.failed != 0) return posixError(found.failed, doing);
    return tree.info(*found.node);
}

// Why an entry cannot be made where `to` was looked for; 0 when it can.
int placeProblem(const FakeFileTree::Found& to) {
    if (to.failed == 0) return EEXIST;
    return to.failed == ENOENT && to.folder ? writeProblem(*to.folder) : to.failed;
}

}  // namespace

class FakeFiles::OpenFolder final : public Folder {
  public:
    OpenFolder(FakeFiles& files, FakeNodePointer node) : files_(files), node_(std::move(node)) {}

    static Result<std::unique_ptr<Folder>> opened(FakeFiles& files,
                                                  const FakeFileTree::Found& found,
                                                  const std::string& doing) {
        if (found.failed != 0) return posixError(found.failed, doing);
        if (found.node->kind != EntryKind::folder) return posixError(ENOTDIR, doing);
        if (!found.node->allows(mayRead)) return posixError(EACCES, doing);
        return std::unique_ptr<Folder>(std::make_unique<OpenFolder>(files, found.node));
    }

    Result<std::vector<DirectoryEntry>> entries(const EntryFilter& filter, Sorted sorted) override {
        auto found = files_.state_.with([&](State&) { return FakeFileTree::list(*node_); });
        // Nobody is to rely on an order that was not asked for.
        if (sorted == Sorted::no) std::ranges::reverse(found);
        // Outside the lock: the filter may look at files.
        if (filter) std::erase_if(found, [&](const auto& e) { return !filter(e.name, e.kind); });
        return found;
    }
    Result<std::unique_ptr<Folder>> openFolder(const std::string& name) override {
        return opened(files_, find(name), "opening folder " + name);
    }
    Result<FileInfo> info(const std::string& name) override {
        return files_.state_.with([&](State& state) {
            return infoOf(state.tree, state.tree.find(node_, name, LastLink::follow), name);
        });
    }
    Result<FileInfo> info() override {
        return files_.state_.with(
            [&](State& state) -> Result<FileInfo> { return state.tree.info(*node_); });
    }
    Result<std::string> readFile(const std::string& name, size_t largestSize) override {
        return files_.state_.with([&](State& state) {
            return contentOf(state.tree.find(node_, name, LastLink::follow), largestSize,
                             "reading " + name);
        });
    }
    std::optional<Error> removeFile(const std::string& name) override {
        return files_.change("removing " + name, [&](State& state) {
            const auto found = state.tree.find(node_, name, LastLink::keep);
            if (found.failed == 0 && found.node->kind == EntryKind::folder) return EISDIR;
            return files_.takeAway(found);
        });
    }

  private:
    FakeFileTree::Found find(const std::string& name) {
        return files_.state_.with(
            [&](State& state) { return state.tree.find(node_, name, LastLink::follow); });
    }

    FakeFiles& files_;
    FakeNodePointer node_;
};

class FakeFiles::Writer final : public FileWriter {
  public:
    Writer(FakeFiles& files, FakeNodePointer node, std::string doing)
        : files_(files), node_(std::move(node)), doing_(std::move(doing)) {}

    std::optional<Error> write(std::string_view bytes) override {
        return files_.change(doing_, [&](State& state) {
            // What still fits is written, as on a real disk.
            const auto fits = std::min<std::uint64_t>(bytes.size(), state.free());
            node_->content += bytes.substr(0, fits);
            node_->modificationDate = node_->attributeChangeDate = files_.clock_.now();
            return fits < bytes.size() ? ENOSPC : 0;
        });
    }

  private:
    FakeFiles& files_;
    FakeNodePointer node_;
    std::string doing_;
};

template <class Body>
std::optional<Error> FakeFiles::change(const std::string& doing, Body body) {
    const int failed = state_.with(body);
    if (failed == 0) return {};
    return posixError(failed, doing);
}

Result<FileInfo> FakeFiles::info(const Path& path) {
    return state_.with(
        [&](State& state) { return infoOf(state.tree, state.tree.find(path), path.str()); });
}

Result<FileInfo> FakeFiles::linkInfo(const Path& path) {
    return state_.with([&](State& state) {
        return infoOf(state.tree, state.tree.find(path, LastLink::keep), path.str());
    });
}

Result<Path> FakeFiles::realPath(const Path& path) {
    return state_.with([&](State& state) -> Result<Path> {
        const auto found = state.tree.find(path);
        if (found.failed != 0) return posixError(found.failed, path.str());
        return state.tree.pathOf(*found.node);
    });
}

Result<std::vector<DirectoryEntry>> FakeFiles::contentsOfFolder(const Path& path) {
    const std::string doing = "listing " + path.str();
    return state_.with([&](State& state) -> Result<std::vector<DirectoryEntry>> {
        const auto found = state.tree.find(path);
        if (found.failed != 0) return posixError(found.failed, doing);
        if (found.node->kind != EntryKind::folder) return posixError(ENOTDIR, doing);
        if (!found.node->allows(mayRead)) return posixError(EACCES, doing);
        return FakeFileTree::list(*found.node);
    });
}

Result<std::unique_ptr<Folder>> FakeFiles::openFolder(const Path& path) {
    return OpenFolder::opened(*this,
                              state_.with([&](State& state) { return state.tree.find(path); }),
                              "opening folder " + path.str());
}

Result<std::string> FakeFiles::readFile(const Path& path, size_t largestSize) {
    return state_.with([&](State& state) {
        return contentOf(state.tree.find(path), largestSize, "reading " + path.str());
    });
}

std::optional<Error> FakeFiles::writeFileAtomically(const Path& path, std::string_view bytes) {
    return change("writing " + path.str(), [&](State& state) {
        const auto found = state.tree.find(path);
        if (found.failed != 0 && !(found.failed == ENOENT && found.folder)) return found.failed;
        if (!found.folder || (found.node && found.node->kind == EntryKind::folder)) return EISDIR;
        if (found.node && found.node->kind != EntryKind::file) return EINVAL;
        if (const int problem = writeProblem(*found.folder)) return problem;
        if (bytes.size() > state.free()) return ENOSPC;
        const unsigned permissions = found.node ? found.node->permissions : 0644;
        auto node = state.tree.makeNode(EntryKind::file, permissions, clock_.now());
        node->content = bytes;
        FakeFileTree::put(*found.folder, found.name, std::move(node), clock_.now());
        return 0;
    });
}

Result<std::unique_ptr<FileWriter>> FakeFiles::openForAppending(const Path& path) {
    const std::string doing = "opening " + path.str();
    return state_.with([&](State& state) -> Result<std::unique_ptr<FileWriter>> {
        const auto found = state.tree.find(path);
        if (found.failed != 0) return posixError(found.failed, doing);
        if (found.node->kind == EntryKind::folder) return posixError(EISDIR, doing);
        if (found.node->kind != EntryKind::file) return posixError(EINVAL, doing);
        if (!found.node->allows(mayWrite)) return posixError(EACCES, doing);
        return std::unique_ptr<FileWriter>(
            std::make_unique<Writer>(*this, found.node, "writing " + path.str()));
    });
}

Result<std::unique_ptr<FolderLock>> FakeFiles::lockFolder(const Path& folder, Seconds patience) {
    const std::string doing = "locking folder " + folder.str();
    const int problem = state_.with([&](State& state) {
        const auto found = state.tree.find(folder, LastLink::follow);
        if (found.failed != 0) return found.failed;
        if (found.node->kind != EntryKind::folder) return ENOTDIR;
        return found.node->allows(mayRead) ? 0 : EACCES;
    });
    if (problem != 0) return posixError(problem, doing);
    auto lock = locks_.take(folder, patience);
    if (!lock) return posixError(ETIMEDOUT, doing);
    return lock;
}

std::optional<Error> FakeFiles::createFolder(const Path& path) {
    return change("creating folder " + path.str(), [&](State& state) {
        if (path.empty()) return ENOENT;
        Path above;
        int problem = 0;
        for (const std::string& name : path.pathComponents()) {
            if (problem != 0) return problem == EEXIST ? ENOTDIR : problem;
            above = above.empty() ? Path(name) : above / name;
            problem = createOneFolder(state, above);
        }
        return problem;
    });
}

int FakeFiles::createOneFolder(State& state, const Path& path) {
    const auto found = state.tree.find(path);
    if (found.failed == 0 && found.node->kind == EntryKind::folder) return 0;
    if (const int problem = placeProblem(found)) return problem;
    auto node = state.tree.makeNode(EntryKind::folder, 0755, clock_.now());
    FakeFileTree::put(*found.folder, found.name, std::move(node), clock_.now());
    return 0;
}

std::optional<Error> FakeFiles::copyItem(const Path& source, const Path& target) {
    return change("copying " + source.str(),
                  [&](State& state) { return copyNode(state, source, target); });
}

int FakeFiles::copyNode(State& state, const Path& source, const Path& target) {
    const auto from = state.tree.find(source);
    if (from.failed != 0) return from.failed;
    const FakeNode& node = *from.node;
    if (node.kind == EntryKind::other) return EINVAL;
    const auto to = state.tree.find(target, LastLink::keep);
    if (const int problem = placeProblem(to)) return problem;
    if (FakeFileTree::holds(node, *to.folder)) return EINVAL;
    if (!FakeFileTree::isReadable(node)) return EACCES;
    if (FakeFileTree::bytesBelow(node) > state.free()) return ENOSPC;
    FakeFileTree::put(*to.folder, to.name, state.tree.copy(node, clock_.now()), clock_.now());
    return 0;
}

int FakeFiles::removeAbandonedCopies(const Path& path) {
    return state_.with([&](State& state) {
        const auto found = state.tree.find(path);
        if (found.failed != 0 || writeProblem(*found.node) != 0) return 0;
        return static_cast<int>(std::erase_if(found.node->entries, [](const auto& entry) {
            return isTemporaryItemName(entry.first);
        }));
    });
}

std::optional<Error> FakeFiles::moveItem(const Path& source, const Path& target) {
    return change("moving " + source.str() + " to " + target.str(),
                  [&](State& state) { return moveNode(state, source, target); });
}

int FakeFiles::moveNode(State& state, const Path& source, const Path& target) {
    const auto from = state.tree.find(source, LastLink::keep);
    if (from.failed != 0) return from.failed;
    const auto to = state.tree.find(target, LastLink::keep);
    if (const int problem = placeProblem(to)) return problem;
    if (!from.folder || FakeFileTree::holds(*from.node, *to.folder)) return EINVAL;
    if (from.node->locked) return EPERM;
    if (const int problem = writeProblem(*from.folder)) return problem;
    FakeFileTree::take(*from.folder, from.name, clock_.now());
    FakeFileTree::put(*to.folder, to.name, from.node, clock_.now());
    return 0;
}

std::optional<Error> FakeFiles::removeItem(const Path& path) {
    return change("removing " + path.str(),
                  [&](State& state) { return takeAway(state.tree.find(path, LastLink::keep)); });
}

std::optional<Error> FakeFiles::removeEmptyFolder(const Path& path) {
    return change("removing folder " + path.str(), [&](State& state) {
        const auto found = state.tree.find(path, LastLink::keep);
        if (found.failed == 0 && found.node->kind != EntryKind::folder) return ENOTDIR;
        if (found.failed == 0 && !found.node->entries.empty()) return ENOTEMPTY;
        return takeAway(found);
    });
}

int FakeFiles::takeAway(const FakeFileTree::Found& found) {
    if (found.failed != 0) return found.failed;
    if (!found.folder) return EINVAL;
    if (found.node->locked) return EPERM;
    if (const int problem = writeProblem(*found.folder)) return problem;
    FakeFileTree::take(*found.folder, found.name, clock_.now());
    return 0;
}

std::optional<Error> FakeFiles::setPermissions(const Path& path, unsigned permissions) {
    return change("setting permissions of " + path.str(), [&](State& state) {
        const auto found = state.tree.find(path);
        if (found.failed != 0) return found.failed;
        found.node->permissions = permissions & 07777;
        found.node->attributeChangeDate = clock_.now();
        return 0;
    });
}

std::optional<Error> FakeFiles::setModificationDate(const Path& path, Date date) {
    return change("setting the modification date of " + path.str(), [&](State& state) {
        const auto found = state.tree.find(path);
        if (found.failed != 0) return found.failed;
        found.node->modificationDate = date;
        found.node->attributeChangeDate = clock_.now();
        return 0;
    });
}

bool FakeFiles::allows(const Path& path, unsigned rights) {
    return state_.with([&](State& state) {
        const auto found = state.tree.find(path);
        return found.failed == 0 && found.node->allows(rights);
    });
}

bool FakeFiles::isLocked(const Path& path) {
    return state_.with([&](State& state) {
        const auto found = state.tree.find(path, LastLink::keep);
        return found.failed == 0 && found.node->locked;
    });
}

std::optional<Error> FakeFiles::setLocked(const Path& path, bool locked) {
    return change((locked ? "locking " : "unlocking ") + path.str(), [&](State& state) {
        const auto found = state.tree.find(path, LastLink::keep);
        if (found.failed == 0) found.node->locked = locked;
        return found.failed;
    });
}

bool FakeFiles::isWritable(const Path& path) {
    return allows(path, mayWrite);
}

bool FakeFiles::isExecutable(const Path& path) {
    return allows(path, mayGoThrough);
}

bool FakeFiles::isDeletable(const Path& path) {
    return state_.with([&](State& state) {
        const auto found = state.tree.find(path, LastLink::keep);
        return found.failed == 0 && found.folder && writeProblem(*found.folder) == 0;
    });
}

std::string FakeFiles::typeCode(const Path& path) {
    const auto attribute = state_.with([&](State& state) -> std::optional<std::string> {
        const auto found = state.tree.find(path);
        if (found.failed != 0) return {};
        const auto value = found.node->attributes.find(finderInfoAttribute);
        if (value == found.node->attributes.end()) return {};
        return value->second;
    });
    return typeCodeOfFile(*this, path, attribute);
}

std::optional<Error> FakeFiles::setTypeAndCreator(const Path& path, const std::string& type,
                                                  const std::string& creator) {
    return change("setting the type of " + path.str(), [&](State& state) {
        const auto found = state.tree.find(path);
        if (found.failed != 0) return found.failed;
        std::string& info = found.node->attributes[finderInfoAttribute];
        info = finderInfoWithCodes(info, type, creator);
        return 0;
    });
}

bool FakeFiles::contentsEqual(const Path& one, const Path& other) {
    return state_.with([&](State& state) {
        const auto first = state.tree.find(one, LastLink::keep);
        const auto second = state.tree.find(other, LastLink::keep);
        return first.failed == 0 && second.failed == 0 &&
               FakeFileTree::contentsEqual(*first.node, *second.node);
    });
}

std::optional<DiskSpace> FakeFiles::diskSpace(const Path& path) {
    return state_.with([&](State& state) -> std::optional<DiskSpace> {
        if (state.tree.find(path).failed != 0) return {};
        const std::uint64_t used = FakeFileTree::bytesBelow(*state.tree.root());
        return DiskSpace{.total = used + state.free(), .free = state.free()};
    });
}

}  // namespace larkspan::platform
