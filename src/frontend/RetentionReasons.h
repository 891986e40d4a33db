#pragma once

#include "backup/RetentionPolicy.h"

#include <string>
#include <vector>

namespace larkspan {

// The rules that thin old versions, in words for somebody who never set them.

// A sentence for each rule that is in force, in the order in which they apply.
std::vector<std::string> describeRules(const RetentionRules& rules);

// Why a version goes: half a sentence that begins with the version ("is older than 90 days").
std::string removalReason(const RetentionVerdict& verdict, const RetentionRules& rules);

// The preference that the rule of a removal comes from.
std::string preferenceOfRule(RetentionRule rule);

}  // namespace larkspan
