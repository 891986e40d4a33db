#pragma once

#include <cerrno>

namespace larkspan::platform {

// What errno values say of the path that a call was given.

// It leads to nothing of the wanted kind. Any other error leaves open what is there.
inline bool isGone(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

// Something is there that this user may not look into.
inline bool isRefusal(int error) {
    return error == EACCES || error == EPERM;
}

}  // namespace larkspan::platform
