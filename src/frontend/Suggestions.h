#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// How many letters must be added, dropped, changed or swapped with the next to turn one text into
// the other, whatever their case.
size_t editDistance(std::string_view from, std::string_view to);

// The candidate that was probably meant; "" when none is near enough.
std::string nearest(const std::vector<std::string>& candidates, std::string_view wanted);

// ' Did you mean "scan"?', or nothing when nothing is near.
std::string didYouMean(const std::vector<std::string>& candidates, std::string_view wanted);

}  // namespace larkspan
