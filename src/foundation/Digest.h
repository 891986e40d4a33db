#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace larkspan {

// A checksum in the making. Copies go on from where the original stands. One thread at a time.
class Digest {
  public:
    enum class Algorithm { md5, sha1 };

    explicit Digest(Algorithm algorithm);
    Digest(const Digest& other);
    Digest& operator=(const Digest& other);
    Digest(Digest&&) noexcept = default;
    Digest& operator=(Digest&&) noexcept = default;
    ~Digest() = default;

    void add(std::string_view bytes);

    // Of all that was added: 32 lower-case hexadecimal digits for MD5, 40 for SHA-1. More can be
    // added afterwards.
    std::string hexadecimal() const;

  private:
    struct ContextRelease {
        void operator()(void* context) const;
    };
    using Context = std::unique_ptr<void, ContextRelease>;

    Context context_;  // OpenSSL's
};

}  // namespace larkspan
