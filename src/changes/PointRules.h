#pragma once

#include "changes/ChangedLeaf.h"

namespace larkspan::pointrules {

// Sentences for where things start and end: in, out, start, end and the offsets of subclips.

// The words of "in" or "out". Fields in order: what the text is about, then from, to, sign and
// difference where it has them.
struct InOutTexts {
    SentenceText<Field> sequenceRemoved;
    SentenceText<Field, Field, Field, Field, long> sequenceChanged;
    SentenceText<Field, Field> itemRemoved;
    SentenceText<Field, Field, Field, Field, Field, long> itemChanged;
    SentenceText<Field, Field> trackClipRemoved;
    SentenceText<Field, Field, Field, Field, Field, long> trackClipChanged;
    SentenceText<Field, Field> trackRemoved;
    SentenceText<Field, Field, Field, Field, Field, long> trackChanged;
    SentenceText<Field, Field> generator;
    SentenceText<Field, Field> transition;
    SentenceText<Field, Field> filter;
    SentenceText<Field, Field> marker;
};
extern const InOutTexts inTexts;
extern const InOutTexts outTexts;

// The words of "start" or "end".
struct BoundTexts {
    SentenceText<Field, Field, Field, Field, long> sequenceChanged;
    SentenceText<Field, Field, Field, Field, long> generatorChanged;
    SentenceText<Field, Field, Field, Field, Field, Field, long> clipChanged;
    SentenceText<Field, Field, Field, Field, long> audioClipChanged;
    SentenceText<Field, Field> transition;
    SentenceText<Field, Field> filter;
    SentenceText<Field> generatorTransition;
    SentenceText<Field, Field, Field> clipTransition;
    SentenceText<Field> audioClipTransition;
};
extern const BoundTexts startTexts;
extern const BoundTexts endTexts;

// The value that stands for "there is none" and for an edge that lies in a transition.
inline constexpr std::string_view noPoint = "-1";

RuleResult in(const ChangedLeaf& leaf, RuleContext& context);
RuleResult out(const ChangedLeaf& leaf, RuleContext& context);
RuleResult start(const ChangedLeaf& leaf, RuleContext& context);
RuleResult end(const ChangedLeaf& leaf, RuleContext& context);
RuleResult subclipStart(const ChangedLeaf& leaf, RuleContext& context);
RuleResult subclipEnd(const ChangedLeaf& leaf, RuleContext& context);

// The forms of in and out for a sequence of that name, for an item by its kind, and for a clip by
// its track.
Sentence sequencePoint(const InOutTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts,
                       const Field& sequence);
Sentence itemPoint(const InOutTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts,
                   const Field& kind, const Field& item);
Sentence trackClipPoint(const InOutTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts,
                        const Field& track, const Field& clip);
// The form of start and end for an audio clip of that name.
Sentence audioClipBound(const BoundTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts,
                        const Field& clip);
// For a clip with its track word ("video ", "") and kind.
Sentence clipBound(const BoundTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts,
                   const Field& track, const Field& kind, const Field& clip);

}  // namespace larkspan::pointrules
