#include "foundation/Date.h"

#include <array>

#include <time.h>

namespace larkspan {
namespace {

struct tm inLocalTime(Date date) {
    const auto seconds = static_cast<time_t>(unixSeconds(date));
    struct tm parts = {};
    localtime_r(&seconds, &parts);
    return parts;
}

}  // namespace

std::string dateDescription(Date date) {
    const struct tm parts = inLocalTime(date);
    std::array<char, 64> text{};
    const size_t length = strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S %z", &parts);
    return {text.data(), length};
}

std::string dateDigits(Date date) {
    const struct tm parts = inLocalTime(date);
    std::array<char, 32> text{};
    const size_t length = strftime(text.data(), text.size(), "%Y%m%d%H%M%S", &parts);
    return {text.data(), length};
}

}  // namespace larkspan
