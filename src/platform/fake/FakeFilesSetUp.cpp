#include "platform/fake/FakeFiles.h"

#include <algorithm>

namespace larkspan::platform {

std::uint64_t FakeFiles::State::free() const {
    if (!capacity) return std::uint64_t{1} << 40;
    const std::uint64_t used = FakeFileTree::bytesBelow(*tree.root());
    return used < *capacity ? *capacity - used : 0;
}

FakeFiles::FakeFiles(const Clock& clock) : clock_(clock) {}

void FakeFiles::add(const Path& path, EntryKind kind, unsigned permissions, std::string content,
                    Date date) {
    state_.with([&](State& state) {
        FakeNodePointer folder = state.tree.root();
        auto names = path.pathComponents();
        const std::string last = names.back();
        names.pop_back();
        for (const std::string& name : names) {
            if (name == "/") continue;
            FakeNodePointer& entry = folder->entries[name];
            if (!entry) entry = state.tree.makeNode(EntryKind::folder, 0755, date);
            folder = entry;
        }
        auto node = state.tree.makeNode(kind, permissions, date);
        node->content = std::move(content);
        node->attributeChangeDate = clock_.now();
        FakeFileTree::put(*folder, last, std::move(node), clock_.now());
    });
}

void FakeFiles::addFile(const Path& path, std::string content, Date date) {
    add(path, EntryKind::file, 0644, std::move(content), date);
}

void FakeFiles::addFolder(const Path& path) {
    if (!isFolder(path)) add(path, EntryKind::folder, 0755, {}, clock_.now());
}

void FakeFiles::addLink(const Path& path, std::string target) {
    add(path, EntryKind::symbolicLink, 0777, std::move(target), clock_.now());
}

void FakeFiles::addPipe(const Path& path) {
    add(path, EntryKind::other, 0644, {}, clock_.now());
}

void FakeFiles::setAttribute(const Path& path, const std::string& name, std::string value) {
    state_.with([&](State& state) {
        const auto found = state.tree.find(path);
        if (found.node) found.node->attributes[name] = std::move(value);
    });
}

void FakeFiles::setCapacity(std::uint64_t bytes) {
    state_.with([&](State& state) { state.capacity = bytes; });
}

Result<size_t> FakeFiles::readPiece(const Path& path, std::uint64_t position,
                                    std::span<char> buffer) {
    return state_.with([&](State& state) -> Result<size_t> {
        const auto found = state.tree.find(path);
        if (found.failed != 0) return posixError(found.failed, "reading " + path.str());
        const std::string& content = found.node->content;
        const size_t start = std::min<size_t>(position, content.size());
        const size_t count = std::min(buffer.size(), content.size() - start);
        std::copy_n(content.data() + start, count, buffer.data());
        return count;
    });
}

std::optional<Error> FakeFiles::writePiece(const Path& path, std::uint64_t position,
                                           std::string_view bytes) {
    return state_.with([&](State& state) -> std::optional<Error> {
        const auto found = state.tree.find(path);
        if (found.failed != 0) return posixError(found.failed, "writing " + path.str());
        std::string& content = found.node->content;
        content.resize(std::max<size_t>(content.size(), position + bytes.size()));
        std::copy_n(bytes.data(), bytes.size(), content.data() + position);
        found.node->modificationDate = found.node->attributeChangeDate = clock_.now();
        return {};
    });
}

}  // namespace larkspan::platform
