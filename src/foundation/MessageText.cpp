#include "foundation/MessageText.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace larkspan {
namespace {

// Width and precision come from message texts; a malformed one must not print megabytes.
constexpr int longestField = 4096;

struct Directive {
    std::string flags;  // flags, width and precision, without length letters
    char conversion = '@';
};

Directive readDirective(std::string_view text) {
    Directive directive;
    for (const char c : text.substr(0, text.size() - 1)) {
        if (std::string_view("lhqzjt").find(c) == std::string_view::npos) directive.flags += c;
    }
    directive.conversion = text.back();
    return directive;
}

template <class T>
std::string printed(const Directive& directive, const char* length, char conversion, T value) {
    const std::string format = "%" + directive.flags + length + conversion;
    std::array<char, longestField> out{};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int size = std::snprintf(out.data(), out.size(), format.c_str(), value);
#pragma GCC diagnostic pop
    return {out.data(), static_cast<size_t>(std::clamp(size, 0, longestField - 1))};
}

struct Printer {
    const Directive& directive;

    bool wants(std::string_view conversions) const {
        return conversions.find(directive.conversion) != std::string_view::npos;
    }
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(std::int64_t value) const {
        if (wants("xXou"))
            return printed(directive, "l", directive.conversion, static_cast<long>(value));
        if (wants("fgeFGE")) return (*this)(static_cast<double>(value));
        return printed(directive, "l", 'd', static_cast<long>(value));
    }
    std::string operator()(double value) const {
        if (wants("fgeFGE")) return printed(directive, "", directive.conversion, value);
        if (wants("@s")) return printed(directive, "", 'g', value);
        return (*this)(static_cast<std::int64_t>(value));
    }
};

std::string printed(const MessageArgument::Content& content, std::string_view placeholder) {
    const Directive directive = readDirective(placeholder);
    return std::visit(Printer{directive}, content);
}

}  // namespace

std::string formatMessage(std::string_view format, std::span<const MessageArgument> arguments) {
    constexpr size_t usualLength = 256;
    std::string out;
    out.reserve(usualLength);
    size_t next = 0;
    for (size_t at = 0; at < format.size(); ++at) {
        const size_t sign = std::min(format.find('%', at), format.size());
        out += format.substr(at, sign - at);
        if (sign == format.size()) break;
        at = sign;
        const size_t end = detail::placeholderEnd(format, at + 1);
        if (at + 1 < format.size() && format[at + 1] == '%') {
            out += '%';
            ++at;
        } else if (end == std::string_view::npos) {
            out += '%';
        } else {
            out += next < arguments.size()
                       ? printed(arguments[next].content(), format.substr(at + 1, end - at))
                       : "(null)";
            ++next;
            at = end;
        }
    }
    return out;
}

}  // namespace larkspan
