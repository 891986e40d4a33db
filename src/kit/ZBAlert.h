#pragma once

#include "foundation/Date.h"
#include "foundation/Guarded.h"
#include "foundation/Value.h"
#include "platform/Alerts.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larkspan {

class ZBAlert;

// Gets the end of alerts.
class ZBAlertDelegate {
  public:
    using EndOperation = std::function<void(ZBAlert& alert, int returnCode)>;
    virtual ~ZBAlertDelegate() = default;
    // Its operation of that name, which is called on the main thread; empty when it has none.
    virtual EndOperation endOperation(const std::string& didEndSelector) = 0;
};

// What an alert shows. Without a default button there is one named "OK", without the others there
// are none.
struct AlertSheet {
    std::optional<std::string> messageText = {};
    std::optional<std::string> defaultButton = {};
    std::optional<std::string> alternateButton = {};
    std::optional<std::string> otherButton = {};
    std::optional<std::string> informativeText = {};      // shown as it is
    std::shared_ptr<platform::Window> parentWindow = {};  // none: the alert stands by itself
};

enum class Block { no, yes };

// Shows an alert and, blocking, waits for the answer. One object, held by std::shared_ptr, for each
// alert shown. Any thread; the alert itself lives on the main thread, which goes on serving events
// while it blocks.
//
//   ZBAlert::alertSheetWithMessageText("Unable to backup", "Please mount the drive.", window);
//
// The forms give the button pressed (platform::alertDefaultReturn and so on), or -1: at once when
// not blocking, when the end operation is missing, and when the main loop has ended.
class ZBAlert : public ZBAlertDelegate, public std::enable_shared_from_this<ZBAlert> {
  public:
    static constexpr const char* defaultEndOperation = "alertDidEnd:returnCode:contextInfo:";

    // These three block until the person answers, with the default end operation.
    static int alertSheetWithMessageText(
        const std::optional<std::string>& messageText,
        const std::optional<std::string>& informativeText,
        const std::shared_ptr<platform::Window>& parentWindow = nullptr);
    // Blocks whatever `block` says (docs/behaviour.md, fixed 17).
    static int alertSheetWithMessageText(const AlertSheet& sheet, Block block);
    // Ignores delegate, end operation and `block`, as above.
    static int alertSheetWithMessageText(const AlertSheet& sheet,
                                         const std::shared_ptr<ZBAlertDelegate>& delegate,
                                         const std::optional<std::string>& didEndSelector,
                                         Block block);

    // The full form. Uses the object given, else one of its own; a parent window that carries a
    // sheet already is left alone. Without a delegate the alert is its own, without an end
    // operation that is the default one. The suppression binding is the key of the program's own
    // defaults that a check box "do not show again" sets.
    static int alertSheetWithMessageText(
        const AlertSheet& sheet, const std::shared_ptr<ZBAlertDelegate>& delegate,
        const std::optional<std::string>& didEndSelector, Block block,
        const std::shared_ptr<ZBAlert>& alertObject,
        const std::optional<std::string>& suppressionBinding = std::nullopt);

    // Blocks until the person answers or the time has run out, which counts as the default button.
    static int timedAlertSheetWithMessageText(const AlertSheet& sheet,
                                              std::chrono::seconds interval);

    // The window over which this program's alerts are shown; null where it has none. Any thread.
    static std::shared_ptr<platform::Window> mainWindow();

    ZBAlert() = default;
    ZBAlert(const ZBAlert&) = delete;
    ZBAlert& operator=(const ZBAlert&) = delete;

    // Puts the alert up. The dictionary has the keys messageText, defaultButtonTitle,
    // alternateButtonTitle, otherButtonTitle, informativeText, didEndSelector and
    // suppressionBinding, as far as there is something to say. Main thread only.
    void alertSheetWithDictionary(const Value& request);
    // The default end operation: keeps the code and ends the alert.
    void alertDidEnd(int returnCode);
    // When that time has passed, the alert ends with the default button, also when the person has
    // answered meanwhile.
    void defaultReturnAfterTimeInterval(std::chrono::seconds interval);

    EndOperation endOperation(const std::string& didEndSelector) override;

    std::shared_ptr<platform::Window> parentWindow() const;
    void setParentWindow(const std::shared_ptr<platform::Window>& window);
    std::shared_ptr<ZBAlertDelegate> delegate() const;  // null: the alert itself
    void setDelegate(const std::shared_ptr<ZBAlertDelegate>& delegate);
    bool alertEnded() const;
    void setAlertEnded(bool ended);
    int returnCode() const;
    void setReturnCode(int code);
    // The platform's alert while it is up.
    std::optional<platform::AlertID> alert() const;

  private:
    struct State {
        std::shared_ptr<platform::Window> parentWindow;
        std::shared_ptr<ZBAlertDelegate> delegate;
        bool alertEnded = false;
        int returnCode = 0;
        std::optional<platform::AlertID> alert;
        std::vector<Seconds> deadlines;  // uptimes

        void meetDeadlines();
    };
    EndOperation chosenEndOperation(const std::string& didEndSelector);
    void answered(const platform::AlertAnswer& answer, const std::string& didEndSelector,
                  const std::optional<std::string>& suppressionBinding);
    bool waitUntilEnded() const;
    void orderOut();

    mutable Guarded<State> state_;
};

}  // namespace larkspan
