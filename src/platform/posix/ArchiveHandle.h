#pragma once

#include "foundation/Error.h"
#include "platform/Archives.h"

#include <cerrno>
#include <memory>
#include <string>

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>

namespace larkspan::platform {

struct FreeArchive {
    void operator()(archive* handle) const { archive_free(handle); }
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};
using ArchiveHandle = std::unique_ptr<archive, FreeArchive>;
using ArchiveEntry = std::unique_ptr<archive_entry, FreeArchive>;

// Lets the calling thread read and write names as UTF-8 for as long as it lives: the library takes
// the encoding of names from the locale, and in the plain one it breaks every name beyond ASCII.
class Utf8Names {
  public:
    Utf8Names()
        : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{})),
          previous_(locale_ ? uselocale(locale_) : locale_t{}) {}
    Utf8Names(const Utf8Names&) = delete;
    Utf8Names& operator=(const Utf8Names&) = delete;
    ~Utf8Names() {
        if (!locale_) return;
        uselocale(previous_);
        freelocale(locale_);
    }

  private:
    locale_t locale_;
    locale_t previous_;
};

// What the library says of its last failure. Errors that the system reported keep its number.
inline Error archiveError(archive* handle, const std::string& doing) {
    const int number = archive_errno(handle);
    const char* words = archive_error_string(handle);
    // The library's own numbers are negative; a torn archive is EILSEQ.
    const bool isOfSystem = number > 0 && number != EILSEQ;
    return {isOfSystem ? posixErrorDomain : archivesErrorDomain, number,
            doing + ": " + (words ? words : "the archive cannot be used")};
}

inline Error archiveError(const std::string& doing, const std::string& problem) {
    return {archivesErrorDomain, 1, doing + ": " + problem};
}

}  // namespace larkspan::platform
