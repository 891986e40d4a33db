#include "kit/ZBAlert.h"

#include "kit/ConsoleReport.h"
#include "kit/Preferences.h"
#include "platform/Clock.h"
#include "platform/MainThread.h"

#include <algorithm>
#include <utility>

namespace larkspan {
namespace {

constexpr Seconds longestEventWait{0.01};
constexpr Seconds betweenLooks{0.2};
constexpr int notShown = -1;

platform::Platform& current() {
    return platform::Platform::current();
}

Value requestDictionary(const AlertSheet& sheet, const std::string& didEndSelector,
                        const std::optional<std::string>& suppressionBinding) {
    Value::Dictionary request = {{"didEndSelector", didEndSelector}};
    const auto add = [&](const char* key, const std::optional<std::string>& text) {
        if (text) request[key] = *text;
    };
    add("messageText", sheet.messageText);
    add("defaultButtonTitle", sheet.defaultButton);
    add("alternateButtonTitle", sheet.alternateButton);
    add("otherButtonTitle", sheet.otherButton);
    add("informativeText", sheet.informativeText);
    add("suppressionBinding", suppressionBinding);
    return request;
}

std::optional<std::string> textIn(const Value& request, const char* key) {
    const Value* value = request.find(key);
    const std::string* text = value ? value->string() : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

bool isSuppressed(const std::string& key) {
    const Preferences defaults = Preferences::ownDefaults();
    const Value* value = defaults.object(key);
    return value && value->booleanValue();
}

void setSuppressed(const std::string& key, bool suppressed) {
    const auto file = Preferences::ownDefaultsFile();
    if (!file || isSuppressed(key) == suppressed) return;
    if (const auto error = Preferences::setObject(*file, key, suppressed)) {
        reportToConsole("Unable to write %@: %@", *file, error->description);
    }
}

}  // namespace

int ZBAlert::alertSheetWithMessageText(const std::optional<std::string>& messageText,
                                       const std::optional<std::string>& informativeText,
                                       const std::shared_ptr<platform::Window>& parentWindow) {
    return alertSheetWithMessageText({.messageText = messageText,
                                      .informativeText = informativeText,
                                      .parentWindow = parentWindow},
                                     nullptr, std::nullopt, Block::yes);
}

int ZBAlert::alertSheetWithMessageText(const AlertSheet& sheet, Block /*block*/) {
    return alertSheetWithMessageText(sheet, nullptr, std::nullopt, Block::yes);
}

int ZBAlert::alertSheetWithMessageText(const AlertSheet& sheet,
                                       const std::shared_ptr<ZBAlertDelegate>& /*delegate*/,
                                       const std::optional<std::string>& /*didEndSelector*/,
                                       Block /*block*/) {
    return alertSheetWithMessageText(sheet, nullptr, std::nullopt, Block::yes, nullptr);
}

int ZBAlert::alertSheetWithMessageText(const AlertSheet& sheet,
                                       const std::shared_ptr<ZBAlertDelegate>& delegate,
                                       const std::optional<std::string>& didEndSelector,
                                       Block block, const std::shared_ptr<ZBAlert>& alertObject,
                                       const std::optional<std::string>& suppressionBinding) {
    const auto alert = alertObject ? alertObject : std::make_shared<ZBAlert>();
    const bool isTaken = sheet.parentWindow && sheet.parentWindow->hasAttachedSheet();
    alert->setParentWindow(isTaken ? nullptr : sheet.parentWindow);
    alert->setDelegate(delegate);
    alert->setAlertEnded(false);
    const std::string selector = didEndSelector.value_or(defaultEndOperation);
    if (!alert->chosenEndOperation(selector)) {
        reportToConsole("Alert error: delegate does not respond to selector %@", selector);
        return notShown;
    }
    const Value request = requestDictionary(sheet, selector, suppressionBinding);
    const bool isUp =
        current().mainThread.performAndWait([&] { alert->alertSheetWithDictionary(request); });
    if (!isUp || block == Block::no) return notShown;
    const bool ended = alert->waitUntilEnded();
    alert->orderOut();
    return ended ? alert->returnCode() : notShown;
}

int ZBAlert::timedAlertSheetWithMessageText(const AlertSheet& sheet,
                                            std::chrono::seconds interval) {
    const auto alert = std::make_shared<ZBAlert>();
    alert->defaultReturnAfterTimeInterval(interval);
    return alertSheetWithMessageText(sheet, nullptr, std::nullopt, Block::yes, alert);
}

std::shared_ptr<platform::Window> ZBAlert::mainWindow() {
    std::shared_ptr<platform::Window> window;
    (void)current().mainThread.performAndWait([&] { window = current().alerts.mainWindow(); });
    return window;
}

void ZBAlert::alertSheetWithDictionary(const Value& request) {
    const auto suppressionBinding = textIn(request, "suppressionBinding");
    platform::AlertRequest shown{
        .messageText = textIn(request, "messageText").value_or(std::string()),
        .informativeText = textIn(request, "informativeText").value_or(std::string()),
        .defaultButton = textIn(request, "defaultButtonTitle"),
        .alternateButton = textIn(request, "alternateButtonTitle"),
        .otherButton = textIn(request, "otherButtonTitle")};
    if (suppressionBinding) shown.suppression = isSuppressed(*suppressionBinding);
    const auto window = parentWindow();
    if (window) window->makeKeyAndOrderFront();

    // Answered before show() returns, the alert is over by the time its number is known.
    const auto isOver = std::make_shared<bool>(false);
    const std::string selector = textIn(request, "didEndSelector").value_or(defaultEndOperation);
    const platform::AlertID alert =
        current().alerts.show(shown, window,
                              [self = shared_from_this(), selector, suppressionBinding,
                               isOver](const platform::AlertAnswer& answer) {
                                  *isOver = true;
                                  self->answered(answer, selector, suppressionBinding);
                              });
    if (!*isOver) state_.with([&](State& state) { state.alert = alert; });
}

void ZBAlert::answered(const platform::AlertAnswer& answer, const std::string& didEndSelector,
                       const std::optional<std::string>& suppressionBinding) {
    state_.with([](State& state) { state.alert.reset(); });
    if (suppressionBinding && answer.suppression) {
        setSuppressed(*suppressionBinding, *answer.suppression);
    }
    if (const EndOperation end = chosenEndOperation(didEndSelector)) end(*this, answer.returnCode);
    // A delegate that leaves it at that must not keep the caller waiting for good.
    if (!alertEnded()) alertDidEnd(answer.returnCode);
}

void ZBAlert::alertDidEnd(int returnCode) {
    state_.with([&](State& state) {
        state.meetDeadlines();
        state.returnCode = returnCode;
        state.alertEnded = true;
    });
}

void ZBAlert::defaultReturnAfterTimeInterval(std::chrono::seconds interval) {
    const Seconds deadline = current().clock.uptime() + interval;
    state_.with([&](State& state) { state.deadlines.push_back(deadline); });
}

// Done by whoever looks, in place of a thread that sleeps until then.
void ZBAlert::State::meetDeadlines() {
    if (deadlines.empty()) return;
    const Seconds now = current().clock.uptime();
    if (std::erase_if(deadlines, [&](Seconds deadline) { return deadline <= now; }) == 0) return;
    returnCode = platform::alertDefaultReturn;
    alertEnded = true;
}

ZBAlertDelegate::EndOperation ZBAlert::endOperation(const std::string& didEndSelector) {
    if (didEndSelector != defaultEndOperation) return {};
    return [](ZBAlert& alert, int returnCode) { alert.alertDidEnd(returnCode); };
}

ZBAlertDelegate::EndOperation ZBAlert::chosenEndOperation(const std::string& didEndSelector) {
    const auto chosen = delegate();
    return chosen ? chosen->endOperation(didEndSelector) : endOperation(didEndSelector);
}

bool ZBAlert::waitUntilEnded() const {
    platform::MainThread& mainThread = current().mainThread;
    while (!alertEnded()) {
        if (mainThread.hasEnded()) return false;
        if (mainThread.isCurrent()) {
            mainThread.serveEvent(longestEventWait);
        } else {
            current().clock.sleepFor(betweenLooks);
        }
    }
    return true;
}

void ZBAlert::orderOut() {
    (void)current().mainThread.performAndWait([&] {
        const auto alert =
            state_.with([](State& state) { return std::exchange(state.alert, std::nullopt); });
        if (alert) current().alerts.orderOut(*alert);
    });
}

std::shared_ptr<platform::Window> ZBAlert::parentWindow() const {
    return state_.with([](State& state) { return state.parentWindow; });
}
void ZBAlert::setParentWindow(const std::shared_ptr<platform::Window>& window) {
    state_.with([&](State& state) { state.parentWindow = window; });
}
std::shared_ptr<ZBAlertDelegate> ZBAlert::delegate() const {
    return state_.with([](State& state) { return state.delegate; });
}
void ZBAlert::setDelegate(const std::shared_ptr<ZBAlertDelegate>& delegate) {
    state_.with([&](State& state) { state.delegate = delegate; });
}
bool ZBAlert::alertEnded() const {
    return state_.with([](State& state) {
        state.meetDeadlines();
        return state.alertEnded;
    });
}
void ZBAlert::setAlertEnded(bool ended) {
    state_.with([&](State& state) {
        state.meetDeadlines();
        state.alertEnded = ended;
    });
}
int ZBAlert::returnCode() const {
    return state_.with([](State& state) {
        state.meetDeadlines();
        return state.returnCode;
    });
}
void ZBAlert::setReturnCode(int code) {
    state_.with([&](State& state) {
        state.meetDeadlines();
        state.returnCode = code;
    });
}
std::optional<platform::AlertID> ZBAlert::alert() const {
    return state_.with([](State& state) { return state.alert; });
}

}  // namespace larkspan
