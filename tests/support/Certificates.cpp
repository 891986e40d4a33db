#include "support/Certificates.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace larkspan::testing {
namespace {

template <auto Free>
struct Freeing {
    template <class Handle>
    void operator()(Handle* handle) const {
        Free(handle);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Freeing<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freeing<X509_free>>;
using File = std::unique_ptr<std::FILE, Freeing<std::fclose>>;

constexpr long day = 24L * 60 * 60;

struct Wish {
    const char* name;
    long from;  // seconds from now
    long until;
    const char* extensions;  // of the subject's names; null for an authority
};

void add(X509* certificate, X509* issuer, int kind, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value);
    if (!extension) throw std::runtime_error("no certificate can be made");
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

// Signed by itself without an issuer.
Certificate make(const Wish& wish, EVP_PKEY* key, X509* issuer, EVP_PKEY* issuerKey) {
    Certificate certificate(X509_new());
    X509* const made = certificate.get();
    X509_set_version(made, 2);
    static long serial = 0;
    ASN1_INTEGER_set(X509_get_serialNumber(made), ++serial);
    X509_gmtime_adj(X509_getm_notBefore(made), wish.from);
    X509_gmtime_adj(X509_getm_notAfter(made), wish.until);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(made), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(wish.name), -1, -1, 0);
    X509_set_issuer_name(made, X509_get_subject_name(issuer ? issuer : made));
    X509_set_pubkey(made, key);
    X509* const signer = issuer ? issuer : made;
    if (wish.extensions) {
        add(made, signer, NID_subject_alt_name, wish.extensions);
    } else {
        add(made, signer, NID_basic_constraints, "critical,CA:TRUE");
    }
    X509_sign(made, issuerKey ? issuerKey : key, EVP_sha256());
    return certificate;
}

void save(const Path& file, X509* certificate, EVP_PKEY* key) {
    const File out(std::fopen(file.c_str(), "w"));
    if (!out) throw std::runtime_error("no certificate can be written");
    if (certificate) PEM_write_X509(out.get(), certificate);
    if (key) PEM_write_PrivateKey(out.get(), key, nullptr, nullptr, 0, nullptr, nullptr);
}

template <class Handle, class Read>
Handle load(const Path& file, Read read) {
    const File in(std::fopen(file.c_str(), "r"));
    return Handle(in ? read(in.get(), nullptr, nullptr, nullptr) : nullptr);
}

}  // namespace

Certificates::Certificates() : authorityKey_((folder_.path() / "authority.key").str()) {
    const Key key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    const Certificate authority =
        make({"Larkspan test authority", -day, day, nullptr}, key.get(), nullptr, nullptr);
    save(this->authority(), authority.get(), nullptr);
    save(Path(authorityKey_), nullptr, key.get());
}

ServerIdentity Certificates::identity(CertificateFault fault) const {
    Wish wish{"server", -day, day, "IP:127.0.0.1"};
    if (fault == CertificateFault::expired) wish = {"server", -2 * day, -day, "IP:127.0.0.1"};
    if (fault == CertificateFault::notYetValid) wish = {"server", day, 2 * day, "IP:127.0.0.1"};
    if (fault == CertificateFault::otherHost) wish.extensions = "DNS:elsewhere.test";
    const auto issuer = load<Certificate>(authority(), PEM_read_X509);
    const auto issuerKey = load<Key>(Path(authorityKey_), PEM_read_PrivateKey);
    const bool isOwnIssuer = fault == CertificateFault::selfSigned;
    const Key key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    const Certificate certificate = make(wish, key.get(), isOwnIssuer ? nullptr : issuer.get(),
                                         isOwnIssuer ? nullptr : issuerKey.get());
    const std::string name = "server" + std::to_string(static_cast<int>(fault));
    const Path file = folder_.path() / (name + ".pem");
    const Path keyFile = folder_.path() / (name + ".key");
    save(file, certificate.get(), nullptr);
    save(keyFile, nullptr, key.get());
    return {file.str(), keyFile.str()};
}

}  // namespace larkspan::testing
