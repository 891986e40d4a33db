#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <string_view>

namespace larkspan::platform {

// Text in memory of its own. Allocates nothing and calls nothing of the system, so that a signal
// handler may put one together. What does not fit is cut off.
template <size_t capacity>
class FixedText {
  public:
    void append(std::string_view text) {
        const size_t taken = std::min(text.size(), capacity - length_);
        std::copy_n(text.begin(), taken, bytes_.begin() + static_cast<std::ptrdiff_t>(length_));
        length_ += taken;
    }

    // At least that many digits, with zeros in front; the base is 10 or 16.
    void appendNumber(std::uint64_t number, size_t fewestDigits = 1, unsigned base = 10) {
        std::array<char, 64> digits{};
        size_t at = digits.size();
        const size_t end = digits.size() - std::min(fewestDigits, digits.size());
        for (; number != 0 || at > end; number /= base) {
            --at;
            digits[at] = "0123456789abcdef"[number % base];
        }
        append({digits.data() + at, digits.size() - at});
    }

    // "YYYY-MM-DD" and "HH", "MM", "SS" in UTC, with what is to stand between.
    void appendTime(std::chrono::sys_seconds time, std::string_view afterDate,
                    std::string_view betweenHours) {
        const auto day = std::chrono::floor<std::chrono::days>(time);
        const std::chrono::year_month_day date(day);
        const std::chrono::hh_mm_ss clock(time - day);
        appendNumber(static_cast<std::uint64_t>(std::max(int(date.year()), 0)), 4);
        append("-");
        appendNumber(unsigned(date.month()), 2);
        append("-");
        appendNumber(unsigned(date.day()), 2);
        append(afterDate);
        appendNumber(static_cast<std::uint64_t>(clock.hours().count()), 2);
        append(betweenHours);
        appendNumber(static_cast<std::uint64_t>(clock.minutes().count()), 2);
        append(betweenHours);
        appendNumber(static_cast<std::uint64_t>(clock.seconds().count()), 2);
    }

    std::string_view view() const { return {bytes_.data(), length_}; }
    // Ends with a zero byte.
    const char* c_str() const { return bytes_.data(); }

  private:
    std::array<char, capacity + 1> bytes_{};  // what is not taken stays zero
    size_t length_ = 0;
};

}  // namespace larkspan::platform
