#include "changes/ChangeListMemory.h"

#include "changes/DocumentFile.h"
#include "platform/Platform.h"

namespace larkspan {

std::optional<ChangeListMemory::FileState> ChangeListMemory::stateOf(const Path& file) {
    auto info = platform::Platform::current().files.info(file);
    if (!info) return std::nullopt;
    return FileState{file, *info};
}

XMLDocument::Pointer ChangeListMemory::lastXMLDoc() {
    if (isUnread_ && newest_) {
        auto loaded = loadDocument(newest_->path);
        if (loaded) lastXMLDoc_ = *loaded;
    }
    isUnread_ = false;
    return lastXMLDoc_;
}

IdentifierList ChangeListMemory::lastUUIDArray() {
    const auto document = lastXMLDoc();
    return document ? IdentifierList(document->identifiers().uuids) : IdentifierList();
}

IdentifierList ChangeListMemory::lastIDArray() {
    const auto document = lastXMLDoc();
    return document ? IdentifierList(document->identifiers().ids) : IdentifierList();
}

XMLDocument::Pointer ChangeListMemory::documentOf(const Path& file) const {
    if (!lastXMLDoc_ || !newest_ || newest_->path != file) return nullptr;
    const auto now = stateOf(file);
    const bool isSame = now && now->info.identity == newest_->info.identity &&
                        now->info.size == newest_->info.size &&
                        now->info.modificationDate == newest_->info.modificationDate &&
                        now->info.attributeChangeDate == newest_->info.attributeChangeDate;
    return isSame ? lastXMLDoc_ : nullptr;
}

void ChangeListMemory::remember(const Path& oldFile, const Path& newFile,
                                XMLDocument::Pointer newDoc) {
    lastXMLDocPath_ = oldFile;
    lastXMLDoc_ = std::move(newDoc);
    newest_ = stateOf(newFile);
    isUnread_ = false;
}

void ChangeListMemory::rememberEqual(const Path& oldFile, const Path& newFile) {
    const auto same = documentOf(oldFile);
    remember(oldFile, newFile, same);
    isUnread_ = !same;
}

void ChangeListMemory::fill(const Path& file, const XMLDocument::Pointer& document) {
    if (!isUnread_ || !newest_ || newest_->path != file) return;
    lastXMLDoc_ = document;
    isUnread_ = false;
}

void ChangeListMemory::forget() {
    *this = {};
}

}  // namespace larkspan
