#include "frontend/Json.h"

#include "foundation/Text.h"
#include "frontend/Format.h"

#include <array>
#include <charconv>
#include <cmath>
#include <variant>

namespace larkspan {
namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";

// Writes one value after another into a text.
class JsonWriter {
  public:
    explicit JsonWriter(JsonLayout layout) : layout_(layout) {}

    void write(const Value& value) {
        std::visit([this](const auto& content) { put(content); }, value.content());
    }
    std::string take() { return std::move(text_); }

  private:
    void put(bool value) { text_ += value ? "true" : "false"; }
    void put(std::int64_t value) { text_ += std::to_string(value); }
    void put(double value) {
        if (!std::isfinite(value)) {
            text_ += "null";
            return;
        }
        std::array<char, 64> digits{};
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
        text_.append(digits.data(), end);
    }
    void put(const std::string& value) { text_ += jsonString(value); }
    void put(const Date& value) { text_ += jsonString(utcText(value)); }
    void put(const Data& value) {
        text_ += '"';
        for (const char character : value.bytes) {
            const auto byte = static_cast<unsigned char>(character);
            text_ += hexDigits[byte >> 4U];
            text_ += hexDigits[byte & 15U];
        }
        text_ += '"';
    }
    void put(const Value::Array& values) {
        putContainer('[', ']', values, [this](const Value& value) { write(value); });
    }
    void put(const Value::Dictionary& values) {
        putContainer('{', '}', values, [this](const auto& entry) {
            text_ += jsonString(entry.first) + ": ";
            write(entry.second);
        });
    }

    template <class Container, class Put>
    void putContainer(char opening, char closing, const Container& items, const Put& putItem) {
        text_ += opening;
        ++depth_;
        bool first = true;
        for (const auto& item : items) {
            if (!first) text_ += layout_ == JsonLayout::lines ? "," : ", ";
            first = false;
            newLine();
            putItem(item);
        }
        --depth_;
        if (!items.empty()) newLine();
        text_ += closing;
    }
    void newLine() {
        if (layout_ == JsonLayout::oneLine) return;
        text_ += '\n';
        text_.append(depth_ * 2, ' ');
    }

    JsonLayout layout_;
    std::string text_;
    size_t depth_ = 0;
};

}  // namespace

std::string json(const Value& value, JsonLayout layout) {
    JsonWriter writer(layout);
    writer.write(value);
    return writer.take();
}

std::string jsonString(std::string_view text) {
    std::string quoted = "\"";
    for (const char character : sanitizedUtf8(text)) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\') {
            quoted += '\\';
            quoted += character;
        } else if (character == '\n') {
            quoted += "\\n";
        } else if (character == '\t') {
            quoted += "\\t";
        } else if (byte < 0x20 || byte == 0x7f) {
            quoted += "\\u00";
            quoted += hexDigits[byte >> 4U];
            quoted += hexDigits[byte & 15U];
        } else {
            quoted += character;
        }
    }
    return quoted + '"';
}

}  // namespace larkspan
