#include "backup/Retention.h"
#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Json.h"
#include "frontend/ProjectArgument.h"
#include "frontend/RetentionReasons.h"
#include "frontend/Settings.h"
#include "platform/Platform.h"

#include <array>
#include <map>

namespace larkspan {
namespace {

constexpr std::array options{Option{"dry-run", nullptr, "Show what would go, and touch nothing."},
                             jsonOption};

// What would go of one project.
struct Prospect {
    StoredProject project;
    ProjectPlan plan;
};

// Names of projects by the folder of their versions; those without readable settings go by their
// identifier.
StoredProject projectOfFolder(const Path& versionFolder, const std::vector<StoredProject>& known) {
    const ProjectID id = storelayout::projectID(versionFolder.deletingLastPathComponent());
    for (const StoredProject& project : known) {
        if (project.id == id) return project;
    }
    return {id, Path(id.text)};
}

std::vector<Prospect> prospectsOfStore(Store& store, const RetentionRules& rules,
                                       Context& context) {
    std::vector<Prospect> prospects;
    const auto known = store.projects();
    auto plans = Retention::plans(store.root(), rules);
    if (!plans) {
        context.output.message("There is no version store at " + printable(store.root().str()) +
                               ".");
        return prospects;
    }
    for (ProjectPlan& plan : *plans) {
        StoredProject project = projectOfFolder(plan.versionFolder, known);
        prospects.push_back({std::move(project), std::move(plan)});
    }
    return prospects;
}

std::optional<Date> dateOf(const Path& file) {
    const auto info = platform::Platform::current().files.info(file);
    return info ? std::optional(info->modificationDate) : std::nullopt;
}

Value::Dictionary fieldsOf(const Prospect& prospect, const RetentionVerdict& verdict,
                           const RetentionRules& rules) {
    const Path file = prospect.plan.versionFolder / verdict.name;
    Value::Dictionary fields{{"project", prospect.project.displayName()},
                             {"id", prospect.project.id.text},
                             {"file", file.str()},
                             {"rule", preferenceOfRule(verdict.rule)},
                             {"reason", removalReason(verdict, rules)}};
    if (const auto date = dateOf(file)) fields.emplace("date", *date);
    return fields;
}

void showAsJson(Context& context, const std::vector<Prospect>& prospects,
                const RetentionRules& rules) {
    Value::Array list;
    for (const Prospect& prospect : prospects) {
        for (const size_t index : prospect.plan.plan.removals) {
            list.emplace_back(fieldsOf(prospect, prospect.plan.plan.verdicts[index], rules));
        }
    }
    context.output.line(json(list));
}

void showAsTable(Context& context, const std::vector<Prospect>& prospects,
                 const RetentionRules& rules) {
    Table table({{"PROJECT"}, {"VERSION"}, {"SAVED"}, {"WHY IT WOULD GO"}});
    size_t going = 0;
    for (const Prospect& prospect : prospects) {
        for (const size_t index : prospect.plan.plan.removals) {
            const RetentionVerdict& verdict = prospect.plan.plan.verdicts[index];
            const auto date = dateOf(prospect.plan.versionFolder / verdict.name);
            table.addRow({prospect.project.displayName(), verdict.name, date ? dateText(*date) : "",
                          "It " + removalReason(verdict, rules) + "."});
            ++going;
        }
    }
    for (const std::string& line : describeRules(rules)) context.output.message(line);
    if (going == 0) {
        context.output.message("Nothing would go.");
        return;
    }
    context.output.message(countText(going, "version", "versions") +
                           " would go, each with its rendition and its picture:");
    for (const std::string& line : table.lines()) context.output.line(line);
    if (prospects.back().plan.plan.endsRun) {
        context.output.message(
            "A run ends with the first project that has too many older versions; the projects "
            "after it have their turn in a later run.");
    }
}

ExitStatus prune(const Arguments& arguments, Context& context) {
    if (!arguments.has("dry-run")) {
        context.output.error("The helper removes old versions by itself, after every run.",
                             "See what it would remove next with: larkspan prune --dry-run");
        return ExitStatus::wrongUsage;
    }
    const auto preferences = readPreferences(context);
    const auto root = preferences ? storeRoot(context) : std::nullopt;
    if (!root) return ExitStatus::failed;
    const RetentionRules rules = retentionRules(*preferences);
    Store store(*root);
    std::vector<Prospect> prospects;
    if (!arguments.words().empty()) {
        auto project = projectArgument(arguments.words()[0], store, context);
        if (!project) return ExitStatus::failed;
        const Path versions =
            storelayout::projectFolder(*root, project->id) / storelayout::versionsName;
        if (rules.isOn) {
            prospects.push_back({*project, {versions, Retention::plan(versions, rules)}});
        }
    } else if (rules.isOn) {
        prospects = prospectsOfStore(store, rules, context);
    }
    if (arguments.has("json")) {
        showAsJson(context, prospects, rules);
    } else {
        showAsTable(context, prospects, rules);
    }
    return ExitStatus::done;
}

}  // namespace

constinit const Command pruneCommand{
    .name = "prune",
    .words = "--dry-run [PROJECT]",
    .summary = "Show which old versions would go, and why.",
    .description =
        "Shows what the next thinning of old versions would remove, and which rule says so. "
        "Nothing\nis touched: the helper thins by itself after every run, by the rules that "
        "larkspan prefs\nsets. PROJECT is the project's identifier or the start of it, its name, "
        "or the path of its\nfile; without it, all projects. JSON fields: project, id, file, "
        "date, rule (a preference),\nreason.",
    .example = "larkspan prune --dry-run Cut.fcp",
    .options = options,
    .fewestWords = 0,
    .mostWords = 1,
    .run = prune};

}  // namespace larkspan
