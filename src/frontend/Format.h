#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"
#include "foundation/Text.h"
#include "foundation/Value.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// Texts for people and scripts.

// "512 B", "1.2 MB": decimal units, three significant digits.
std::string sizeText(std::uint64_t bytes);

// "2026-01-31 14:03:11" and "14:03:11" in the local time zone.
std::string dateText(Date date);
std::string timeText(Date date);
// "2026-01-31T14:03:11Z".
std::string utcText(Date date);

// "1 project", "3 projects".
std::string countText(size_t count, std::string_view singular, std::string_view plural);

// "a", "a or b", "a, b or c".
std::string alternatives(const std::vector<std::string>& texts);

// A value as one line for people: texts as they are, everything else as JSON.
std::string valueText(const Value& value);

// A word that a shell reads as exactly this text.
std::string shellQuoted(std::string_view text);

// Columns with two blanks between them, under headings. Numbers stand to the right.
class Table {
  public:
    enum class Align { left, right };
    struct Column {
        std::string heading;
        Align align = Align::left;
    };

    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    // As many cells as there are columns. Cells are made printable.
    void addRow(const std::vector<std::string>& cells);
    // The heading first; no blanks at the ends of lines.
    std::vector<std::string> lines() const;

  private:
    std::string line(const std::vector<std::string>& cells,
                     const std::vector<size_t>& widths) const;

    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace larkspan
