#include "platform/fake/FakeArchives.h"

#include "foundation/PropertyList.h"

#include <cerrno>

namespace larkspan::platform {
namespace {

struct Named {
    Path path;
    std::string name;  // in the archive
};

// The content of a file as data, a folder as an empty dictionary.
using Packed = Value::Dictionary;

std::optional<Error> addEntry(Files& files, const Named& entry, Packed& packed,
                              std::vector<Named>& waiting) {
    const auto facts = files.linkInfo(entry.path);
    if (facts && facts->isFolder()) {
        auto listed = files.contentsOfFolder(entry.path);
        if (!listed) return listed.error();
        if (!entry.name.empty()) packed[entry.name] = Packed();
        const std::string prefix = entry.name.empty() ? "" : entry.name + "/";
        for (const auto& inside : *listed) {
            waiting.push_back({entry.path / inside.name, prefix + inside.name});
        }
    } else if (facts && facts->isFile()) {
        auto content = files.readFile(entry.path, largestPropertyList);
        if (!content) return content.error();
        packed[entry.name] = Data{std::move(*content)};
    }
    return {};
}

}  // namespace

std::optional<Error> FakeArchives::pack(const Path& source, const Path& archive,
                                        IncludeParent includeParent) {
    if (files_.linkInfo(archive)) return posixError(EEXIST, archive.str());
    const auto facts = files_.info(source);
    if (!facts) return posixError(ENOENT, source.str());
    const bool isNamed = !facts->isFolder() || includeParent == IncludeParent::yes;
    std::vector<Named> waiting{{source, isNamed ? source.lastPathComponent() : ""}};
    Packed packed;
    while (!waiting.empty()) {
        const Named entry = std::move(waiting.back());
        waiting.pop_back();
        if (auto error = addEntry(files_, entry, packed, waiting)) return error;
    }
    auto error = files_.writeFileAtomically(archive, serializePropertyList(packed));
    return error ? error : files_.setPermissions(archive, 0600);
}

std::optional<Error> FakeArchives::unpack(const Path& archive, const Path& folder) {
    if (files_.linkInfo(folder)) return posixError(EEXIST, folder.str());
    auto error = unpackEntries(archive, folder);
    if (error) (void)files_.removeItem(folder);
    return error;
}

std::optional<Error> FakeArchives::unpackEntries(const Path& archive, const Path& folder) {
    const auto bytes = files_.readFile(archive, largestPropertyList);
    if (!bytes) return bytes.error();
    const auto packed = parsePropertyList(*bytes);
    if (!packed || !packed->dictionary()) {
        return Error{archivesErrorDomain, 1, archive.str() + " is no archive"};
    }
    if (auto error = files_.createFolder(folder)) return error;
    for (const auto& [name, content] : *packed->dictionary()) {
        const Path target = folder / name;
        auto error =
            files_.createFolder(content.data() ? target.deletingLastPathComponent() : target);
        if (!error && content.data()) {
            error = files_.writeFileAtomically(target, content.data()->bytes);
        }
        if (error) return error;
    }
    return {};
}

}  // namespace larkspan::platform
