#pragma once

#include "sync/CloudAccount.h"
#include "sync/DBSession.h"
#include "sync/HttpClient.h"

#include <string>

namespace larkspan {

// Links the user's account: the person opens an address, allows the program in, and brings back a
// code. Whoever sees address and code cannot use them, since that takes a text which never leaves
// this object but to the service (PKCE); the program has no secret of its own to keep.
//
//   CloudLink link(session, settings);
//   show(link.address());
//   const auto account = link.finish(codeThatWasTyped, cancel);
class CloudLink {
  public:
    CloudLink(const DBSession& session, CloudSettings settings);

    std::string address() const;

    // Exchanges the code, given with or without blanks around it, for the account. Asks the
    // service and waits for it.
    Result<CloudAccount> finish(std::string&& code, CancelFlag& cancel) const;

  private:
    const std::string appKey_;
    const CloudSettings settings_;
    const Secret verifier_;
};

// What a verifier is made known as before it is shown: its SHA-256, in base 64 for addresses.
std::string challengeOf(std::string_view verifier);

}  // namespace larkspan
