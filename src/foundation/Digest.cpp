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

const EVP_MD* typeOf(Digest::Algorithm algorithm) {
    switch (algorithm) {
        case Digest::Algorithm::md5:
            return EVP_md5();
        case Digest::Algorithm::sha1:
            return EVP_sha1();
        case Digest::Algorithm::sha256:
            return EVP_sha256();
    }
    return nullptr;
}

}  // namespace

void Digest::ContextRelease::operator()(void* context) const {
    EVP_MD_CTX_free(openssl(context));
}

Digest::Digest(Algorithm algorithm) : context_(newContext()) {
    check(EVP_DigestInit_ex(openssl(context_.get()), typeOf(algorithm), nullptr));
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

std::string Digest::bytes() const {
    const Digest finished(*this);
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned length = 0;
    check(EVP_DigestFinal_ex(openssl(finished.context_.get()), bytes.data(), &length));
    return {bytes.begin(), bytes.begin() + length};
}

std::string Digest::hexadecimal() const {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char c : bytes()) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    return text;
}

}  // namespace larkspan
