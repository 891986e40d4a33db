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

void Output::progress(std::string_view text) {
    if (!messages_.isTerminal) return;
    endProgress();
    messages_.stream << text << std::flush;
    showsProgress_ = !text.empty();
}

void Output::endProgress() {
    if (showsProgress_) messages_.stream << "\r\x1b[K" << std::flush;
    showsProgress_ = false;
}

void Output::line(std::string_view text) {
    endProgress();
    results_.stream << text << '\n' << std::flush;
}

void Output::message(std::string_view text) {
    endProgress();
    messages_.stream << text << '\n' << std::flush;
}

void Output::error(std::string_view text, std::string_view advice) {
    endProgress();
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
