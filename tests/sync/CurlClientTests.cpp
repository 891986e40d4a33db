#include "support/Certificates.h"
#include "support/CloudTest.h"
#include "support/RawServer.h"
#include "sync/CloudErrors.h"

#include <thread>

namespace larkspan {
namespace {

using testing::CertificateFault;
using testing::CloudServer;
using testing::RawServer;

class TransportTest : public testing::CloudTest {
  protected:
    TransportTest() { link(); }

    // The code of an upload's failure; 0 when it goes well.
    long uploadTo(const std::string& address) {
        settings.contentAddress = address;
        writeFile(Path("/Temp/a.zip"), std::string(1'000'000, 'x'));
        const auto stored = service().uploadFile(Path("/Temp/a.zip"), {"/P/a.zip"}, std::nullopt,
                                                 testing::ignoreProgress);
        if (stored) return 0;
        EXPECT_EQ(stored.error().domain, urlErrorDomain);
        EXPECT_NE(stored.error().description, "");
        return stored.error().code;
    }
};

TEST_F(TransportTest, AddressesThatLeadNowhere) {
    // Too long a label: no name server is asked. An address for all: the system refuses it.
    EXPECT_EQ(uploadTo("https://" + std::string(70, 'a') + ".test"), urlerror::cannotFindHost);
    EXPECT_EQ(uploadTo("http://127.255.255.255:9"), urlerror::notConnectedToInternet);
    std::string nobody;
    {
        const RawServer gone({});
        nobody = gone.host();
    }
    EXPECT_EQ(uploadTo("http://" + nobody), urlerror::cannotConnectToHost);
    EXPECT_EQ(uploadTo("http://127.0.0.1:99999999"), urlerror::badAddress);
}

TEST_F(TransportTest, ConnectionsThatEndEarly) {
    // Before the answer, in the middle of the upload, and in the middle of the answer.
    for (const testing::RawBehaviour& behaviour :
         {testing::RawBehaviour{.readBytes = 100}, testing::RawBehaviour{.readBytes = 500'000},
          testing::RawBehaviour{.readBytes = 1'000'000,
          .answer = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{"}}) {
        const RawServer rude({behaviour});
        EXPECT_EQ(uploadTo("http://" + rude.host()), urlerror::connectionLost)
            << behaviour.readBytes;
    }
}

TEST_F(TransportTest, WhatStandsStillTimesOutAndWhatCrawlsArrives) {
    settings.stallTimeout = Seconds(0.3);
    const RawServer silent({.readBytes = 100, .holds = true});
    EXPECT_EQ(uploadTo("http://" + silent.host()), urlerror::timedOut);
    server.failOnce("files/upload", {.drip = Seconds(0.01)});
    EXPECT_EQ(uploadTo(server.address()), 0);
    server.failOnce("files/upload", {.drip = Seconds(1)});
    EXPECT_EQ(uploadTo(server.address()), urlerror::timedOut);
    settings.slowTimeout = Seconds(0.2);
    settings.leastRate = 1'000'000;
    server.failOnce("files/upload", {.drip = Seconds(0.01)});
    EXPECT_EQ(uploadTo(server.address()), urlerror::timedOut) << "nothing stands still";
}

TEST_F(TransportTest, CancellingEndsAtOnce) {
    RawServer silent({.readBytes = 100, .holds = true});
    std::thread canceller([&] {
        silent.waitUntilHeld();
        cancel.cancel();
    });
    EXPECT_EQ(uploadTo("http://" + silent.host()), urlerror::cancelled);
    canceller.join();
    EXPECT_EQ(uploadTo(server.address()), urlerror::cancelled);
}

TEST_F(TransportTest, AnAnswerWithoutAnEndIsRefused) {
    std::string answer = "HTTP/1.1 500 No\r\n\r\n";
    for (int i = 0; i < 20; ++i) answer += std::string(1'000'000, 'x');
    const RawServer endless({.readBytes = 1'000'000, .answer = answer});
    EXPECT_EQ(uploadTo("http://" + endless.host()), urlerror::badServerResponse);
}

TEST_F(TransportTest, CertificatesAreVerified) {
    const testing::Certificates certificates;
    settings.certificateAuthorities = certificates.authority();
    const std::pair<CertificateFault, long> cases[] = {
        {CertificateFault::none, 401},  // another server, which gave no token
        {CertificateFault::expired, urlerror::certificateHasBadDate},
        {CertificateFault::notYetValid, urlerror::certificateNotYetValid},
        {CertificateFault::otherHost, urlerror::certificateUntrusted},
        {CertificateFault::selfSigned, urlerror::certificateHasUnknownRoot},
    };
    for (const auto& [fault, code] : cases) {
        const CloudServer secure(certificates.identity(fault));
        settings.contentAddress = secure.address();
        const auto error =
            service().downloadFile({"/P/a"}, Path("/Down/a"), testing::ignoreProgress);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, code) << error->description;
        EXPECT_EQ(secure.requests().empty(), fault != CertificateFault::none);
    }
    // An authority that the system does not know.
    const CloudServer secure(certificates.identity(CertificateFault::none));
    settings.certificateAuthorities = Path();
    EXPECT_EQ(uploadTo(secure.address()), urlerror::certificateHasUnknownRoot);
    // No TLS at all.
    const RawServer plain({.readBytes = 1, .answer = "HTTP/1.1 200 OK\r\n\r\n"});
    EXPECT_EQ(uploadTo("https://" + plain.host()), urlerror::secureConnectionFailed);
}

}  // namespace
}  // namespace larkspan
