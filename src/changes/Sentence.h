#pragma once

#include "foundation/MessageText.h"

#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace larkspan {

// A sentence of a change list; empty when there is nothing to say.
using Sentence = std::optional<std::string>;

// What a sentence needs: a text that may be missing, or a number.
using Field = std::optional<std::string>;

namespace detail {

inline bool hasValue(const Field& field) {
    return field.has_value();
}
inline bool hasValue(long /*number*/) {
    return true;
}
inline const std::string& valueOf(const Field& field) {
    return *field;
}
inline long valueOf(long number) {
    return number;
}

template <class T>
struct FieldType {
    using Stored = Field;
    using Printed = std::string;
};
template <>
struct FieldType<long> {
    using Stored = long;
    using Printed = long;
};

}  // namespace detail

// The text of a sentence with those fields in order: `long` for a number, anything else a text.
template <class... Fields>
using SentenceText = BasicMessageText<typename detail::FieldType<Fields>::Printed...>;

// The sentence; none when a field has no value.
template <class... Fields>
Sentence sentence(std::type_identity_t<SentenceText<Fields...>> text, const Fields&... fields) {
    const auto fill = [&](const typename detail::FieldType<Fields>::Stored&... stored) -> Sentence {
        if (!(detail::hasValue(stored) && ...)) return std::nullopt;
        return text.format(detail::valueOf(stored)...);
    };
    return fill(fields...);
}

// A phrase of a sentence that is left out when its part is missing.
template <class... Fields>
std::string phrase(std::type_identity_t<SentenceText<Fields...>> text, const Fields&... fields) {
    return sentence<Fields...>(text, fields...).value_or("");
}

// A text as it is shown: cut behind its first 2,000 characters, with "…".
std::string cutForShowing(std::string_view text);

// The sentences of one change list in the order of their making. A document can be made so that
// they would take all memory; beyond a bound that no real one reaches they are cut.
class SentenceList {
  public:
    void add(Sentence made);
    bool empty() const { return sentences_.empty(); }
    std::vector<std::string> take() { return std::move(sentences_); }

  private:
    std::vector<std::string> sentences_;
    size_t bytes_ = 0;
};

}  // namespace larkspan
