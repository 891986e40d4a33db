#pragma once

namespace larkspan {

inline constexpr const char* frontEndBundleIdentifier = "com.corvane.Larkspan";
inline constexpr const char* helperBundleIdentifier = "com.corvane.LarkspanHelper";
inline constexpr const char* bugReporterBundleIdentifier = "com.corvane.BugReporter";
inline constexpr const char* organisationPreferencesFile = "com.corvane.global.plist";

// Name under which the helper serves its connection.
inline constexpr const char* helperConnectionName = "LarkspanHelper";

// Distributed notification: the version store changed, reload what you show of it.
inline constexpr const char* filesBackedUpNotification = "ZBLarkspanFilesBackedUp";

// Local notification posted on the main thread when the program ends in order.
inline constexpr const char* applicationWillTerminateNotification =
    "NSApplicationWillTerminateNotification";

}  // namespace larkspan
