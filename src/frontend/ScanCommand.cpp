#include "frontend/Commands.h"
#include "frontend/Helper.h"
#include "platform/Clock.h"
#include "platform/Platform.h"

#include <array>
#include <charconv>

namespace larkspan {
namespace {

constexpr std::array options{
    Option{"wait", nullptr, "Return when the scan, and all queued before it, have ended."},
    Option{"timeout", "SECONDS", "With --wait: give up after that time."}};

// Empty for anything but a number of seconds that is not negative.
std::optional<Seconds> parseSeconds(const std::string& text) {
    long seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || seconds < 0) return {};
    return std::chrono::seconds(seconds);
}

ExitStatus unreachable(Context& context, const Error& error) {
    reportHelperError(context, error);
    return ExitStatus::failed;
}

ExitStatus waitForScan(Context& context, Helper& helper, std::optional<Seconds> timeout) {
    platform::Clock& clock = platform::Platform::current().clock;
    const Seconds begun = clock.uptime();
    const Result<bool> ended =
        helper.waitForQueuedRuns([&] { return !timeout || clock.uptime() - begun < *timeout; });
    if (!ended) return unreachable(context, ended.error());
    if (*ended) return ExitStatus::done;
    context.output.error("The scan has not ended in time; it goes on in the helper.",
                         "Wait longer with: larkspan scan --wait --timeout SECONDS");
    return ExitStatus::failed;
}

ExitStatus scan(const Arguments& arguments, Context& context) {
    std::optional<Seconds> timeout;
    if (const auto text = arguments.value("timeout")) {
        timeout = parseSeconds(*text);
        if (!timeout || !arguments.has("wait")) {
            context.output.error("--timeout takes a number of seconds and goes with --wait.",
                                 "For example: larkspan scan --wait --timeout 600");
            return ExitStatus::wrongUsage;
        }
    }
    Result<Helper> helper = Helper::connect();
    if (!helper) return unreachable(context, helper.error());
    if (const auto error = helper->call("startBackupScan")) return unreachable(context, *error);
    return arguments.has("wait") ? waitForScan(context, *helper, timeout) : ExitStatus::done;
}

}  // namespace

constinit const Command scanCommand{
    .name = "scan",
    .words = "",
    .summary = "Back up what changed and look for new projects now.",
    .description =
        "Makes the helper back up every changed project and look for new projects in "
        "the watched\nfolders, without waiting for the next interval.",
    .example = "larkspan scan --wait --timeout 600",
    .options = options,
    .run = scan};

}  // namespace larkspan
