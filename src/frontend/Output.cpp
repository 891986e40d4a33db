#include "frontend/Output.h"

namespace larkspan {
namespace {

const char* code(Style style) {
    switch (style) {
        case Style::strong:
            return "1";
        case Style::good:
            return "32";
        case Style::bad:
            return "31";
        case Style::faint:
            return "2";
    }
    return "0";
}

std::string withStyle(Style style, std::string_view text) {
    return std::string("\x1b[") + code(style) + "m" + std::string(text) + "\x1b[0m";
}

}  // namespace

void Output::line(std::string_view text) {
    results_.stream << text << '\n' << std::flush;
}

void Output::message(std::string_view text) {
    messages_.stream << text << '\n' << std::flush;
}

void Output::error(std::string_view text, std::string_view advice) {
    const std::string name = "larkspan:";
    messages_.stream << (messages_.hasColour ? withStyle(Style::bad, name) : name) << ' ' << text
                     << '\n';
    if (!advice.empty()) messages_.stream << advice << '\n';
    messages_.stream << std::flush;
}

std::string Output::styled(Style style, std::string_view text) const {
    return results_.hasColour ? withStyle(style, text) : std::string(text);
}

}  // namespace larkspan
