#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace larkspan {

// A checksum in the making. Copies go on from where the original stands. One thread at a time.
class Digest {
  public:
    enum class Algorithm { md5, sha1, sha256 };

    explicit Digest(Algorithm algorithm);
    Digest(const Digest& other);
    Digest& operator=(const Digest& other);
    Digest(Digest&&) noexcept = default;
    Digest& operator=(Digest&&) noexcept = default;
    ~Digest() = default;

    void add(std::string_view bytes);

    // Of all that was added: 16 bytes for MD5, 20 for SHA-1, 32 for SHA-256. More can be added
    // afterwards.
    std::string bytes() const;
    // The same as lower-case hexadecimal digits, two for each byte.
    std::string hexadecimal() const;

  private:
    struct ContextRelease {
        void operator()(void* context) const;
    };
    using Context = std::unique_ptr<void, ContextRelease>;

    Context context_;  // OpenSSL's
};

}  // namespace larkspan
