#pragma once

#include "frontend/Command.h"
#include "sync/CloudService.h"

#include <optional>
#include <string>

namespace larkspan {

// The cloud service as commands use it: what goes wrong is said to the user.

// Where the service answers. Empty, with the reason said, while synchronisation is switched off:
// then nothing speaks with it.
std::optional<CloudSettings> cloudSettings(Context& context);

// Whether an account is linked; else that is said.
bool hasCloudAccount(Context& context);

// What a project is called in the cloud: an identifier as it is, also of a project that is not in
// the store any more, else as projectArgument understands it.
std::optional<std::string> cloudProject(const std::string& word, Context& context);

// The versions of a project there. Asks the service and waits for it.
std::optional<std::vector<DBMetadata>> cloudVersions(const std::string& project,
                                                     const CloudSettings& settings,
                                                     Context& context);

// "Cut.00003.fcp" of "/ID/Cut.00003.fcp.zip", and of "/ID/Cut.00003.fcp", which was not packed.
std::string versionNameOf(const RemotePath& file);
bool isPacked(const RemotePath& file);

// "Uploading Cut.00003.fcp  [##########----------]  50%".
std::string progressText(const std::string& what, double done);

}  // namespace larkspan
