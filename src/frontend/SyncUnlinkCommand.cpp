#include "foundation/Text.h"
#include "frontend/CloudAccess.h"
#include "frontend/Commands.h"
#include "frontend/Settings.h"
#include "sync/CloudAccount.h"

namespace larkspan {
namespace {

// Also at the service's side, as far as it can be reached.
void revoke(Context& context) {
    const auto preferences = readPreferences(context);
    if (!preferences || preferences->integer("syncService", 0) != 1) return;
    DBSession::openSharedSession();
    CancelFlag never;
    const auto error = CloudService(*DBSession::sharedSession(),
                                    CloudSettings::fromPreferences(*preferences), never)
                           .revoke();
    if (!error) return;
    context.output.message(
        "Dropbox could not be told (" + printable(error->description) +
        "). Take Larkspan's access away in the account's settings there as well.");
}

ExitStatus unlink(const Arguments&, Context& context) {
    if (!hasCloudAccount(context)) return ExitStatus::failed;
    revoke(context);
    if (const auto error = cloudaccounts::remove()) {
        context.output.error("The link could not be removed: " + printable(error->description));
        return ExitStatus::failed;
    }
    context.output.line("The account is no longer linked. What was uploaded stays there.");
    return ExitStatus::done;
}

}  // namespace

constinit const Command syncUnlinkCommand{
    .name = "sync unlink",
    .words = "",
    .summary = "Forget the linked account.",
    .description = "Gives up the access to the linked Dropbox account. Nothing is removed there.",
    .example = "larkspan sync unlink",
    .options = {},
    .run = unlink};

}  // namespace larkspan
