#pragma once

#include <chrono>
#include <string>

namespace larkspan {

// A moment in time, to the nanosecond, as file systems keep modification dates.
using Date = std::chrono::sys_time<std::chrono::nanoseconds>;

// A length of time in seconds with a fraction.
using Seconds = std::chrono::duration<double>;

// `later` minus `earlier`, in seconds; negative when `later` lies before `earlier`.
// To the nanosecond, or to the second where they lie more than a century apart.
constexpr Seconds secondsBetween(Date earlier, Date later) {
    using std::chrono::floor;
    using std::chrono::seconds;
    const seconds whole = floor<seconds>(later) - floor<seconds>(earlier);
    constexpr seconds century = std::chrono::years(100);  // nanoseconds overflow after three
    if (whole > century || whole < -century) return whole;
    return later - earlier;
}

// "YYYY-MM-DD HH:MM:SS ±HHMM" in the local time zone, fractions of a second cut off.
std::string dateDescription(Date date);

// "YYYYMMDDHHMMSS" in the local time zone, for names.
std::string dateDigits(Date date);

// The date made from a count of whole seconds and nanoseconds since 1970. What a Date cannot hold
// (years before 1678 and after 2261, as damaged files have them) becomes the nearest limit.
constexpr Date dateFromUnixTime(long long seconds, long nanoseconds = 0) {
    constexpr long long furthest = Date::duration::max().count() / 1'000'000'000 - 1;
    if (seconds > furthest) return Date(std::chrono::seconds(furthest));
    if (seconds < -furthest) return Date(std::chrono::seconds(-furthest));
    return Date(std::chrono::seconds(seconds) + std::chrono::nanoseconds(nanoseconds));
}

// Whole seconds since 1970, rounded towards the past.
constexpr long long unixSeconds(Date date) {
    return std::chrono::floor<std::chrono::seconds>(date.time_since_epoch()).count();
}

}  // namespace larkspan
