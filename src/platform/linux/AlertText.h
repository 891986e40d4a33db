#pragma once

#include "platform/Alerts.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

// How alerts are put into words for the terminal and for zenity, and how answers are understood.

// The alert with its buttons numbered from the default one on. A terminal is not steered by what it
// holds: control characters other than new lines are replaced.
std::string terminalAlert(const AlertRequest& request);
// The question below it; the check box says its state.
std::string terminalQuestion(const AlertRequest& request);

enum class TerminalReply { button, toggledSuppression, notUnderstood };
struct ReadReply {
    TerminalReply kind = TerminalReply::notUnderstood;
    int returnCode = alertDefaultReturn;  // of a button
};
// What a line that was typed means; an empty one is the default button.
ReadReply readReply(const AlertRequest& request, std::string_view line);
// What is said to a line that is not understood.
std::string terminalHint(const AlertRequest& request);

std::vector<std::string> zenityArguments(const AlertRequest& request);
// What zenity's end means. One that could not ask is the default button.
int zenityReturnCode(const AlertRequest& request, int exitStatus, std::string_view output,
                     std::string_view errors);

}  // namespace larkspan::platform
