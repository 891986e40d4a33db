#include "backup/StoreLayout.h"
#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Helper.h"
#include "frontend/Json.h"
#include "frontend/KnownPreferences.h"
#include "frontend/ProjectSearch.h"
#include "frontend/Settings.h"
#include "frontend/WatchList.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <array>

namespace larkspan {
namespace {

constexpr std::array options{
    jsonOption, Option{"string", nullptr, "Store VALUE as a text, whatever it looks like."},
    Option{"integer", nullptr, "Store VALUE as a whole number, or fail."},
    Option{"delete", nullptr, "Remove KEY, so that its default holds again."}};

ExitStatus wrongUsage(Context& context, const std::string& text, const std::string& advice) {
    context.output.error(text, advice);
    return ExitStatus::wrongUsage;
}

Value described(const std::string& key, const Value* value, const KnownPreference* known) {
    Value::Dictionary fields{{"key", key}, {"isSet", value != nullptr}};
    if (value) fields.emplace("value", *value);
    if (known) {
        fields.emplace("explanation", std::string(known->explanation));
        if (!known->standard.empty()) {
            fields.emplace("default", typedValue(std::string(known->standard)));
        }
    }
    return fields;
}

std::string shownValue(const Value* value, const KnownPreference* known) {
    if (value) return valueText(*value);
    if (!known || known->standard.empty()) return "(not set)";
    return "(" + std::string(known->standard) + ")";
}

ExitStatus listAll(Context& context, bool asJson) {
    const auto preferences = readPreferences(context);
    if (!preferences) return ExitStatus::failed;
    Table table({{"KEY"}, {"VALUE"}, {"EXPLANATION"}});
    Value::Array list;
    const auto add = [&](const std::string& key, const KnownPreference* known) {
        const Value* value = preferences->object(key);
        table.addRow({key, shownValue(value, known), known ? std::string(known->explanation) : ""});
        list.push_back(described(key, value, known));
    };
    for (const KnownPreference& known : knownPreferences()) add(std::string(known.key), &known);
    for (const auto& [key, value] : *preferences->values().dictionary()) {
        if (!knownPreference(key)) add(key, nullptr);
    }
    if (asJson) {
        context.output.line(json(list));
        return ExitStatus::done;
    }
    for (const std::string& line : table.lines()) context.output.line(line);
    return ExitStatus::done;
}

ExitStatus showOne(Context& context, const std::string& key, bool asJson) {
    const auto preferences = readPreferences(context);
    if (!preferences) return ExitStatus::failed;
    const Value* value = preferences->object(key);
    const KnownPreference* known = knownPreference(key);
    if (!value && !known) {
        context.output.error(
            "The preference " + printable(key) + " is not set." + didYouMeanPreference(key),
            "See them all with: larkspan prefs");
        return ExitStatus::failed;
    }
    if (asJson) {
        context.output.line(json(described(key, value, known)));
        return ExitStatus::done;
    }
    if (value) {
        context.output.line(valueText(*value));
    } else {
        if (!known->standard.empty()) context.output.line(known->standard);
        context.output.message(
            key + " is not set; " +
            (known->standard.empty() ? "it has no default." : "this is the default."));
    }
    return ExitStatus::done;
}

// What must be known of a new place for the versions; false, with the reason said, when it is not
// possible.
bool acceptStore(Context& context, const Path& root) {
    const auto list = readWatchList(context);
    const auto before = storeRoot(context);
    if (!list) return false;
    for (const WatchFolder& entry : watchEntries(*list)) {
        const std::string conflict = storeConflict(entry.folder, root);
        if (conflict.empty()) continue;
        context.output.error(conflict, "Choose a folder apart from the watched ones.");
        return false;
    }
    platform::Files& files = platform::Platform::current().files;
    if (!files.isFolder(root)) {
        context.output.message("Note: " + printable(root.str()) +
                               " is not there yet. The helper makes it; if it is to be on a "
                               "volume, mount that first.");
    }
    if (before && *before != root && files.isFolder(*before)) {
        context.output.message("Note: the versions kept so far stay in " +
                               printable(before->str()) +
                               ". Move them yourself to go on with them.");
    }
    return true;
}

ExitStatus change(Context& context, const std::string& key, const std::optional<Value>& value) {
    const KnownPreference* known = knownPreference(key);
    if (!known) {
        context.output.message("Note: no part of Larkspan is known to read " + printable(key) +
                               "." + didYouMeanPreference(key));
    }
    if (!changePreference(context, key, [&](const Value*) { return value; }))
        return ExitStatus::failed;
    const bool tells = known && known->needsConfiguration == NeedsConfiguration::yes;
    if (tells && !tellHelper(context, {"updateConfiguration"})) return ExitStatus::failed;
    return ExitStatus::done;
}

ExitStatus set(Context& context, const Arguments& arguments) {
    const std::string& key = arguments.words()[0];
    const std::string& written = arguments.words()[1];
    const KnownPreference* known = knownPreference(key);
    const bool isText =
        arguments.has("string") ||
        (known && (known->kind == PreferenceKind::text || known->kind == PreferenceKind::path));
    std::optional<Value> value = isText ? Value(written) : typedValue(written);
    if (arguments.has("integer")) value = integerOnly(written);
    if (!value) {
        return wrongUsage(context, "\"" + printable(written) + "\" is no whole number.",
                          "Leave --integer out to store it as a text.");
    }
    if (known && known->kind == PreferenceKind::folders) {
        return wrongUsage(context, misfit(*known, *value), "Use larkspan watch add and remove.");
    }
    if (known) {
        const std::string problem = misfit(*known, *value);
        if (!problem.empty()) {
            return wrongUsage(context, problem, "See its meaning with: larkspan prefs");
        }
    }
    if (key == "storagePath") {
        const Path root = absolutePath(written, context.currentDirectory);
        if (!acceptStore(context, root)) return ExitStatus::failed;
        value = Value(root.str());
    }
    return change(context, key, value);
}

ExitStatus prefs(const Arguments& arguments, Context& context) {
    const auto& words = arguments.words();
    const bool forces = arguments.has("string") || arguments.has("integer");
    if (arguments.has("delete") ? forces || words.size() != 1 : forces && words.size() != 2) {
        return wrongUsage(context, "These options and words do not go together.",
                          "For example: larkspan prefs backupMinInterval --delete");
    }
    if (arguments.has("string") && arguments.has("integer")) {
        return wrongUsage(context, "--string and --integer exclude each other.", "Leave one out.");
    }
    if (!words.empty() && words[0].empty()) {
        return wrongUsage(context, "A key has at least one letter.", "See larkspan prefs.");
    }
    if (arguments.has("delete")) return change(context, words[0], std::nullopt);
    if (words.empty()) return listAll(context, arguments.has("json"));
    if (words.size() == 1) return showOne(context, words[0], arguments.has("json"));
    return set(context, arguments);
}

}  // namespace

constinit const Command prefsCommand{
    .name = "prefs",
    .words = "[KEY [VALUE]]",
    .summary = "List, show or set preferences.",
    .description =
        "Without a KEY lists all preferences, in brackets those that are not set, with "
        "their\ndefaults. With a KEY shows it, with a VALUE sets it: whole numbers and "
        "true or false are\nstored as such, anything else as a text. JSON fields: key, "
        "isSet, value, default,\nexplanation.",
    .example = "larkspan prefs backupMinInterval 30",
    .options = options,
    .fewestWords = 0,
    .mostWords = 2,
    .run = prefs};

}  // namespace larkspan
