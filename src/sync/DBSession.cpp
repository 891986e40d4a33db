#include "sync/DBSession.h"

#include "foundation/Guarded.h"
#include "sync/CloudAccount.h"

#include <utility>

namespace larkspan {
namespace {

constexpr const char* applicationKey = "q7m2vka9x4tzp1e";
constexpr const char* applicationSecret = "w3n8rfb5c0ykd6j";

Guarded<std::shared_ptr<const DBSession>>& shared() {
    static Guarded<std::shared_ptr<const DBSession>> session;
    return session;
}

}  // namespace

std::vector<std::string> DBSession::userIds() {
    const auto account = cloudaccounts::load();
    return account ? std::vector{account->userId} : std::vector<std::string>();
}

std::shared_ptr<const DBSession> DBSession::sharedSession() {
    return shared().copy();
}

void DBSession::setSharedSession(std::shared_ptr<const DBSession> session) {
    shared().with([&](auto& current) { current = std::move(session); });
}

void DBSession::openSharedSessionIfWanted(const Preferences& frontEnd) {
    if (frontEnd.integer("syncService", 0) == 1) openSharedSession();
}

void DBSession::openSharedSession() {
    setSharedSession(std::make_shared<const DBSession>(
        DBSession{applicationKey, applicationSecret, kDBRootAppFolder}));
}

}  // namespace larkspan
