#pragma once

#include "support/CloudServer.h"
#include "support/TemporaryFolder.h"

#include <string>

namespace larkspan::testing {

// What is wrong with a server's certificate.
enum class CertificateFault { none, expired, notYetValid, otherHost, selfSigned };

// An authority of the tests' own and certificates of servers at 127.0.0.1.
class Certificates {
  public:
    Certificates();

    // The authority's certificate, a file.
    Path authority() const { return folder_.path() / "authority.pem"; }
    ServerIdentity identity(CertificateFault fault) const;

  private:
    TemporaryFolder folder_;
    std::string authorityKey_;
};

}  // namespace larkspan::testing
