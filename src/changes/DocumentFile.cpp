#include "changes/DocumentFile.h"

#include "changes/Gzip.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <future>

namespace larkspan {
namespace {

Result<std::string> bytesOf(const Path& file) {
    return platform::Platform::current().files.readFile(file, XMLDocument::largestSize);
}

LoadedDocument loadProjectDocument(const Path& file) {
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
