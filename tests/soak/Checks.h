#pragma once

#include "soak/StoreReading.h"

#include <functional>

namespace larkspan::soak {

// What must hold, as functions of values. Each gives one sentence for everything that is wrong.

using Complaints = std::vector<std::string>;
using Store = std::vector<StoredProject>;
// What was in the store at the last look, by the file of the version.
using Seen = std::map<std::filesystem::path, Digest>;

// Projects that exist and are not in the store as they are now.
Complaints missingStates(const Model& model, const Store& store);
// Versions that are not a state of their project. A state that did not last is one only when
// `passingStatesToo`, which a clock that leaps allows.
Complaints foreignVersions(const Model& model, const Store& store, const Seen& seen,
                           bool passingStatesToo);
// Projects that are registered twice, or are none, and neighbouring versions that are equal. When
// `someUnread`, the newest version may not have been readable, and what cannot be compared with it
// counts as changed.
Complaints doubles(const Model& model, const Store& store, const Seen& seen, bool someUnread);
// Versions that went or became others. With a limit only the oldest of a project may go, and as
// many as the limit stay.
Complaints losses(const Seen& seen, const Store& store, std::optional<long> limit);
// New versions with dates earlier than that of the project of the same content.
Complaints earlyDates(const Model& model, const Store& store, const Seen& seen);
// Hidden items that the program makes while it writes, and folders of the store without a project.
Complaints leavings(const std::vector<std::filesystem::path>& folders, const Store& store);

Seen seenIn(const Store& store);

}  // namespace larkspan::soak
