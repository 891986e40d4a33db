#pragma once

#include "kit/Preferences.h"

#include <memory>
#include <string>
#include <vector>

namespace larkspan {

// With which credentials, and in which of the user's cloud folders, the program works.
struct DBSession {
    std::string appKey;
    std::string appSecret;
    std::string root;

    // The accounts that the user has linked, read afresh; none or one. Any thread.
    static std::vector<std::string> userIds();

    // The process's session; null while none was opened. Any thread.
    static std::shared_ptr<const DBSession> sharedSession();
    static void setSharedSession(std::shared_ptr<const DBSession> session);

    // Opens the program's own session and shares it.
    static void openSharedSession();
    // The same when the preference syncService is 1; leaves an open session as it is otherwise.
    static void openSharedSessionIfWanted(const Preferences& frontEnd);
};

// The application's own folder in the user's cloud storage.
inline constexpr const char* kDBRootAppFolder = "sandbox";

}  // namespace larkspan
