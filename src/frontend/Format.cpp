#include "frontend/Format.h"

#include "foundation/MessageText.h"
#include "foundation/Text.h"
#include "frontend/Json.h"

#include <algorithm>
#include <array>

namespace larkspan {

std::string sizeText(std::uint64_t bytes) {
    if (bytes < 1000) return std::to_string(bytes) + " B";
    constexpr std::array units{"kB", "MB", "GB", "TB", "PB", "EB"};
    double amount = static_cast<double>(bytes) / 1000;
    size_t unit = 0;
    // What would be rounded to a thousand belongs to the next unit.
    while (amount >= 999.5 && unit + 1 < units.size()) {
        amount /= 1000;
        ++unit;
    }
    const std::string number =
        amount < 99.95 ? messageText("%.1f", amount) : messageText("%.0f", amount);
    return number + " " + units.at(unit);
}

std::string dateText(Date date) {
    return dateDescription(date).substr(0, 19);
}

std::string timeText(Date date) {
    return dateText(date).substr(11);
}

std::string utcText(Date date) {
    const auto day = std::chrono::floor<std::chrono::days>(date);
    const std::chrono::year_month_day calendar(day);
    const auto second = std::chrono::floor<std::chrono::seconds>(date - day).count();
    return messageText("%04d-%02d-%02dT%02d:%02d:%02dZ", static_cast<int>(calendar.year()),
                       static_cast<unsigned>(calendar.month()),
                       static_cast<unsigned>(calendar.day()), static_cast<int>(second / 3600),
                       static_cast<int>(second / 60 % 60), static_cast<int>(second % 60));
}

std::string countText(size_t count, std::string_view singular, std::string_view plural) {
    return std::to_string(count) + " " + std::string(count == 1 ? singular : plural);
}

std::string alternatives(const std::vector<std::string>& texts) {
    if (texts.size() < 2) return joined(texts, "");
    return joined({texts.begin(), texts.end() - 1}, ", ") + " or " + texts.back();
}

std::string valueText(const Value& value) {
    return printable(value.string() ? *value.string() : json(value, JsonLayout::oneLine));
}

std::string shellQuoted(std::string_view text) {
    constexpr std::string_view safe =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+,:@%";
    if (!text.empty() && text.find_first_not_of(safe) == std::string_view::npos) {
        return std::string(text);
    }
    return "'" + replacingAll(text, "'", "'\\''") + "'";
}

void Table::addRow(const std::vector<std::string>& cells) {
    std::vector<std::string> row;
    for (const std::string& cell : cells) row.push_back(printable(cell));
    row.resize(columns_.size());
    rows_.push_back(std::move(row));
}

std::vector<std::string> Table::lines() const {
    std::vector<std::string> headings;
    for (const Column& column : columns_) headings.push_back(column.heading);
    std::vector<size_t> widths;
    for (size_t at = 0; at < columns_.size(); ++at) {
        widths.push_back(characterCount(headings[at]));
        for (const auto& row : rows_) widths[at] = std::max(widths[at], characterCount(row[at]));
    }
    std::vector<std::string> lines{line(headings, widths)};
    for (const auto& row : rows_) lines.push_back(line(row, widths));
    return lines;
}

std::string Table::line(const std::vector<std::string>& cells,
                        const std::vector<size_t>& widths) const {
    std::string text;
    for (size_t at = 0; at < cells.size(); ++at) {
        if (at > 0) text += "  ";
        const std::string padding(widths[at] - characterCount(cells[at]), ' ');
        const bool right = columns_[at].align == Align::right;
        text += right ? padding + cells[at] : cells[at] + padding;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

}  // namespace larkspan
