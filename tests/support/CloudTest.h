#pragma once

#include "support/CloudServer.h"
#include "support/FakePlatformTest.h"
#include "sync/CloudAccount.h"
#include "sync/CloudService.h"
#include "sync/DBSession.h"
#include "sync/curl/CurlClient.h"

#include <string>

namespace larkspan::testing {

// A test with the cloud service on the loopback address and all else in memory.
class CloudTest : public FakePlatformTest {
  protected:
    CloudTest() {
        HttpClient::choose(CurlClient::make);
        fake.files.addFolder(Path("/Down"));
        settings.apiAddress = server.address();
        settings.contentAddress = server.address();
        settings.webAddress = server.address();
    }
    ~CloudTest() override { DBSession::setSharedSession(nullptr); }

    static void link() {
        ASSERT_FALSE(cloudaccounts::save(
            {CloudServer::userId, Secret(std::string(CloudServer::refreshToken))}));
    }
    // What the front-end's preferences say for the server to be used.
    Value::Dictionary syncPreferences() const {
        return {{"syncService", 1},
                {"syncAPIAddress", server.address()},
                {"syncContentAddress", server.address()},
                {"syncWebAddress", server.address()}};
    }
    CloudService service() { return {session, settings, cancel}; }

    CloudServer server;
    CloudSettings settings;
    CancelFlag cancel;
    DBSession session{"key", "secret", kDBRootAppFolder};
};

inline void ignoreProgress(double) {}

}  // namespace larkspan::testing
