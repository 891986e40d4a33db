#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Json.h"
#include "frontend/StatusReport.h"

#include <array>

namespace larkspan {
namespace {

constexpr std::array options{jsonOption};

constexpr const char* indent = "          ";

void showHelper(Output& output, const std::optional<HelperFacts>& helper) {
    if (!helper) {
        output.line("Helper    " + output.styled(Style::bad, "not running"));
        return;
    }
    output.line("Helper    " + output.styled(Style::good, "running") + " since " +
                dateText(helper->started) + " (process " + std::to_string(helper->processID) +
                ", version " + printable(helper->version) + ")");
}

std::string folderState(const FolderStatus& folder) {
    if (!folder.exists) return "not there";
    switch (folder.watched) {
        case Watched::yes:
            return folder.problem.empty() ? "watched" : "watched in part";
        case Watched::throughProjects:
            return "watched through its projects";
        case Watched::no:
            return "not watched";
        case Watched::unknown:
            break;
    }
    return "waiting for a helper";
}

void showFolders(Output& output, const std::vector<FolderStatus>& folders) {
    std::string heading = "Folders   ";
    if (folders.empty()) output.line(heading + "none");
    for (const FolderStatus& folder : folders) {
        const bool isWell = !folderTrouble(folder);
        const std::string state = folderState(folder);
        output.line(heading + printable(folder.folder.str()) + "  " +
                    (isWell ? state : output.styled(Style::bad, state)) + "  " +
                    output.styled(Style::faint, printable(folder.extensions)));
        if (!folder.notice.empty()) output.line(indent + printable(folder.notice));
        heading = indent;
    }
}

void showStore(Output& output, const StoreStatus& store) {
    const std::string state = store.exists ? "" : ", not there yet";
    const std::string space = store.space ? ", " + sizeText(store.space->free) + " free" : "";
    output.line("Store     " + printable(store.root.str()) + state + space);
    output.line(indent + countText(store.projects, "project", "projects"));
    if (!store.last) return;
    const auto& [project, version] = *store.last;
    output.line(indent + ("last version: " + printable(project.displayName())) + " " +
                std::to_string(version.number.value) + ", taken " + dateText(version.taken) +
                ", saved " + dateText(version.saved));
}

void showTroubles(Output& output, const std::vector<Trouble>& troubles) {
    if (troubles.empty()) return;
    output.line();
    for (const Trouble& trouble : troubles) {
        output.line(output.styled(Style::bad, "Wrong:") + " " + printable(trouble.text));
        output.line("       " + printable(trouble.advice));
    }
}

void show(Output& output, const StatusReport& report) {
    showHelper(output, report.helper);
    showFolders(output, report.folders);
    if (report.store) showStore(output, *report.store);
    if (report.helper && report.helper->lastProblem) {
        const HelperProblem& problem = *report.helper->lastProblem;
        output.line("Problem   " + dateText(problem.date) + "  " + printable(problem.text));
    }
    showTroubles(output, report.troubles);
}

ExitStatus status(const Arguments& arguments, Context& context) {
    const StatusReport report = StatusReport::gather();
    if (arguments.has("json")) {
        context.output.line(json(report.asValue()));
    } else {
        show(context.output, report);
    }
    return report.troubles.empty() ? ExitStatus::done : ExitStatus::failed;
}

}  // namespace

constinit const Command statusCommand{
    .name = "status",
    .words = "",
    .summary = "Show whether projects are being backed up.",
    .description =
        "Shows the helper, the watched folders, the version store, the last version and "
        "the last\nproblem, and what is wrong with what to do about it. Exit status 1 "
        "when something is\nwrong. JSON fields: ok, helper, folders, store, lastProblem, "
        "troubles; those that there\nare no facts for are left out.",
    .example = "larkspan status",
    .options = options,
    .run = status};

}  // namespace larkspan
