#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// Texts are UTF-8. Bytes that are not UTF-8 (old file names) pass through every function here
// unchanged unless it says otherwise.

// Without white space and new lines at both ends.
std::string_view trimmed(std::string_view text);

// Lower case of every letter, not only of the ASCII ones.
std::string lowercased(std::string_view text);

// The text with the case of its first letter raised and everything behind it as it was.
std::string withUpperFirst(std::string_view text);

// Negative, 0 or positive as `a` stands before, with or after `b` when case is ignored.
int caseInsensitiveCompare(std::string_view a, std::string_view b);

// The order of listings: case-insensitive, then by bytes.
bool listingOrder(std::string_view a, std::string_view b);
// The order of paths folder by folder in listing order; a folder stands before what is in it.
bool pathListingOrder(std::string_view a, std::string_view b);

// The pieces between separators; empty pieces are kept, an empty text is one empty piece.
std::vector<std::string> split(std::string_view text, char separator);

std::string joined(const std::vector<std::string>& pieces, std::string_view separator);

// The text with every occurrence of `what` replaced.
std::string replacingAll(std::string_view text, std::string_view what, std::string_view with);

// The integer at the start of the text after white space and an optional sign; 0 when there is
// none, the nearest limit when it does not fit.
long integerValue(std::string_view text);

// Number of characters (code points; a stray byte counts as one).
size_t characterCount(std::string_view text);

bool isValidUtf8(std::string_view text);

// The code point that the text begins with, and how many bytes it takes; U+FFFD and 1 for a byte
// that is not UTF-8. The text must not be empty.
struct FirstCharacter {
    char32_t codePoint;
    size_t length;
};
FirstCharacter firstCharacter(std::string_view text);

// Adds a code point to a text.
void appendUtf8(std::string& out, char32_t point);

// The text with every byte that is not UTF-8 replaced by U+FFFD, for readers that insist.
std::string sanitizedUtf8(std::string_view text);

// The UTF-16 code units of the text; a byte that is not UTF-8 becomes U+FFFD.
std::u16string utf16CodeUnits(std::string_view text);

// A text that is safe to show: valid UTF-8, line breaks and tabs as a blank (one for a run of
// them), every other control character (as in escape sequences) as "?".
std::string printable(std::string_view text);

// Whether the whole of `text` matches `pattern`: `*` any run of characters, `?` exactly one.
bool matchesWildcard(std::string_view text, std::string_view pattern);

}  // namespace larkspan
