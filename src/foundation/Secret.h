#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace larkspan {

// A text that nobody is to find in memory later, such as a password. Cannot be copied, printed or
// stored by accident; its bytes are overwritten when it goes.
class Secret {
  public:
    // Overwrites the text that it is made from.
    explicit Secret(std::string&& text)
        : size_(text.size()), bytes_(std::make_unique<char[]>(text.size() + 1)) {
        text.copy(bytes_.get(), size_);
        wipe(text.data(), text.size());
        text.clear();
    }
    Secret(Secret&& other) noexcept = default;
    Secret& operator=(Secret&& other) = delete;
    ~Secret() {
        if (bytes_) wipe(bytes_.get(), size_);
    }

    // Good for as long as this lives; "" for a secret that was moved away.
    std::string_view text() const {
        return bytes_ ? std::string_view(bytes_.get(), size_) : std::string_view();
    }

    // Overwrites bytes in a way that no compiler leaves out.
    static void wipe(char* bytes, size_t size) {
        for (volatile char* at = bytes; size > 0; --size) *at++ = '\0';
    }

  private:
    size_t size_;
    std::unique_ptr<char[]> bytes_;
};

}  // namespace larkspan
