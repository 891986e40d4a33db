#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Json.h"
#include "frontend/WatchList.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <array>

namespace larkspan {
namespace {

constexpr std::array options{jsonOption};

ExitStatus watchList(const Arguments& arguments, Context& context) {
    const auto list = readWatchList(context);
    if (!list) return ExitStatus::failed;
    platform::Files& files = platform::Platform::current().files;
    Table table({{"FOLDER"}, {"EXTENSIONS"}, {"STATE"}});
    Value::Array folders;
    for (const WatchFolder& entry : watchEntries(*list)) {
        const bool exists = files.isFolder(entry.folder);
        table.addRow({entry.folder.str(), entry.extensions, exists ? "there" : "missing"});
        folders.emplace_back(Value::Dictionary{
            {"folder", entry.folder.str()}, {"extensions", entry.extensions}, {"exists", exists}});
    }
    if (arguments.has("json")) {
        context.output.line(json(folders));
    } else if (folders.empty()) {
        context.output.message("No folder is watched. Add one with: larkspan watch add FOLDER");
    } else {
        for (const std::string& line : table.lines()) context.output.line(line);
    }
    return ExitStatus::done;
}

}  // namespace

constinit const Command watchListCommand{
    .name = "watch list",
    .words = "",
    .summary = "List the watched folders.",
    .description =
        "Lists the folders on the watch list. Whether the helper really watches them is "
        "shown by\nlarkspan status. JSON fields: folder, extensions, exists.",
    .example = "larkspan watch list --json",
    .options = options,
    .run = watchList};

}  // namespace larkspan
