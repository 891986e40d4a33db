#include "backup/ZBLarkspanBackup.h"
#include "changes/Sentence.h"
#include "foundation/Text.h"
#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Json.h"
#include "frontend/ProjectArgument.h"
#include "frontend/Settings.h"

#include <algorithm>
#include <array>

namespace larkspan {
namespace {

constexpr std::array options{jsonOption};

// What the cache says of one version.
struct VersionChanges {
    std::string name;
    const Value* entry;

    std::string text(const char* key) const {
        const Value* value = entry->find(key);
        return value && value->string() ? *value->string() : std::string();
    }
    std::optional<Date> date() const {
        const Value* value = entry->find("date");
        return value && value->date() ? std::optional(*value->date()) : std::nullopt;
    }
    // As they are shown; in the cache they are whole.
    std::vector<std::string> sentences() const {
        std::vector<std::string> texts;
        const Value* list = entry->find("changelist");
        if (!list || !list->array()) return texts;
        for (const Value& sentence : *list->array()) {
            if (sentence.string()) texts.push_back(cutForShowing(*sentence.string()));
        }
        return texts;
    }
};

// Oldest first; what is no entry is left out.
std::vector<VersionChanges> versionsIn(const Value::Dictionary& cache) {
    std::vector<VersionChanges> versions;
    for (const auto& [name, entry] : cache) {
        if (entry.dictionary()) versions.push_back({name, &entry});
    }
    std::ranges::sort(versions, [](const VersionChanges& one, const VersionChanges& other) {
        const auto first = numberOfVersion(one.name);
        const auto second = numberOfVersion(other.name);
        return first == second ? listingOrder(one.name, other.name) : first < second;
    });
    return versions;
}

void showAsJson(Context& context, const std::vector<VersionChanges>& versions) {
    Value::Array list;
    for (const VersionChanges& version : versions) {
        Value::Array sentences;
        for (std::string& sentence : version.sentences()) {
            sentences.emplace_back(std::move(sentence));
        }
        Value::Dictionary fields{{"version", numberOfVersion(version.name).value},
                                 {"file", version.text("file")},
                                 {"changes", std::move(sentences)}};
        if (const auto date = version.date()) fields.emplace("date", *date);
        if (const Value* note = version.entry->find("annotation")) fields.emplace("note", *note);
        list.emplace_back(std::move(fields));
    }
    context.output.line(json(list));
}

void show(Context& context, const std::vector<VersionChanges>& versions) {
    for (const VersionChanges& version : versions) {
        const auto date = version.date();
        context.output.line(context.output.styled(
            Style::strong, printable(version.name) + (date ? "  " + dateText(*date) : "")));
        for (const std::string& sentence : version.sentences()) {
            context.output.line("  " + printable(sentence));
        }
        if (const Value* note = version.entry->find("annotation")) {
            context.output.line("  Note: " + printable(valueText(*note)));
        }
    }
}

ExitStatus changes(const Arguments& arguments, Context& context) {
    const auto root = storeRoot(context);
    if (!root) return ExitStatus::failed;
    Store store(*root);
    const auto project = projectArgument(arguments.words()[0], store, context);
    if (!project) return ExitStatus::failed;
    prepareLog();
    ZBLarkspanBackup engine;
    const auto cache = engine.cacheForProject(storelayout::projectFolder(*root, project->id));
    if (!cache) {
        context.output.error(
            "What changed in " + printable(project->displayName()) + " cannot be told.",
            "The log says why.");
        return ExitStatus::failed;
    }
    const auto versions = versionsIn(*cache);
    if (arguments.has("json")) {
        showAsJson(context, versions);
    } else if (versions.empty()) {
        context.output.message(printable(project->displayName()) +
                               " has no version yet. Take one with: larkspan scan");
    } else {
        show(context, versions);
    }
    return ExitStatus::done;
}

}  // namespace

constinit const Command changesCommand{
    .name = "changes",
    .words = "PROJECT",
    .summary = "Say what changed in each version of a project.",
    .description =
        "Says in sentences what changed in each version of a project, oldest first, with "
        "the notes\non it. What is not known yet is worked out first. Sentences of more than 2,000 "
        "characters\nare cut. PROJECT is the project's identifier or the start of it, its name, or "
        "the path of\nits file. Works without a helper. JSON fields: version, file, date, changes, "
        "note.",
    .example = "larkspan changes Cut.fcp",
    .options = options,
    .fewestWords = 1,
    .mostWords = 1,
    .run = changes};

}  // namespace larkspan
