#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"
#include "kit/Preferences.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace larkspan {

// Where the cloud service answers and how long it may take.
struct CloudSettings {
    // Base addresses without a slash at their end: of requests, of files, and of the pages that a
    // person opens in a browser.
    std::string apiAddress = "https://api.dropboxapi.com";
    std::string contentAddress = "https://content.dropboxapi.com";
    std::string webAddress = "https://www.dropbox.com";

    // The certificates that are trusted, a file; the system's own when empty.
    Path certificateAuthorities = {};

    Seconds connectTimeout = std::chrono::seconds(30);
    // For how long nothing may move in either direction.
    Seconds stallTimeout = std::chrono::seconds(60);
    // How long a transfer may take that moves less than the least rate, in bytes a second.
    Seconds slowTimeout = std::chrono::minutes(5);
    double leastRate = 1024;

    // A larger file goes in chunks. The service takes no more than 150 MB in one request.
    std::uint64_t largestSingleUpload = 150'000'000;
    std::uint64_t chunkSize = 32ULL << 20U;

    // As the preferences syncAPIAddress, syncContentAddress and syncWebAddress say, which stand-ins
    // of the service need.
    static CloudSettings fromPreferences(const Preferences& frontEnd);
};

// Whether tokens may be sent there: over TLS, or to this machine.
bool isTrustworthyAddress(const std::string& address);

// Whether an address leads to this machine, by its text.
bool isLoopbackAddress(const std::string& address);

}  // namespace larkspan
