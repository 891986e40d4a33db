#include "changes/ChangeList.h"
#include "changes/DocumentFile.h"
#include "changes/Sentence.h"
#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Json.h"
#include "frontend/ProjectSearch.h"
#include "kit/ZBLog.h"

#include <array>

namespace larkspan {
namespace {

constexpr std::array options{jsonOption};

ExitStatus reportUnreadable(Context& context, const std::string& typed, const Error& error) {
    const bool isNoDocument = error.domain == xmlDocumentErrorDomain;
    context.output.error("\"" + printable(typed) + "\" cannot be read" +
                             (isNoDocument ? " as a project document: " : ": ") +
                             printable(error.description),
                         "Final Cut XML and Premiere projects can be compared.");
    return ExitStatus::failed;
}

void show(Context& context, const std::vector<std::string>& sentences, bool asJson) {
    if (asJson) {
        Value::Array list;
        for (const std::string& sentence : sentences) list.emplace_back(cutForShowing(sentence));
        context.output.line(json(Value(std::move(list))));
        return;
    }
    for (const std::string& sentence : sentences) {
        if (!context.output.hasReader()) return;
        context.output.line(printable(cutForShowing(sentence)));
    }
}

ExitStatus diff(const Arguments& arguments, Context& context) {
    // What a comparison logs is said by its sentences, too.
    ZBLog::disableLogging();
    const std::string& oldTyped = arguments.words()[0];
    const std::string& newTyped = arguments.words()[1];
    const Path oldFile = absolutePath(oldTyped, context.currentDirectory);
    const Path newFile = absolutePath(newTyped, context.currentDirectory);
    const LoadedPair loaded = loadProjectDocuments(newFile, oldFile);
    if (!loaded.oldDoc) return reportUnreadable(context, oldTyped, loaded.oldDoc.error());
    if (!loaded.newDoc) return reportUnreadable(context, newTyped, loaded.newDoc.error());
    const XMLDocument& oldDoc = **loaded.oldDoc;
    const XMLDocument& newDoc = **loaded.newDoc;
    if (isPremiereProject(oldDoc) != isPremiereProject(newDoc)) {
        context.output.error("The two files are documents of different applications.",
                             "Compare two Final Cut XML files or two Premiere projects.");
        return ExitStatus::failed;
    }
    const auto differ =
        isPremiereProject(newDoc) ? changeListForPremiereXMLDoc : changeListForFCPXMLDoc;
    const auto sentences = differ(&newDoc, &oldDoc, listsOf(newDoc, oldDoc), {});
    show(context, sentences.value_or(std::vector<std::string>()), arguments.has("json"));
    return ExitStatus::done;
}

}  // namespace

constinit const Command diffCommand{
    .name = "diff",
    .words = "OLD NEW",
    .summary = "Say what changed between two project documents.",
    .description =
        "Says in sentences what changed from one project document to another, one "
        "sentence a line.\nFinal Cut XML and Premiere projects are told apart by their "
        "content; compressed ones are\nunpacked. Sentences of more than 2,000 characters "
        "are cut. Works without a helper.\nJSON: an array of the sentences.",
    .example = "larkspan diff Cut.00001.xml Cut.00002.xml",
    .options = options,
    .fewestWords = 2,
    .mostWords = 2,
    .run = diff};

}  // namespace larkspan
