#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace larkspan::platform {

// A window of this process that can carry an alert as a sheet.
class Window {
  public:
    virtual ~Window() = default;
    // Whether it carries one now. Any thread.
    virtual bool hasAttachedSheet() const = 0;
    // In front of the others, with the keyboard. Main thread only.
    virtual void makeKeyAndOrderFront() = 0;
};

// What the person answered, by the button's place.
inline constexpr int alertDefaultReturn = 1;
inline constexpr int alertAlternateReturn = 0;
inline constexpr int alertOtherReturn = -1;

struct AlertRequest {
    std::string messageText = {};
    std::string informativeText = {};                 // shown as it is
    std::optional<std::string> defaultButton = {};    // "OK" when there is none
    std::optional<std::string> alternateButton = {};  // left out when there is none
    std::optional<std::string> otherButton = {};      // left out when there is none
    std::optional<bool> suppression = {};  // a check box "do not show again", and its state
};

struct AlertAnswer {
    int returnCode = alertDefaultReturn;
    std::optional<bool> suppression = {};  // the check box as it is now; none when it was not shown
};

using AlertID = std::uint64_t;

// Messages that ask for an answer. Main thread only.
class Alerts {
  public:
    using Answered = std::function<void(const AlertAnswer& answer)>;

    virtual ~Alerts() = default;

    // The window over which the program's alerts are shown; null where it has none.
    virtual std::shared_ptr<Window> mainWindow() = 0;

    // Puts an alert up, as a sheet on the window or, with none, by itself, and returns. `answered`
    // is called once, perhaps before this returns; where nobody can be asked, at once with the
    // default button. It may show and order out alerts.
    virtual AlertID show(const AlertRequest& request, const std::shared_ptr<Window>& window,
                         Answered answered) = 0;

    // Takes an alert away unanswered. Nothing happens when it has been answered.
    virtual void orderOut(AlertID alert) = 0;
};

}  // namespace larkspan::platform
