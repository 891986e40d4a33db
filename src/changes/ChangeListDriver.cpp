#include "changes/ChangeListDriver.h"

#include "changes/ChangeList.h"
#include "changes/DocumentFile.h"
#include "foundation/Text.h"
#include "kit/Preferences.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBLog.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <cerrno>

namespace larkspan {
namespace {

// Larger renditions take too long to compare.
constexpr std::uint64_t largestCompared = 83'886'079;
constexpr std::string_view finalCutFileType = "FCPF";

platform::Platform& current() {
    return platform::Platform::current();
}

std::string lowercasedExtension(const Path& file) {
    return lowercased(file.pathExtension());
}

// "12" of "Scene.12.xml".
std::string versionLabel(const Path& file) {
    return file.deletingPathExtension().pathExtension();
}

std::optional<platform::FileInfo> attributesOf(const Path& file) {
    auto info = current().files.info(file);
    if (!info) {
        ZBLog::appendLog("Unable to get attributes for file %@: %@", file,
                         info.error().description);
    }
    return std::move(info).optional();
}

// The project file whose size and date a rendition reports; the file itself when there is none.
Path reportedFile(const Path& file, const std::string& kind) {
    if (kind != "xml") return file;
    Path project = file.deletingPathExtension().appendingPathExtension("fcp");
    return current().files.exists(project) ? project : file;
}

bool isFinalCutProject(const Path& file) {
    return lowercasedExtension(file) == "fcp" || current().files.typeCode(file) == finalCutFileType;
}

// Without a look into them: the files are read only where their sizes agree.
bool holdSameBytes(const Path& one, const Path& other) {
    const auto info = current().files.info(one);
    return info && info->isFile() && current().files.contentsEqual(one, other);
}

Value::Array arrayOf(const std::vector<std::string>& sentences) {
    return {sentences.begin(), sentences.end()};
}

// The first that is not empty.
IdentifierList rememberedOr(IdentifierList remembered, IdentifierList otherwise) {
    return remembered.empty() ? otherwise : remembered;
}

}  // namespace

struct ChangeListDriver::Version {
    Path file;
    std::string kind;  // the extension, in lower case
    std::string label;
    std::uint64_t size = 0;
    Date date;

    Value::Dictionary entry(const std::vector<std::string>& sentences, const char* type) const {
        return {{"changelist", arrayOf(sentences)},
                {"version", label},
                {"date", date},
                {"size", ZBFileManager::formatFileSize(static_cast<double>(size))},
                {"file", file.str()},
                {"type", type}};
    }
    // Of an XML document.
    Value::Dictionary xmlEntry(const std::vector<std::string>& sentences) const {
        Value::Dictionary fields = entry(sentences, "xml");
        fields["host"] = kind == "prproj" ? "premiere" : "fcp";
        return fields;
    }
};

ChangeListDriver::Version ChangeListDriver::versionOf(const Path& newFile,
                                                      const std::optional<Path>& oldFile) {
    Version version{.file = newFile,
                    .kind = lowercasedExtension(newFile),
                    .label = versionLabel(Path(newFile.lastPathComponent())),
                    .size = 0,
                    .date = current().clock.now()};
    if (const auto info = attributesOf(reportedFile(newFile, version.kind))) {
        version.size = info->size;
        version.date = info->modificationDate;
    }
    if (oldFile) (void)attributesOf(*oldFile);
    return version;
}

ChangeListDriver::Entry ChangeListDriver::changelistForFile(
    const Path& newFile, const std::optional<Path>& withOldFile) {
    const Version version = versionOf(newFile, withOldFile);
    if (version.kind != "xml") return plainEntry(version, withOldFile);
    if (!withOldFile || isFinalCutProject(*withOldFile)) {
        return version.xmlEntry({"(Base version)"});
    }
    if (version.size > largestCompared) {
        Value::Dictionary entry = version.xmlEntry(
            {"Project file size exceeds 80 MB and will not be processed. To reduce file sizes, go "
             "to the Projects tab and change Backup from \"Entire Project\" to a specific "
             "sequence."});
        entry["noProcess"] = true;
        return entry;
    }
    return compared(version, *withOldFile);
}

Value::Dictionary ChangeListDriver::plainEntry(const Version& version,
                                               const std::optional<Path>& oldFile) const {
    std::vector<std::string> sentences;
    const char* type = "doc";
    if (version.kind == "fcp" && Preferences::frontEnd().integer("generateFCPXML", 0) == 1) {
        sentences = {messageText("XML copy %@ not generated", versionLabel(version.file))};
        type = "fcp";
    }
    if (oldFile && current().files.contentsEqual(version.file, *oldFile)) sentences = {"No change"};
    return version.entry(sentences, type);
}

ChangeListDriver::Entry ChangeListDriver::compared(const Version& version, const Path& oldFile) {
    if (memory_.lastXMLDocPath() == oldFile) {
        const auto newDoc = checkedNew(loadDocument(version.file));
        if (!newDoc) return std::nullopt;
        const auto remembered = memory_.lastXMLDoc();
        if (!remembered) {
            (void)checkedOld(Error{xmlDocumentErrorDomain, 0, {}});
            return std::nullopt;
        }
        return comparedDocuments(version, oldFile, newDoc, remembered);
    }
    if (holdSameBytes(version.file, oldFile)) {
        memory_.rememberEqual(oldFile, version.file);
        return version.xmlEntry({"No change"});
    }
    if (const auto known = memory_.documentOf(oldFile)) {
        const auto newDoc = checkedNew(loadDocument(version.file));
        return newDoc ? comparedDocuments(version, oldFile, newDoc, known) : std::nullopt;
    }
    const LoadedPair loaded = loadDocuments(version.file, oldFile);
    const auto newDoc = checkedNew(loaded.newDoc);
    const auto oldDoc = newDoc ? checkedOld(loaded.oldDoc) : nullptr;
    return oldDoc ? comparedDocuments(version, oldFile, newDoc, oldDoc) : std::nullopt;
}

ChangeListDriver::Entry ChangeListDriver::comparedDocuments(const Version& version,
                                                            const Path& oldFile,
                                                            const XMLDocument::Pointer& newDoc,
                                                            const XMLDocument::Pointer& oldDoc) {
    memory_.fill(oldFile, oldDoc);
    // Kept until the comparison is over, since the lists lie in it.
    const auto remembered = memory_.lastXMLDoc();
    ComparedLists lists = listsOf(*newDoc, *oldDoc);
    lists.oldUUIDList = rememberedOr(memory_.lastUUIDArray(), lists.oldUUIDList);
    lists.oldIDList = rememberedOr(memory_.lastIDArray(), lists.oldIDList);
    memory_.remember(oldFile, version.file, newDoc);
    const Cancellation cancellation{[this] { return isCancelled(); }, [this] { endProgress(); }};
    const auto differ =
        version.kind == "prproj" ? changeListForPremiereXMLDoc : changeListForFCPXMLDoc;
    const auto sentences = differ(newDoc.get(), oldDoc.get(), lists, cancellation);
    if (!sentences) {
        ZBLog::appendLog("Unable to create change list");
        return std::nullopt;
    }
    return version.xmlEntry(*sentences);
}

XMLDocument::Pointer ChangeListDriver::checkedNew(const LoadedDocument& loaded) const {
    if (loaded) return *loaded;
    if (loaded.error().domain == xmlDocumentErrorDomain) {
        ZBLog::appendLog("Unable to load XML document");
        endProgressAndAlert("Unable to XML document", "The file may be corrupt.");
    } else {
        ZBLog::appendLog("Unable to load data: %@", loaded.error().description);
        endProgressAndAlert("Unable to load data", loaded.error().description);
    }
    return nullptr;
}

XMLDocument::Pointer ChangeListDriver::checkedOld(const LoadedDocument& loaded) const {
    if (loaded) return *loaded;
    if (loaded.error().domain == xmlDocumentErrorDomain) {
        ZBLog::appendLog("Unable to load prev XML document");
    } else {
        ZBLog::appendLog("Unable to load prev data: %@", loaded.error().description);
    }
    endProgress();
    return nullptr;
}

void ChangeListDriver::endProgressAndAlert(const char* messageText,
                                           const std::string& informativeText) const {
    if (!userInterface) return;
    endProgress();
    const auto interface = userInterface;
    (void)current().mainThread.performAndWait(
        [&] { interface->showAlert(messageText, informativeText); });
}

void ChangeListDriver::endProgress() const {
    if (!userInterface) return;
    (void)current().mainThread.performAndWait([&] { userInterface->endProgress(); });
}

}  // namespace larkspan
