#include "changes/DocumentFile.h"

#include "changes/Gzip.h"
#include "platform/FileStreams.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <future>

namespace larkspan {
namespace {

// Smaller files are as well read at once.
constexpr std::uint64_t smallestInPieces = std::uint64_t{1} << 20;

// A large file as it is read piece by piece; null when it has to be read whole.
XMLDocument::Pointer inPieces(const Path& file) {
    auto& current = platform::Platform::current();
    const auto info = current.files.info(file);
    if (!info || info->size < smallestInPieces) return nullptr;
    const auto stream = current.streams.openForReading(file);
    if (!stream) return nullptr;
    std::uint64_t position = 0;
    return XMLDocument::readPieces([&](std::span<char> buffer) -> std::optional<size_t> {
        const auto count = (*stream)->readAt(position, buffer);
        if (!count) return std::nullopt;
        position += *count;
        return *count;
    });
}

Result<std::string> bytesOf(const Path& file) {
    return platform::Platform::current().files.readFile(file, XMLDocument::largestSize);
}

LoadedDocument loadProjectDocument(const Path& file) {
    if (auto document = inPieces(file)) return document;
    Result<std::string> bytes = bytesOf(file);
    if (bytes && isGzip(*bytes)) bytes = gunzipped(*bytes, XMLDocument::largestSize);
    if (!bytes) return bytes.error();
    return XMLDocument::read(std::move(*bytes));
}

LoadedPair loadBoth(LoadedDocument (*load)(const Path&), const Path& newFile, const Path& oldFile) {
    auto oldDoc = std::async(std::launch::async, load, std::cref(oldFile));
    LoadedDocument newDoc = load(newFile);
    return {std::move(newDoc), oldDoc.get()};
}

}  // namespace

LoadedDocument loadDocument(const Path& file) {
    if (auto document = inPieces(file)) return document;
    Result<std::string> bytes = bytesOf(file);
    if (!bytes) return bytes.error();
    return XMLDocument::read(std::move(*bytes));
}

LoadedPair loadDocuments(const Path& newFile, const Path& oldFile) {
    return loadBoth(loadDocument, newFile, oldFile);
}

LoadedPair loadProjectDocuments(const Path& newFile, const Path& oldFile) {
    return loadBoth(loadProjectDocument, newFile, oldFile);
}

bool isPremiereProject(const XMLDocument& document) {
    return xmltree::name(document.root()) == "PremiereData";
}

}  // namespace larkspan
