#include "sync/CloudErrors.h"
#include "sync/CloudSettings.h"

#include <gtest/gtest.h>

namespace larkspan {
namespace {

TEST(CloudErrors, TheFirstRowThatFitsGivesThePrefix) {
    const std::string certificate =
        "There was an error with the server certificate - please reauthorize Dropbox.\n\n";
    const std::string authentication = "Authentication error - please reauthorize Dropbox.\n\n";
    const std::string server = "Server error - please try again later.\n\n";
    struct Case {
        const char* domain;
        long code;
        std::string prefix;
    };
    const std::vector<Case> cases{
        {urlErrorDomain, -1001, "Your internet connection was interrupted.\n\n"},
        {urlErrorDomain, -1009, "You are not connected to the internet.\n\n"},
        {urlErrorDomain, -1003, "Cannot find host. Please check your network connection.\n\n"},
        {urlErrorDomain, -1005, "The network connection was interrupted.\n\n"},
        {urlErrorDomain, -1013, "Authentication required - please reauthorize Dropbox.\n\n"},
        {urlErrorDomain, -1200, "Secure connection failed - please reauthorize Dropbox.\n\n"},
        {urlErrorDomain, -1201, certificate},
        {urlErrorDomain, -1202, certificate},
        {urlErrorDomain, -1203, certificate},
        {urlErrorDomain, -1204, certificate},
        {urlErrorDomain, -1205, ""},
        {urlErrorDomain, -1000, ""},
        {urlErrorDomain, 503, "App requests limited - please try again later.\n\n"},
        {cloudErrorDomain, -1001, ""},
        {posixErrorDomain, -1200, ""},
        {cloudErrorDomain, 507, "Dropbox disk quota exceeded.\n\n"},
        {cloudErrorDomain, 503, "App requests limited - please try again later.\n\n"},
        {posixErrorDomain, 401, authentication},
        {cloudErrorDomain, 401, authentication},
        {cloudErrorDomain, 402, ""},
        {cloudErrorDomain, 403, authentication},
        {cloudErrorDomain, 404, ""},
        {cloudErrorDomain, 499, ""},
        {cloudErrorDomain, 500, server},
        {cloudErrorDomain, 550, server},
        {cloudErrorDomain, 599, server},
        {cloudErrorDomain, 600, ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(uploadFailureMessage({c.domain, c.code, "100%@."}), c.prefix + "100%@.")
            << c.domain << " " << c.code;
    }
}

TEST(CloudSettings, TokensGoOverTlsOrToThisMachineOnly) {
    const std::pair<const char*, bool> cases[] = {
        {"https://api.dropboxapi.com", true},
        {"http://127.0.0.1:8080", true},
        {"http://127.1.2.3", true},
        {"http://localhost:1/2/x", true},
        {"http://LOCALHOST", true},
        {"http://[::1]:99", true},
        {"http://api.dropboxapi.com", false},
        {"http://127.0.0.1.evil.test", false},
        {"http://127.0.0.1@evil.test", false},
        {"http://evil.test#127.0.0.1", false},
        {"http://evil.test\\@127.0.0.1", false},
        {"http://localhost.evil.test", false},
        {"http://127.0.0.1x", false},
        {"https://", false},
        {"https://user@host", false},
        {"HTTPS://host", false},
        {"ftp://127.0.0.1", false},
        {"127.0.0.1", false},
        {"", false},
    };
    for (const auto& [address, isGood] : cases) {
        EXPECT_EQ(isTrustworthyAddress(address), isGood) << address;
    }
}

TEST(CloudSettings, AddressesComeFromThePreferencesWithoutSlashesAtTheirEnds) {
    const auto settings = CloudSettings::fromPreferences(Preferences(
        Value::Dictionary{{"syncAPIAddress", "http://127.0.0.1:1//"}, {"syncWebAddress", ""}}));
    EXPECT_EQ(settings.apiAddress, "http://127.0.0.1:1");
    EXPECT_EQ(settings.contentAddress, "https://content.dropboxapi.com");
    EXPECT_EQ(settings.webAddress, "https://www.dropbox.com");
    EXPECT_EQ(settings.connectTimeout, Seconds(30));
    EXPECT_EQ(settings.stallTimeout, Seconds(60));
}

}  // namespace
}  // namespace larkspan
