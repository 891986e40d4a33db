#include "platform/linux/AlertText.h"

#include "foundation/Text.h"

namespace larkspan::platform {
namespace {

struct Button {
    std::string title;
    int returnCode;
};

// The default button first.
std::vector<Button> buttonsOf(const AlertRequest& request) {
    std::vector<Button> buttons;
    const bool isNamed = request.defaultButton && !request.defaultButton->empty();
    buttons.push_back({isNamed ? *request.defaultButton : "OK", alertDefaultReturn});
    const auto add = [&](const std::optional<std::string>& title, int returnCode) {
        if (title && !title->empty()) buttons.push_back({*title, returnCode});
    };
    add(request.alternateButton, alertAlternateReturn);
    add(request.otherButton, alertOtherReturn);
    return buttons;
}

bool has(const std::optional<std::string>& title) {
    return title && !title->empty();
}

std::string printableLines(std::string_view text) {
    std::vector<std::string> lines = split(text, '\n');
    for (std::string& line : lines) line = printable(line);
    return joined(lines, "\n");
}

// zenity turns backslashes and what follows them into other characters.
std::string zenityText(const AlertRequest& request) {
    const bool both = !request.messageText.empty() && !request.informativeText.empty();
    const std::string text = request.messageText + (both ? "\n\n" : "") + request.informativeText;
    return replacingAll(printableLines(text), "\\", "\\\\");
}

}  // namespace

std::string terminalAlert(const AlertRequest& request) {
    std::string text;
    for (const std::string& part : {request.messageText, request.informativeText}) {
        if (!part.empty()) text += printableLines(part) + "\n";
    }
    int number = 0;
    for (const Button& button : buttonsOf(request)) {
        text += "  " + std::to_string(++number) + ". " + printable(button.title) + "\n";
    }
    return text;
}

std::string terminalQuestion(const AlertRequest& request) {
    std::string text;
    if (request.suppression) {
        text = std::string("  s. [") + (*request.suppression ? "x" : " ") +
               "] Do not show this again\n";
    }
    return text + "Your choice [1]: ";
}

ReadReply readReply(const AlertRequest& request, std::string_view line) {
    const std::string reply(trimmed(line));
    if (reply.empty()) return {TerminalReply::button, alertDefaultReturn};
    if (request.suppression && (reply == "s" || reply == "S")) {
        return {TerminalReply::toggledSuppression};
    }
    const std::vector<Button> buttons = buttonsOf(request);
    for (size_t i = 0; i < buttons.size(); ++i) {
        if (reply == std::to_string(i + 1)) {
            return {TerminalReply::button, buttons[i].returnCode};
        }
    }
    return {};
}

std::string terminalHint(const AlertRequest& request) {
    const size_t most = buttonsOf(request).size();
    const std::string numbers = most == 1 ? "1" : "a number from 1 to " + std::to_string(most);
    return "Please enter " + numbers + (request.suppression ? " or s.\n" : ".\n");
}

std::vector<std::string> zenityArguments(const AlertRequest& request) {
    const std::vector<Button> buttons = buttonsOf(request);
    const bool asks = has(request.alternateButton);
    std::vector<std::string> arguments = {asks ? "--question" : "--info", "--no-markup",
                                          "--title=Larkspan", "--text=" + zenityText(request)};
    for (const Button& button : buttons) {
        const char* option = button.returnCode == alertDefaultReturn     ? "--ok-label="
                             : button.returnCode == alertAlternateReturn ? "--cancel-label="
                                                                         : "--extra-button=";
        arguments.push_back(option + printable(button.title));
    }
    return arguments;
}

// A window that is closed counts as cancelled where there is such a button. The extra button is
// told from it by its title on standard output.
int zenityReturnCode(const AlertRequest& request, int exitStatus, std::string_view output,
                     std::string_view errors) {
    constexpr int cancelled = 1;
    const bool couldNotAsk = errors.find("cannot open display") != std::string_view::npos ||
                             errors.find("Failed to open display") != std::string_view::npos;
    if (exitStatus != cancelled || couldNotAsk) return alertDefaultReturn;
    if (has(request.otherButton) && !trimmed(output).empty()) return alertOtherReturn;
    return has(request.alternateButton) ? alertAlternateReturn : alertDefaultReturn;
}

}  // namespace larkspan::platform
