#pragma once

#include "foundation/Value.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace larkspan {

enum class PreferenceKind {
    onOff,  // 1 or 0
    integer,
    text,
    path,     // absolute
    folders,  // a list that commands of its own change
    date,
};

// Whether the helper must be told of a change; everything else it reads when it needs it.
enum class NeedsConfiguration { no, yes };

struct KnownPreference {
    std::string_view key;
    PreferenceKind kind;
    std::string_view standard;  // what holds while the key is not set, for people; "" for nothing
    std::string_view explanation;
    NeedsConfiguration needsConfiguration = NeedsConfiguration::no;
};

std::span<const KnownPreference> knownPreferences();
const KnownPreference* knownPreference(std::string_view key);

// The keys that the helper reads, the nearest to a mistyped one; "" when none is near.
std::string didYouMeanPreference(std::string_view key);

// "12" and "-3" as integers, "true" and "false" as booleans, anything else as a text.
Value typedValue(const std::string& text);
// Empty when the whole text is no integer in range.
std::optional<Value> integerOnly(const std::string& text);

// Why a value does not fit a known preference, in a sentence; "" when it does.
std::string misfit(const KnownPreference& preference, const Value& value);

}  // namespace larkspan
