#include "foundation/Text.h"
#include "frontend/CloudAccess.h"
#include "frontend/Commands.h"
#include "sync/CloudAccount.h"
#include "sync/CloudLink.h"

#include <utility>

namespace larkspan {
namespace {

ExitStatus link(const Arguments&, Context& context) {
    const auto settings = cloudSettings(context);
    if (!settings) return ExitStatus::failed;
    DBSession::openSharedSession();
    const CloudLink link(*DBSession::sharedSession(), *settings);
    context.output.line("Open this address in a browser and allow Larkspan in:\n\n  " +
                        link.address() + "\n\nThen type the code that is shown there:");
    std::optional<std::string> code = context.readLine();
    if (!code || trimmed(*code).empty()) {
        context.output.error("No code was given. Nothing is linked.");
        return ExitStatus::failed;
    }
    CancelFlag never;
    const auto account = link.finish(std::move(*code), never);
    if (!account) {
        context.output.error(
            "The account could not be linked: " + printable(account.error().description),
            "A code is good once and for a short time. Try again for a new one.");
        return ExitStatus::failed;
    }
    if (const auto error = cloudaccounts::save(*account)) {
        context.output.error("The account could not be stored: " + printable(error->description));
        return ExitStatus::failed;
    }
    context.output.line("The account is linked. Every new version is uploaded from now on.");
    return ExitStatus::done;
}

}  // namespace

constinit const Command syncLinkCommand{
    .name = "sync link",
    .words = "",
    .summary = "Link a Dropbox account.",
    .description =
        "Shows an address to open, takes the code that is shown there, and stores what gives "
        "access to\nthe application's own folder in that account, in a file that only this user "
        "can read.\nSynchronisation is switched on with: larkspan prefs syncService 1",
    .example = "larkspan sync link",
    .options = {},
    .run = link};

}  // namespace larkspan
