#include "foundation/PlainNumbers.h"
#include "foundation/PropertyList.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

// Written here rather than by libplist, which cuts texts at a zero byte, knows no date more than 68
// years from 2001, and takes quadratic time to read back a long text with many entities.

namespace larkspan {
namespace {

constexpr std::string_view prologue =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view epilogue = "</plist>\n";

// A longer text that needs entities is written as CDATA.
constexpr size_t longestEscapedText = 4096;

// The zero byte, for which XML has no spelling at all, becomes the replacement character.
constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

void appendEscaped(std::string& out, std::string_view text) {
    for (const char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '\r':  // readers may turn a plain one into a new line
                out += "&#13;";
                break;
            case '\0':
                out += replacementCharacter;
                break;
            default:
                out += c;
        }
    }
}

void appendCData(std::string& out, std::string_view text) {
    out += "<![CDATA[";
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\0') {
            out += replacementCharacter;
        } else if (text.substr(i).starts_with("]]>")) {
            out += "]]]]><![CDATA[";
            ++i;
        } else {
            out += text[i];
        }
    }
    out += "]]>";
}

void appendText(std::string& out, std::string_view text) {
    if (text.size() <= longestEscapedText ||
        text.find_first_of("&<>\r") == std::string_view::npos) {
        appendEscaped(out, text);
    } else {
        appendCData(out, text);
    }
}

void appendBase64(std::string& out, std::string_view bytes) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (size_t i = 0; i < bytes.size(); i += 3) {
        unsigned group = 0;
        for (size_t k = i; k < i + 3; ++k) {
            group = (group << 8) | (k < bytes.size() ? static_cast<unsigned char>(bytes[k]) : 0U);
        }
        for (size_t k = 0; k < 4; ++k) {
            const bool isPadding = i + k > bytes.size();
            out += isPadding ? '=' : digits[(group >> (18 - 6 * k)) & 0x3FU];
        }
    }
}

// The shortest spelling that reads back as the same number.
std::string realText(double value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value > 0 ? "+infinity" : "-infinity";
    std::array<char, 64> text{};
    for (int digits = 15; digits <= 17; ++digits) {
        (void)std::snprintf(text.data(), text.size(), "%.*g", digits, value);
        if (std::strtod(text.data(), nullptr) == value) break;
    }
    return text.data();
}

std::string dateText(Date date) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
    const auto day = std::chrono::floor<std::chrono::days>(seconds);
    const std::chrono::year_month_day calendar(day);
    const std::chrono::hh_mm_ss time(seconds - day);
    std::array<char, 64> text{};
    (void)std::snprintf(
        text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ",
        static_cast<int>(calendar.year()), static_cast<unsigned>(calendar.month()),
        static_cast<unsigned>(calendar.day()), static_cast<int>(time.hours().count()),
        static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
    return text.data();
}

class Writer {
  public:
    explicit Writer(std::string& out) : out_(out) {}

    void write(const Value& value) {
        indent();
        std::visit(*this, value.content());
        out_ += '\n';
    }

    void operator()(bool value) { out_ += value ? "<true/>" : "<false/>"; }
    void operator()(std::int64_t value) { element("integer", std::to_string(value)); }
    void operator()(double value) { element("real", realText(value)); }
    void operator()(Date date) { element("date", dateText(date)); }
    void operator()(const std::string& text) { element("string", text); }
    void operator()(const Data& data) {
        out_ += "<data>";
        appendBase64(out_, data.bytes);
        out_ += "</data>";
    }
    void operator()(const Value::Array& values) {
        if (values.empty()) {
            out_ += "<array/>";
            return;
        }
        out_ += "<array>\n";
        ++depth_;
        for (const Value& value : values) write(value);
        --depth_;
        indent();
        out_ += "</array>";
    }
    void operator()(const Value::Dictionary& values) {
        if (values.empty()) {
            out_ += "<dict/>";
            return;
        }
        out_ += "<dict>\n";
        ++depth_;
        for (const auto& [key, value] : values) {
            indent();
            element("key", key);
            out_ += '\n';
            write(value);
        }
        --depth_;
        indent();
        out_ += "</dict>";
    }

  private:
    void indent() { out_.append(depth_, '\t'); }
    void element(std::string_view name, std::string_view text) {
        out_.append("<").append(name).append(">");
        appendText(out_, text);
        out_.append("</").append(name).append(">");
    }

    std::string& out_;
    size_t depth_ = 0;
};

}  // namespace

std::string serializePropertyList(const Value& value) {
    const PlainNumbers plainNumbers;
    std::string out(prologue);
    Writer(out).write(value);
    out += epilogue;
    return out;
}

}  // namespace larkspan
