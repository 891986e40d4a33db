#pragma once

#include "changes/ChangedLeaf.h"

namespace larkspan::propertyrules {

// Sentences for names, values and settings.
RuleResult name(const ChangedLeaf& leaf, RuleContext& context);
RuleResult value(const ChangedLeaf& leaf, RuleContext& context);
RuleResult duration(const ChangedLeaf& leaf, RuleContext& context);
RuleResult codec(const ChangedLeaf& leaf, RuleContext& context);
RuleResult width(const ChangedLeaf& leaf, RuleContext& context);
RuleResult height(const ChangedLeaf& leaf, RuleContext& context);
RuleResult pixelAspectRatio(const ChangedLeaf& leaf, RuleContext& context);
RuleResult fieldDominance(const ChangedLeaf& leaf, RuleContext& context);
RuleResult timebase(const ChangedLeaf& leaf, RuleContext& context);
RuleResult ntsc(const ChangedLeaf& leaf, RuleContext& context);
RuleResult enabled(const ChangedLeaf& leaf, RuleContext& context);
RuleResult alphaType(const ChangedLeaf& leaf, RuleContext& context);
RuleResult alignment(const ChangedLeaf& leaf, RuleContext& context);
RuleResult comment(const ChangedLeaf& leaf, RuleContext& context);
RuleResult shotTake(const ChangedLeaf& leaf, RuleContext& context);
RuleResult scene(const ChangedLeaf& leaf, RuleContext& context);

}  // namespace larkspan::propertyrules
