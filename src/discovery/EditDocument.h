#pragma once

#include <cstddef>
#include <string_view>

namespace larkspan {

// How much of a file is enough to tell.
inline constexpr size_t editDocumentStart = 4096;  // bytes

// Whether an XML file that begins with these bytes holds an edit: its outermost element is that of
// a Final Cut exchange file, an MLT or Kdenlive project or a Premiere project. What may stand
// before that element (byte-order mark, declarations, comments, document type) is skipped; UTF-8
// and UTF-16 are understood.
bool showsEditDocument(std::string_view firstBytes);

}  // namespace larkspan
