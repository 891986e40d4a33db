#pragma once

#include <locale.h>
#if __has_include(<xlocale.h>)
#include <xlocale.h>
#endif

namespace larkspan {

// While it lives, the C library reads and writes numbers with "." on the calling thread, whatever
// the user's locale says. Other threads are not touched.
class PlainNumbers {
  public:
    PlainNumbers() : previous_(uselocale(plainLocale())) {}
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;
    ~PlainNumbers() { uselocale(previous_); }

  private:
    static locale_t plainLocale() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }
    locale_t previous_;
};

}  // namespace larkspan
