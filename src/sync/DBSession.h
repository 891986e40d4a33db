#pragma once

#include "kit/Preferences.h"

#include <memory>
#include <string>

namespace larkspan {

// With which credentials, and in which of the user's cloud folders, the program works.
struct DBSession {
    std::string appKey;
    std::string appSecret;
    std::string root;

    // The process's session; null while none was opened. Any thread.
    static std::shared_ptr<const DBSession> sharedSession();
    static void setSharedSession(std::shared_ptr<const DBSession> session);

    // Opens the program's own session and shares it when the preference syncService is 1. Leaves
    // an open session as it is otherwise.
    static void openSharedSessionIfWanted(const Preferences& frontEnd);
};

// The application's own folder in the user's cloud storage.
inline constexpr const char* kDBRootAppFolder = "sandbox";

}  // namespace larkspan
