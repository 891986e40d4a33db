#include "platform/linux/MountTable.h"

#include "foundation/Text.h"

#include <array>

#include <fcntl.h>

namespace larkspan::platform {
namespace {

bool isOctal(std::string_view digits) {
    return digits.size() == 3 && digits.find_first_not_of("01234567") == digits.npos;
}

// Spaces and the like stand as a backslash and three octal digits.
std::string unescaped(std::string_view text) {
    std::string plain;
    for (size_t at = 0; at < text.size(); ++at) {
        const std::string_view digits = text.substr(at + 1, 3);
        if (text[at] != '\\' || !isOctal(digits)) {
            plain += text[at];
            continue;
        }
        plain +=
            static_cast<char>((digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0'));
        at += 3;
    }
    return plain;
}

}  // namespace

std::vector<std::string> parseMountPoints(std::string_view mountInfo) {
    constexpr size_t mountPointField = 4;
    std::vector<std::string> points;
    for (const std::string& line : split(mountInfo, '\n')) {
        const std::vector<std::string> fields = split(line, ' ');
        if (fields.size() > mountPointField) points.push_back(unescaped(fields[mountPointField]));
    }
    return points;
}

MountTable::MountTable() : table_(::open("/proc/thread-self/mountinfo", O_RDONLY | O_CLOEXEC)) {}

std::vector<std::string> MountTable::mountPoints() const {
    std::string text;
    std::array<char, 4096> buffer;
    if (!table_ || ::lseek(table_.get(), 0, SEEK_SET) != 0) return {};
    for (ssize_t got = 0; (got = ::read(table_.get(), buffer.data(), buffer.size())) > 0;) {
        text.append(buffer.data(), static_cast<size_t>(got));
    }
    return parseMountPoints(text);
}

}  // namespace larkspan::platform
