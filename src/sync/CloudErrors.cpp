#include "sync/CloudErrors.h"

#include <array>
#include <string_view>

namespace larkspan {
namespace {

enum class Domain { url, any };

struct Row {
    Domain domain;
    long first;  // code
    long last;
    std::string_view prefix;
};

constexpr std::string_view badCertificate =
    "There was an error with the server certificate - please reauthorize Dropbox.\n\n";
constexpr std::string_view badAuthentication =
    "Authentication error - please reauthorize Dropbox.\n\n";

// The first row that fits decides. The second is never reached, deliberately: time-outs have always
// been reported as interruptions.
constexpr std::array table{
    Row{Domain::url, -1001, -1001, "Your internet connection was interrupted.\n\n"},
    Row{Domain::url, -1001, -1001, "Timed out. Please try again.\n\n"},
    Row{Domain::url, -1009, -1009, "You are not connected to the internet.\n\n"},
    Row{Domain::url, -1003, -1003, "Cannot find host. Please check your network connection.\n\n"},
    Row{Domain::url, -1005, -1005, "The network connection was interrupted.\n\n"},
    Row{Domain::url, -1013, -1013, "Authentication required - please reauthorize Dropbox.\n\n"},
    Row{Domain::url, -1200, -1200, "Secure connection failed - please reauthorize Dropbox.\n\n"},
    Row{Domain::url, -1204, -1201, badCertificate},
    Row{Domain::any, 507, 507, "Dropbox disk quota exceeded.\n\n"},
    Row{Domain::any, 503, 503, "App requests limited - please try again later.\n\n"},
    Row{Domain::any, 401, 401, badAuthentication},
    Row{Domain::any, 403, 403, badAuthentication},
    Row{Domain::any, 500, 599, "Server error - please try again later.\n\n"},
};

}  // namespace

bool isNameTaken(const Error& error) {
    return error.is(cloudErrorDomain, cloudstatus::conflict) &&
           error.description.find("path/conflict") != std::string::npos;
}

std::string uploadFailureMessage(const Error& error) {
    for (const Row& row : table) {
        const bool fitsDomain = row.domain == Domain::any || error.domain == urlErrorDomain;
        if (fitsDomain && error.code >= row.first && error.code <= row.last) {
            return std::string(row.prefix) + error.description;
        }
    }
    return error.description;
}

}  // namespace larkspan
