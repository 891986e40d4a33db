#include "frontend/CloudAccess.h"
#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Json.h"
#include "frontend/Settings.h"

#include <array>

namespace larkspan {
namespace {

constexpr std::array options{jsonOption};

ExitStatus status(const Arguments& arguments, Context& context) {
    const auto preferences = readPreferences(context);
    if (!preferences) return ExitStatus::failed;
    const bool isOn = preferences->integer("syncService", 0) == 1;
    const auto accounts = DBSession::userIds();
    const Value* shown = preferences->object("lastSyncError");
    const Date* lastError = shown ? shown->date() : nullptr;
    if (arguments.has("json")) {
        Value::Dictionary fields{{"on", isOn}, {"linked", !accounts.empty()}};
        if (!accounts.empty()) fields.emplace("account", accounts[0]);
        if (lastError) fields.emplace("lastError", *lastError);
        context.output.line(json(Value(std::move(fields))));
        return ExitStatus::done;
    }
    context.output.line(std::string("Synchronisation  ") + (isOn ? "on" : "off"));
    context.output.line("Account          " +
                        (accounts.empty() ? "none linked" : printable(accounts[0])));
    if (lastError) context.output.line("Last failure     " + dateText(*lastError));
    return ExitStatus::done;
}

}  // namespace

constinit const Command syncStatusCommand{
    .name = "sync status",
    .words = "",
    .summary = "Show whether versions are uploaded.",
    .description =
        "Shows whether synchronisation is switched on, the linked account, and when a failed "
        "upload was\nlast reported. Asks nobody. JSON fields: on, linked, account and lastError "
        "(left out where\nthere is none).",
    .example = "larkspan sync status",
    .options = options,
    .run = status};

}  // namespace larkspan
