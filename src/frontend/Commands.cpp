#include "frontend/Commands.h"

#include "foundation/Text.h"
#include "frontend/Format.h"
#include "frontend/Suggestions.h"

#include <algorithm>
#include <array>

namespace larkspan {
namespace {

std::string padded(std::string_view text, size_t width) {
    std::string result(text);
    if (result.size() < width) result.append(width - result.size(), ' ');
    return result;
}

std::string optionText(const Option& option) {
    const std::string name = std::string("--") + option.name;
    return option.valueName ? name + " " + option.valueName : name;
}

// "watch" of "watch add".
std::string_view firstWord(std::string_view name) {
    return name.substr(0, name.find(' '));
}

std::vector<const Command*> commandsOfGroup(std::string_view word) {
    std::vector<const Command*> group;
    for (const Command* command : allCommands()) {
        if (firstWord(command->name) == word) group.push_back(command);
    }
    return group;
}

}  // namespace

std::span<const Command* const> allCommands() {
    static constexpr std::array<const Command*, 19> commands{
        &watchAddCommand,   &watchListCommand, &watchRemoveCommand,  &scanCommand,
        &statusCommand,     &projectsCommand,  &versionsCommand,     &changesCommand,
        &diffCommand,       &pruneCommand,     &syncLinkCommand,     &syncUnlinkCommand,
        &syncStatusCommand, &syncListCommand,  &syncDownloadCommand, &prefsCommand,
        &runCommand,        &uploadCommand,    &removeRemoteCommand};
    return commands;
}

const Command* findCommand(std::span<const std::string> arguments) {
    for (const Command* command : allCommands()) {
        const auto words = split(command->name, ' ');
        if (words.size() > arguments.size()) continue;
        if (std::equal(words.begin(), words.end(), arguments.begin())) return command;
    }
    return nullptr;
}

bool isFirstWord(std::string_view word) {
    return commandsOfGroup(word).size() > 1;
}

std::string unknownCommand(std::span<const std::string> arguments) {
    const auto group = commandsOfGroup(arguments[0]);
    if (group.empty()) {
        std::vector<std::string> names;
        for (const Command* command : allCommands()) names.emplace_back(firstWord(command->name));
        return "There is no command \"" + arguments[0] + "\"." + didYouMean(names, arguments[0]);
    }
    std::vector<std::string> names;
    for (const Command* command : group) names.emplace_back(command->name);
    if (arguments.size() < 2) return "A word is missing: " + alternatives(names) + ".";
    const std::string typed = arguments[0] + " " + arguments[1];
    return "There is no command \"" + typed + "\"." + didYouMean(names, typed);
}

std::string helpText(const Command& command) {
    std::string text = "Usage: larkspan " + std::string(command.name);
    if (!command.words.empty()) text += " " + std::string(command.words);
    for (const Option& option : command.options) text += " [" + optionText(option) + "]";
    text += "\n\n" + std::string(command.description) + "\n";
    text += "\nOptions:\n";
    size_t width = std::string_view("--verbose").size();
    for (const Option& option : command.options) {
        width = std::max(width, optionText(option).size());
    }
    for (const Option& option : command.options) {
        text += "  " + padded(optionText(option), width) + "  " + option.help + "\n";
    }
    text += "  " + padded("--verbose", width) + "  Write diagnosis on standard error, too.\n";
    text += "  " + padded("--help", width) + "  Show this help.\n";
    return text + "\nExample:\n  " + std::string(command.example);
}

std::string generalHelp() {
    std::string text =
        "larkspan keeps every version of your video-editing projects.\n\n"
        "Usage: larkspan COMMAND [OPTIONS]\n\nCommands:\n";
    for (const Command* command : allCommands()) {
        if (command->listed == Listed::no) continue;
        const std::string name(command->name);
        text += "  " + padded(name + " " + std::string(command->words), 23) + "  " +
                std::string(command->summary) + "\n";
    }
    return text +
           "\n  --version                Show the program's version.\n"
           "  COMMAND --help           Show a command's options and an example.\n\n"
           "Exit status: 0 done, 1 failed, 2 wrong usage.\n\n"
           "Example:\n  larkspan watch add ~/Movies/Edit";
}

}  // namespace larkspan
