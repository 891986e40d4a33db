#include "sync/CloudLink.h"

#include "foundation/Digest.h"
#include "foundation/Text.h"
#include "foundation/Uuid.h"
#include "sync/CloudAnswers.h"
#include "sync/CloudErrors.h"

#include <utility>

namespace larkspan {
namespace {

std::string base64ForAddresses(std::string_view bytes) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string text;
    unsigned kept = 0;
    unsigned bits = 0;
    for (const char c : bytes) {
        kept = (kept << 8U) | static_cast<unsigned char>(c);
        for (bits += 8; bits >= 6; bits -= 6) text += digits[(kept >> (bits - 6)) & 63U];
    }
    if (bits > 0) text += digits[(kept << (6 - bits)) & 63U];
    return text;
}

}  // namespace

std::string challengeOf(std::string_view verifier) {
    Digest digest(Digest::Algorithm::sha256);
    digest.add(verifier);
    return base64ForAddresses(digest.bytes());
}

CloudLink::CloudLink(const DBSession& session, CloudSettings settings)
    : appKey_(session.appKey),
      settings_(std::move(settings)),
      // 244 random bits in 72 of the characters that are allowed.
      verifier_(generateUUID() + generateUUID()) {}

std::string CloudLink::address() const {
    return settings_.webAddress +
           "/oauth2/authorize?client_id=" + cloudarguments::percentEncoded(appKey_) +
           "&response_type=code&token_access_type=offline&code_challenge_method=S256"
           "&code_challenge=" +
           challengeOf(verifier_.text());
}

Result<CloudAccount> CloudLink::finish(std::string&& code, CancelFlag& cancel) const {
    const Secret typed(std::move(code));
    Secret form = cloudarguments::form({{"grant_type", "authorization_code"},
                                        {"code", trimmed(typed.text())},
                                        {"code_verifier", verifier_.text()},
                                        {"client_id", appKey_}});
    const auto client = HttpClient::make(settings_);
    auto answer = client->post({.address = settings_.apiAddress + "/oauth2/token",
                                .headers = {"Content-Type: application/x-www-form-urlencoded"},
                                .form = &form},
                               cancel);
    if (!answer) return answer.error();
    if (answer->status != 200) return cloudanswers::tokenFailure(*answer);
    auto token = cloudanswers::token(std::move(answer->body));
    if (!token) return token.error();
    if (token->refreshToken.text().empty() || token->accountId.empty()) {
        return Error{urlErrorDomain, urlerror::badServerResponse,
                     "The cloud service did not allow lasting access."};
    }
    return CloudAccount{std::move(token->accountId), std::move(token->refreshToken)};
}

}  // namespace larkspan
