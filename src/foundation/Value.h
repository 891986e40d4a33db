#pragma once

#include "foundation/Date.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace larkspan {

// Bytes that are not text.
struct Data {
    std::string bytes;
    friend bool operator==(const Data&, const Data&) = default;
};

// A property-list value: boolean, integer, real, string, data, date, array or dictionary.
// Dictionaries are ordered by key, so that what is written from equal values is equal.
class Value {
  public:
    using Array = std::vector<Value>;
    using Dictionary = std::map<std::string, Value, std::less<>>;

    Value() : content_(Dictionary()) {}
    Value(bool value) : content_(value) {}                                      // NOLINT
    Value(int value) : content_(std::int64_t{value}) {}                         // NOLINT
    Value(long value) : content_(std::int64_t{value}) {}                        // NOLINT
    Value(unsigned long value) : content_(static_cast<std::int64_t>(value)) {}  // NOLINT
    Value(double value) : content_(value) {}                                    // NOLINT
    Value(const char* text) : content_(std::string(text)) {}                    // NOLINT
    Value(std::string text) : content_(std::move(text)) {}                      // NOLINT
    Value(Data data) : content_(std::move(data)) {}                             // NOLINT
    Value(Date date) : content_(date) {}                                        // NOLINT
    Value(Array values) : content_(std::move(values)) {}                        // NOLINT
    Value(Dictionary values) : content_(std::move(values)) {}                   // NOLINT

    // Each gives a null pointer when the value is of another kind.
    const bool* boolean() const { return std::get_if<bool>(&content_); }
    const std::int64_t* integer() const { return std::get_if<std::int64_t>(&content_); }
    const double* real() const { return std::get_if<double>(&content_); }
    const std::string* string() const { return std::get_if<std::string>(&content_); }
    const Data* data() const { return std::get_if<Data>(&content_); }
    const Date* date() const { return std::get_if<Date>(&content_); }
    const Array* array() const { return std::get_if<Array>(&content_); }
    const Dictionary* dictionary() const { return std::get_if<Dictionary>(&content_); }

    // The value as an integer: numbers cut off towards zero, booleans 0 or 1, strings by the digits
    // they start with; 0 for every other kind.
    long integerValue() const;
    bool booleanValue() const { return integerValue() != 0; }

    // Whether the value is a number (or boolean) equal to `number`. A string never is.
    bool equalsNumber(long number) const;

    // The value under a key of a dictionary; null when it is missing or this is no dictionary.
    const Value* find(std::string_view key) const;

    friend bool operator==(const Value& a, const Value& b) { return a.content_ == b.content_; }

    using Content =
        std::variant<bool, std::int64_t, double, std::string, Data, Date, Array, Dictionary>;
    const Content& content() const { return content_; }

  private:
    Content content_;
};

// The value on one line, for log entries: ("/a", {path = "/b/"; flag = "0010"}).
std::string describe(const Value& value);

}  // namespace larkspan
