#pragma once

#include "foundation/Path.h"
#include "frontend/Command.h"
#include "kit/Preferences.h"

#include <optional>
#include <string>

namespace larkspan {

// The user's preferences as commands use them: what goes wrong is said to the user, and nothing is
// ever written over a file that cannot be read.

// Empty, with the reason said, when the file cannot be read.
std::optional<Preferences> readPreferences(Context& context);

// Gives a key the value that the change makes of the present one, or removes it where that is
// none. False, with the reason said, when that failed.
bool changePreference(Context& context, const std::string& key, const Preferences::Change& change);

// What to do about a preferences file that cannot be read.
std::string unreadablePreferencesAdvice(const Path& file);

// Where the versions are kept. Empty, with the reason said, when the user has no such place.
std::optional<Path> storeRoot(Context& context);

// Makes the log ready for a command that does logged work; many processes share it. Without it what
// cannot be logged would stand among the results.
void prepareLog();

}  // namespace larkspan
