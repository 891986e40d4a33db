#include "sync/curl/TransportErrors.h"

#include "sync/CloudErrors.h"

#include <cerrno>

#include <curl/curl.h>

namespace larkspan {
namespace {

// Results of OpenSSL's verification of a certificate.
constexpr long notYetValid = 9;
constexpr long hasExpired = 10;
constexpr long selfSigned = 18;
constexpr long selfSignedInChain = 19;
constexpr long issuerUnknown = 20;

long codeOfCertificate(long result) {
    switch (result) {
        case notYetValid:
            return urlerror::certificateNotYetValid;
        case hasExpired:
            return urlerror::certificateHasBadDate;
        case selfSigned:
        case selfSignedInChain:
        case issuerUnknown:
            return urlerror::certificateHasUnknownRoot;
        default:
            return urlerror::certificateUntrusted;
    }
}

long codeOf(const TransportFailure& failure) {
    switch (failure.code) {
        case CURLE_ABORTED_BY_CALLBACK:
            return urlerror::cancelled;
        case CURLE_URL_MALFORMAT:
        case CURLE_UNSUPPORTED_PROTOCOL:
            return urlerror::badAddress;
        case CURLE_OPERATION_TIMEDOUT:
            return urlerror::timedOut;
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
            return urlerror::cannotFindHost;
        case CURLE_COULDNT_CONNECT: {
            const bool isOffline =
                failure.systemError == ENETUNREACH || failure.systemError == ENETDOWN;
            return isOffline ? urlerror::notConnectedToInternet : urlerror::cannotConnectToHost;
        }
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return urlerror::connectionLost;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_ENGINE_INITFAILED:
            return urlerror::secureConnectionFailed;
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_INVALIDCERTSTATUS:
            return codeOfCertificate(failure.certificateResult);
        default:
            return urlerror::badServerResponse;
    }
}

std::string describe(const TransportFailure& failure) {
    if (failure.code == CURLE_ABORTED_BY_CALLBACK) return "The transfer was cancelled.";
    if (failure.code == CURLE_OPERATION_TIMEDOUT) return "The request timed out.";
    if (!failure.words.empty()) return failure.words + ".";
    return std::string(curl_easy_strerror(static_cast<CURLcode>(failure.code))) + ".";
}

}  // namespace

Error errorOfTransport(const TransportFailure& failure) {
    return Error{urlErrorDomain, codeOf(failure), describe(failure)};
}

}  // namespace larkspan
