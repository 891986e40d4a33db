#include "sync/CloudAccount.h"

#include "foundation/PropertyList.h"
#include "foundation/Value.h"
#include "kit/Preferences.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <cerrno>
#include <utility>

namespace larkspan {
namespace {

constexpr const char* userKey = "userId";
constexpr const char* tokenKey = "refreshToken";
constexpr unsigned forOwnerOnly = 0600;

platform::Files& files() {
    return platform::Platform::current().files;
}

std::string textIn(const Value& values, const char* key) {
    const Value* value = values.find(key);
    const std::string* text = value ? value->string() : nullptr;
    return text ? *text : std::string();
}

}  // namespace

std::optional<Path> cloudaccounts::file() {
    const auto support = ZBLocalPaths::appSupportDirectory(UserDomain::yes);
    if (!support) return std::nullopt;
    return *support / "Corvane/Larkspan/CloudAccount.plist";
}

std::optional<CloudAccount> cloudaccounts::load() {
    const auto path = file();
    const auto info = path ? files().info(*path).optional() : std::nullopt;
    if (!info) return std::nullopt;
    if (info->permissions != forOwnerOnly) (void)files().setPermissions(*path, forOwnerOnly);
    const Result<Value> loaded = loadPropertyList(*path);
    if (!loaded) {
        ZBLog::appendLog("Unable to read the linked cloud account %@: %@", *path,
                         loaded.error().description);
        return std::nullopt;
    }
    CloudAccount account{textIn(*loaded, userKey), Secret(textIn(*loaded, tokenKey))};
    if (account.refreshToken.text().empty()) return std::nullopt;
    return account;
}

std::optional<Error> cloudaccounts::save(const CloudAccount& account) {
    const auto path = file();
    if (!path) return posixError(ENOENT, "the user's Application Support folder");
    if (auto error = files().createFolder(path->deletingLastPathComponent())) return error;
    // Writing keeps the permissions, so they are made narrow before there is anything to hide.
    if (!files().exists(*path)) {
        if (auto error = files().writeFileAtomically(*path, "")) return error;
    }
    if (auto error = files().setPermissions(*path, forOwnerOnly)) return error;
    const Secret content(serializePropertyList(Value::Dictionary{
        {userKey, account.userId}, {tokenKey, std::string(account.refreshToken.text())}}));
    return files().writeFileAtomically(*path, content.text());
}

std::optional<Error> cloudaccounts::remove() {
    const auto path = file();
    if (!path) return std::nullopt;
    auto error = files().removeItem(*path);
    return error && error->is(posixErrorDomain, ENOENT) ? std::nullopt : error;
}

}  // namespace larkspan
