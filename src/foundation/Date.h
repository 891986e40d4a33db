#pragma once

#include <chrono>
#include <string>

namespace larkspan {

// A moment in time, to the nanosecond, as file systems keep modification dates.
using Date = std::chrono::sys_time<std::chrono::nanoseconds>;

// A length of time in seconds with a fraction.
using Seconds = std::chrono::duration<double>;

// `later` minus `earlier`, in seconds; negative when `later` lies before `earlier`.
inline Seconds secondsBetween(Date earlier, Date later) {
    return std::chrono::duration_cast<Seconds>(later - earlier);
}

// "YYYY-MM-DD HH:MM:SS ±HHMM" in the local time zone, fractions of a second cut off.
std::string dateDescription(Date date);

// The date made from a count of whole seconds and nanoseconds since 1970.
constexpr Date dateFromUnixTime(long long seconds, long nanoseconds = 0) {
    return Date(std::chrono::seconds(seconds) + std::chrono::nanoseconds(nanoseconds));
}

// Whole seconds since 1970, rounded towards the past.
constexpr long long unixSeconds(Date date) {
    return std::chrono::floor<std::chrono::seconds>(date.time_since_epoch()).count();
}

}  // namespace larkspan
