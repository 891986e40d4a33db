#include "foundation/Value.h"

#include "foundation/Text.h"

#include <cmath>
#include <limits>

namespace larkspan {
namespace {

long clampedToLong(double value) {
    if (std::isnan(value)) return 0;
    if (value >= static_cast<double>(std::numeric_limits<long>::max())) {
        return std::numeric_limits<long>::max();
    }
    if (value <= static_cast<double>(std::numeric_limits<long>::min())) {
        return std::numeric_limits<long>::min();
    }
    return static_cast<long>(value);
}

// Deep enough for anything that is worth reading in a log.
constexpr int deepestDescription = 16;

std::string describedAt(const Value& value, int depth);

struct Describer {
    int depth;

    std::string operator()(bool value) const { return value ? "1" : "0"; }
    std::string operator()(std::int64_t value) const { return std::to_string(value); }
    std::string operator()(double value) const { return std::to_string(value); }
    std::string operator()(const std::string& text) const { return '"' + text + '"'; }
    std::string operator()(const Data& data) const {
        return "<" + std::to_string(data.bytes.size()) + " bytes>";
    }
    std::string operator()(Date date) const { return dateDescription(date); }
    std::string operator()(const Value::Array& values) const {
        std::string out = "(";
        for (const Value& value : values) {
            if (out.size() > 1) out += ", ";
            out += describedAt(value, depth + 1);
        }
        return out + ")";
    }
    std::string operator()(const Value::Dictionary& values) const {
        std::string out = "{";
        for (const auto& [key, value] : values) {
            if (out.size() > 1) out += "; ";
            out += key + " = " + describedAt(value, depth + 1);
        }
        return out + "}";
    }
};

std::string describedAt(const Value& value, int depth) {
    if (depth > deepestDescription) return "...";
    return std::visit(Describer{depth}, value.content());
}

}  // namespace

long Value::integerValue() const {
    if (const bool* flag = boolean()) return *flag ? 1 : 0;
    if (const std::int64_t* number = integer()) return static_cast<long>(*number);
    if (const double* number = real()) return clampedToLong(*number);
    if (const std::string* text = string()) return larkspan::integerValue(*text);
    return 0;
}

bool Value::equalsNumber(long number) const {
    if (const double* real = this->real()) return *real == static_cast<double>(number);
    return (boolean() || integer()) && integerValue() == number;
}

const Value* Value::find(std::string_view key) const {
    const Dictionary* values = dictionary();
    if (!values) return nullptr;
    const auto found = values->find(key);
    return found == values->end() ? nullptr : &found->second;
}

std::string describe(const Value& value) {
    return describedAt(value, 0);
}

}  // namespace larkspan
