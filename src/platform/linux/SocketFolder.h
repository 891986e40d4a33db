#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"
#include "foundation/Result.h"
#include "platform/posix/FileDescriptor.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspan::platform {

// What decides where the sockets of named connections lie.
struct SocketFacts {
    std::string home = {};  // HOME, "" when unset
    std::string accountHome =
        {};  // the home folder in the system's table of users, "" when unknown
    std::vector<std::string> runtimeFolders = {};  // candidates, the first that is ours is taken
    std::string temporaryFolder = "/tmp";
    unsigned userID = 0;

    // runtimeFolders: XDG_RUNTIME_DIR, then /run/user/UID, so that programs started without a
    // session (by cron, over ssh) meet those in it. The temporary folder is /tmp whatever TMPDIR
    // says, for the same reason.
    static SocketFacts fromEnvironment();
};

// The folder that holds NAME.socket and NAME.lock:
//
//   RUNTIME/larkspan                    when there is a runtime folder of this user,
//   /tmp/larkspan-UID                   else;
//   HOME/.local/share/larkspan/run      when HOME is not the account's home folder: whoever sets
//                                       HOME wants to be alone there,
//   one of the first two with "-" and a digest of HOME added when that path is too long.
Path chooseSocketFolder(const SocketFacts& facts, const std::string& name);

// Makes the folder (for this user only) with those above it when it is missing, then checks it.
std::optional<Error> prepareSocketFolder(const Path& folder);

// Fails unless the folder is a real folder of this user in which nobody else has any right.
// Errors: ENOENT in the posix domain when it is missing, else refused.
std::optional<Error> checkSocketFolder(const Path& folder);

// A socket that listens under `path`, which this process alone may do while it keeps the lock.
struct SocketListener {
    FileDescriptor lock;
    FileDescriptor socket;
    Path path;
};

// Takes NAME.lock, replaces a socket left behind and listens, without blocking accepts. While
// another process holds the lock, tries again for `patience`, then alreadyServed.
Result<SocketListener> listenInFolder(const Path& folder, const std::string& name,
                                      Seconds patience);

// Connects; waits for at most `timeout` where the other side's queue is full. Errors: nobodyServes,
// timedOut, refused.
Result<FileDescriptor> connectInFolder(const Path& folder, const std::string& name,
                                       Seconds timeout);

// Whether the process at the other end of a connected socket belongs to this user, by what the
// kernel says.
bool isPeerSameUser(int socket);

}  // namespace larkspan::platform
