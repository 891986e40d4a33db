#pragma once

#include "foundation/Error.h"
#include "foundation/Path.h"
#include "foundation/Secret.h"

#include <optional>
#include <string>

namespace larkspan {

// The user's account with the cloud service, once it is linked.
struct CloudAccount {
    std::string userId;
    Secret refreshToken;
};

// Where the linked account is kept: a file of the user's own that nobody else can read. Any thread.
namespace cloudaccounts {

// Empty when the user has no folder for it.
std::optional<Path> file();

// Empty when no account is linked. A file that cannot be read is logged and counts as none; one
// that others may read is closed to them.
std::optional<CloudAccount> load();
std::optional<Error> save(const CloudAccount& account);
// Nothing to remove is a success.
std::optional<Error> remove();

}  // namespace cloudaccounts

}  // namespace larkspan
