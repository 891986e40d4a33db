#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

namespace larkspan {

class Value;
std::string describe(const Value& value);

// One argument of a message, already turned into what the formatter prints.
class MessageArgument {
  public:
    MessageArgument(std::string_view text) : content_(std::string(text)) {}       // NOLINT
    MessageArgument(const std::string& text) : content_(text) {}                  // NOLINT
    MessageArgument(const char* text) : content_(std::string(text)) {}            // NOLINT
    MessageArgument(const Path& path) : content_(path.str()) {}                   // NOLINT
    MessageArgument(Date date) : content_(dateDescription(date)) {}               // NOLINT
    MessageArgument(const Value& value) : content_(describe(value)) {}            // NOLINT
    MessageArgument(bool value) : content_(std::int64_t{value}) {}                // NOLINT
    MessageArgument(std::floating_point auto value) : content_(double{value}) {}  // NOLINT
    MessageArgument(std::integral auto value)                                     // NOLINT
        : content_(static_cast<std::int64_t>(value)) {}

    using Content = std::variant<std::string, std::int64_t, double>;
    const Content& content() const { return content_; }

  private:
    Content content_;
};

// Fills the placeholders of a message ("%@", "%i", "%li", "%0.2f", "%04x", "%s", "%%" and the like)
// with the arguments in order. A placeholder without an argument reads "(null)"; what is no
// placeholder stands as it is. Never reads past the arguments.
std::string formatMessage(std::string_view format, std::span<const MessageArgument> arguments);

namespace detail {

constexpr bool isPlaceholderEnd(char c) {
    return std::string_view("@diuxXosfgeFGEpc").find(c) != std::string_view::npos;
}

// Where the placeholder that starts behind a "%" at `at` has its last character; npos: none.
constexpr size_t placeholderEnd(std::string_view format, size_t at) {
    size_t end = format.find_first_not_of("0123456789.+-# lhqzjt", at);
    return end != std::string_view::npos && isPlaceholderEnd(format[end]) ? end
                                                                          : std::string_view::npos;
}

constexpr size_t countPlaceholders(std::string_view format) {
    size_t count = 0;
    for (size_t at = 0; at < format.size(); ++at) {
        if (format[at] != '%') continue;
        if (at + 1 < format.size() && format[at + 1] == '%') {
            ++at;
        } else if (const size_t end = placeholderEnd(format, at + 1); end != format.npos) {
            ++count;
            at = end;
        }
    }
    return count;
}

}  // namespace detail

// A message whose placeholders are counted against its arguments when the program is compiled.
template <class... Arguments>
class BasicMessageText {
  public:
    template <size_t Size>
    consteval BasicMessageText(const char (&text)[Size]) : text_(text) {  // NOLINT
        if (detail::countPlaceholders(text) != sizeof...(Arguments)) {
            throw "the message has another number of placeholders than arguments";
        }
    }
    std::string format(const Arguments&... arguments) const {
        const MessageArgument list[] = {MessageArgument(arguments)..., MessageArgument("")};
        return formatMessage(text_, std::span(list, sizeof...(Arguments)));
    }

  private:
    std::string_view text_;
};

template <class... Arguments>
using MessageText = BasicMessageText<std::type_identity_t<Arguments>...>;

// messageText("Backup interval: %i", 630) is "Backup interval: 630".
template <class... Arguments>
std::string messageText(MessageText<Arguments...> text, const Arguments&... arguments) {
    return text.format(arguments...);
}

}  // namespace larkspan
