#pragma once

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>

namespace larkspan::soak {

// Decisions of the library of faults. Any thread; errno is left as it is.

enum class Place { elsewhere, work, home };

// Where an entry lies: of a path, or of a name in an open folder. A descriptor with an empty name
// is the open item itself.
Place placeOf(const char* path);
Place placeOf(int folder, const char* name);

// The error that a call on this place fails with now; empty when it goes on.
std::optional<int> errorNow(Place place);
// How many of so many bytes still have room; they are taken from it.
std::optional<size_t> takeRoom(Place place, size_t size);
// Makes a date as coarse as the store's file system keeps it.
timespec cut(const timespec& time);
bool cutsDates();
long clockOffset();

}  // namespace larkspan::soak
