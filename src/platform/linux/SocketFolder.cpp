#include "platform/linux/SocketFolder.h"

#include "platform/Connections.h"
#include "platform/linux/StandardizedPath.h"
#include "platform/linux/UserTable.h"
#include "platform/posix/AdvisoryLock.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace larkspan::platform {
namespace {

Path socketPath(const Path& folder, const std::string& name) {
    return folder.appendingPathComponent(name + ".socket");
}

// A longer path would be cut off by the kernel and lead elsewhere.
bool fitsAddress(const Path& path) {
    return path.str().size() < sizeof(sockaddr_un::sun_path);
}

bool isOwnFolder(const std::string& path) {
    struct stat status {};
    return path.starts_with('/') && ::lstat(path.c_str(), &status) == 0 &&
           S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

// The same in every process, whatever library it was built with (FNV-1a).
std::string digestOf(std::string_view text) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(hash));
    return digits.data();
}

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string homeOfAccount() {
    const auto account = userWithID(::geteuid());
    return account ? account->home.str() : "";
}

Result<sockaddr_un> addressOf(const Path& path) {
    if (!fitsAddress(path)) {
        return posixError(ENAMETOOLONG, "socket path \"" + path.str() + '"');
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.str().copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

Result<FileDescriptor> openLocked(const Path& path, Seconds patience) {
    FileDescriptor lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock) return posixError(errno, "lock file \"" + path.str() + '"');
    const int failed = takeLock(lock.get(), patience);
    if (failed == 0) return lock;
    if (failed != EWOULDBLOCK) return posixError(failed, path.str());
    return connectionError(ConnectionErrorCode::alreadyServed,
                           "another process holds " + path.str());
}

Result<FileDescriptor> listenAt(const Path& path) {
    const Result<sockaddr_un> address = addressOf(path);
    if (!address) return address.error();
    const std::string what = "socket \"" + path.str() + '"';
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket) return posixError(errno, what);
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) return posixError(errno, what);
    // Until the mode is set the folder keeps others away.
    if (::bind(socket.get(), generic(*address), sizeof *address) != 0 ||
        ::chmod(path.c_str(), 0600) != 0 || ::listen(socket.get(), SOMAXCONN) != 0) {
        return posixError(errno, what);
    }
    return socket;
}

// A zero time means no limit to the kernel; the smallest limit is a microsecond.
void limitSending(int socket, Seconds timeout) {
    const double seconds = std::clamp(timeout.count(), 0.0, 1e6);
    timeval limit{};
    limit.tv_sec = static_cast<time_t>(seconds);
    limit.tv_usec = std::max<suseconds_t>(
        static_cast<suseconds_t>((seconds - static_cast<double>(limit.tv_sec)) * 1e6),
        limit.tv_sec == 0 ? 1 : 0);
    ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

Error connectFailure(int errorNumber, const std::string& name) {
    switch (errorNumber) {
        case ENOENT:
        case ECONNREFUSED:
            return connectionError(ConnectionErrorCode::nobodyServes, "nobody serves " + name);
        case EAGAIN:
            return connectionError(ConnectionErrorCode::timedOut, name + " accepts no connection");
        default:
            return connectionError(ConnectionErrorCode::refused,
                                   posixError(errorNumber, "connecting to " + name).description);
    }
}

}  // namespace

SocketFacts SocketFacts::fromEnvironment() {
    return {.home = environment("HOME"),
            .accountHome = homeOfAccount(),
            .runtimeFolders = {environment("XDG_RUNTIME_DIR"),
                               "/run/user/" + std::to_string(::geteuid())},
            .userID = ::geteuid()};
}

Path chooseSocketFolder(const SocketFacts& facts, const std::string& name) {
    const auto& candidates = facts.runtimeFolders;
    const auto runtime = std::find_if(candidates.begin(), candidates.end(), [&](const auto& path) {
        return isOwnFolder(path) && fitsAddress(socketPath(Path(path) / "larkspan", name));
    });
    Path shared = runtime != candidates.end()
                      ? Path(*runtime) / "larkspan"
                      : Path(facts.temporaryFolder) / ("larkspan-" + std::to_string(facts.userID));
    const Path home = standardizedPath(Path(facts.home));
    if (!home.isAbsolute() || home == standardizedPath(Path(facts.accountHome))) return shared;
    const Path own = home / ".local/share/larkspan/run";
    return fitsAddress(socketPath(own, name)) ? own
                                              : Path(shared.str() + '-' + digestOf(home.str()));
}

std::optional<Error> prepareSocketFolder(const Path& folder) {
    std::vector<Path> missing;
    for (Path path = folder; ::access(path.c_str(), F_OK) != 0 && path.isAbsolute();
         path = path.deletingLastPathComponent()) {
        missing.push_back(path);
    }
    std::reverse(missing.begin(), missing.end());
    for (const Path& path : missing) {
        if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
            return posixError(errno, "folder \"" + path.str() + '"');
        }
    }
    return checkSocketFolder(folder);
}

std::optional<Error> checkSocketFolder(const Path& folder) {
    struct stat status {};
    const std::string what = "folder \"" + folder.str() + '"';
    if (::lstat(folder.c_str(), &status) != 0) return posixError(errno, what);
    const char* wrong = !S_ISDIR(status.st_mode)       ? " is no folder"
                        : status.st_uid != ::geteuid() ? " belongs to another user"
                        : (status.st_mode & 077) != 0  ? " is open to other users"
                                                       : nullptr;
    if (!wrong) return std::nullopt;
    return connectionError(ConnectionErrorCode::refused, what + wrong);
}

Result<SocketListener> listenInFolder(const Path& folder, const std::string& name,
                                      Seconds patience) {
    if (auto error = prepareSocketFolder(folder)) return *error;
    Result<FileDescriptor> lock = openLocked(folder / (name + ".lock"), patience);
    if (!lock) return lock.error();
    const Path path = socketPath(folder, name);
    Result<FileDescriptor> socket = listenAt(path);
    if (!socket) return socket.error();
    return SocketListener{std::move(lock).value(), std::move(socket).value(), path};
}

Result<FileDescriptor> connectInFolder(const Path& folder, const std::string& name,
                                       Seconds timeout) {
    if (const auto error = checkSocketFolder(folder)) {
        return error->is(posixErrorDomain, ENOENT) ? connectFailure(ENOENT, name) : *error;
    }
    const Result<sockaddr_un> address = addressOf(socketPath(folder, name));
    if (!address) return address.error();
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket) return posixError(errno, "socket");
    limitSending(socket.get(), timeout);
    if (::connect(socket.get(), generic(*address), sizeof *address) != 0) {
        return connectFailure(errno, name);
    }
    if (!isPeerSameUser(socket.get())) return connectFailure(EACCES, name);
    return socket;
}

bool isPeerSameUser(int socket) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 &&
           credentials.uid == ::geteuid();
}

}  // namespace larkspan::platform
