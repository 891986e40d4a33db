#include "foundation/Digest.h"

#include <array>
#include <new>
#include <stdexcept>

#include <openssl/evp.h>

namespace larkspan {
namespace {

EVP_MD_CTX* openssl(void* context) {
    return static_cast<EVP_MD_CTX*>(context);
}

void check(int succeeded) {
    if (succeeded != 1) throw std::runtime_error("the checksum cannot be computed");
}

void* newContext() {
    void* const context = EVP_MD_CTX_new();
    if (!context) throw std::bad_alloc();
    return context;
}

}  // namespace

void Digest::ContextRelease::operator()(void* context) const {
    EVP_MD_CTX_free(openssl(context));
}

Digest::Digest(Algorithm algorithm) : context_(newContext()) {
    const EVP_MD* const type = algorithm == Algorithm::md5 ? EVP_md5() : EVP_sha1();
    check(EVP_DigestInit_ex(openssl(context_.get()), type, nullptr));
}

Digest::Digest(const Digest& other) : context_(newContext()) {
    check(EVP_MD_CTX_copy_ex(openssl(context_.get()), openssl(other.context_.get())));
}

Digest& Digest::operator=(const Digest& other) {
    return *this = Digest(other);
}

void Digest::add(std::string_view bytes) {
    check(EVP_DigestUpdate(openssl(context_.get()), bytes.data(), bytes.size()));
}

std::string Digest::hexadecimal() const {
    const Digest finished(*this);
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned length = 0;
    check(EVP_DigestFinal_ex(openssl(finished.context_.get()), bytes.data(), &length));
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < length; ++i) {
        text += digits[bytes[i] >> 4U];
        text += digits[bytes[i] & 15U];
    }
    return text;
}

}  // namespace larkspan
