#pragma once

#include "frontend/Command.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// One for each file NAMECommand.cpp.
extern const Command watchAddCommand;
extern const Command watchListCommand;
extern const Command watchRemoveCommand;
extern const Command scanCommand;
extern const Command statusCommand;
extern const Command projectsCommand;
extern const Command versionsCommand;
extern const Command changesCommand;
extern const Command pruneCommand;
extern const Command diffCommand;
extern const Command prefsCommand;
extern const Command runCommand;
extern const Command syncLinkCommand;
extern const Command syncUnlinkCommand;
extern const Command syncStatusCommand;
extern const Command syncListCommand;
extern const Command syncDownloadCommand;
extern const Command uploadCommand;
extern const Command removeRemoteCommand;

// In the order of the help.
std::span<const Command* const> allCommands();

// The command that the arguments begin with; null when they begin with none.
const Command* findCommand(std::span<const std::string> arguments);

// Whether commands of several words begin with this one.
bool isFirstWord(std::string_view word);

// What to say when there is no such command, with the nearest one.
std::string unknownCommand(std::span<const std::string> arguments);

std::string helpText(const Command& command);
std::string generalHelp();

}  // namespace larkspan
