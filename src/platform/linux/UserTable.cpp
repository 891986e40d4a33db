#include "platform/linux/UserTable.h"

#include <cerrno>
#include <vector>

#include <pwd.h>

namespace larkspan::platform {
namespace {

// Runs one of the re-entrant look-ups with a buffer that is large enough.
template <class LookUp>
std::optional<UserEntry> findUser(const LookUp& lookUp) {
    std::vector<char> buffer(1024);
    passwd entry = {};
    passwd* found = nullptr;
    while (lookUp(&entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    if (!found) return std::nullopt;
    return UserEntry{found->pw_name, Path(found->pw_dir), found->pw_uid, found->pw_gid};
}

}  // namespace

std::optional<UserEntry> userWithID(unsigned userID) {
    return findUser([&](passwd* entry, char* buffer, size_t size, passwd** found) {
        return ::getpwuid_r(userID, entry, buffer, size, found);
    });
}

std::optional<UserEntry> userNamed(const std::string& name) {
    return findUser([&](passwd* entry, char* buffer, size_t size, passwd** found) {
        return ::getpwnam_r(name.c_str(), entry, buffer, size, found);
    });
}

}  // namespace larkspan::platform
