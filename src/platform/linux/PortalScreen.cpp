#include "platform/linux/PortalScreen.h"

#include "foundation/Text.h"
#include "foundation/Uuid.h"
#include "platform/linux/AsyncDBus.h"
#include "platform/linux/LoopContext.h"
#include "platform/posix/SmallFile.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* screenshotInterface = "org.freedesktop.portal.Screenshot";
constexpr const char* requestInterface = "org.freedesktop.portal.Request";
constexpr BusMethod lookUpPermission = {"org.freedesktop.impl.portal.PermissionStore",
                                        "/org/freedesktop/impl/portal/PermissionStore",
                                        "org.freedesktop.impl.portal.PermissionStore", "Lookup"};
constexpr BusMethod getProperty = {portalName, portalPath, "org.freedesktop.DBus.Properties",
                                   "Get"};
constexpr BusMethod takeScreenshot = {portalName, portalPath, screenshotInterface, "Screenshot"};

// The first version that looks into the permission store.
constexpr guint32 asksTheStore = 2;
constexpr Seconds withdrawal = std::chrono::milliseconds(200);

bool grantsTo(GVariant* permissions, const std::string& identifier) {
    const char** values = nullptr;
    if (!g_variant_lookup(permissions, identifier.c_str(), "^a&s", &values)) return false;
    const bool grants = values[0] && std::string_view(values[0]) == "yes" && !values[1];
    g_free(static_cast<void*>(values));
    return grants;
}

// One request for a picture. Belongs to the thread-default main context of its thread.
class PortalRequest {
  public:
    PortalRequest(const PortalAccess& access, Seconds limit) : access_(access), limit_(limit) {
        openBus(access.busAddress, cancellation_,
                [this](Result<ConnectionHandle> opened) { connected(std::move(opened)); });
    }
    PortalRequest(const PortalRequest&) = delete;
    PortalRequest& operator=(const PortalRequest&) = delete;

    bool isSettled() const { return settled_; }
    const std::string& uri() const { return uri_; }

    // Has the portal forget the request; settled when it has.
    void withdraw() {
        if (handle_.empty()) return;
        settled_ = false;
        const BusMethod close = {portalName, handle_.c_str(), requestInterface, "Close"};
        callMethod(connection_.get(), close, nullptr, "()", withdrawal, cancellation_,
                   [this](const Result<VariantHandle>&) { settled_ = true; });
    }
    void cancel() { cancellation_.cancel(); }
    bool isPending() const { return cancellation_.isPending(); }

  private:
    using Next = void (PortalRequest::*)(GVariant* answer);

    void call(const BusMethod& method, GVariant* parameters, const char* replyType, Next next) {
        callMethod(connection_.get(), method, parameters, replyType, limit_, cancellation_,
                   [this, next](const Result<VariantHandle>& answer) {
                       if (answer) {
                           (this->*next)(answer->get());
                       } else {
                           settled_ = true;
                       }
                   });
    }
    void connected(Result<ConnectionHandle> opened) {
        settled_ = !opened;
        if (!opened) return;
        connection_ = std::move(opened).value();
        call(lookUpPermission, g_variant_new("(ss)", "screenshot", "screenshot"), "(a{sas}v)",
             &PortalRequest::learnPermissions);
    }
    void learnPermissions(GVariant* answer) {
        const VariantHandle permissions(g_variant_get_child_value(answer, 0));
        settled_ = !std::ranges::all_of(access_.applicationIDs, [&](const std::string& identifier) {
            return grantsTo(permissions.get(), identifier);
        });
        if (settled_) return;
        call(getProperty, g_variant_new("(ss)", screenshotInterface, "version"), "(v)",
             &PortalRequest::learnVersion);
    }
    void learnVersion(GVariant* answer) {
        GVariant* boxed = nullptr;
        g_variant_get(answer, "(v)", &boxed);
        const VariantHandle version(boxed);
        const bool isNumber = g_variant_is_of_type(boxed, G_VARIANT_TYPE_UINT32) != 0;
        settled_ = !isNumber || g_variant_get_uint32(boxed) < asksTheStore;
        if (!settled_) request();
    }
    void request() {
        // The answer may come before the call returns; nobody else's comes to this connection.
        subscription_ = std::make_unique<SignalSubscription>(
            connection_.get(),
            SignalMatch{.sender = portalName,
                        .path = nullptr,
                        .interface = requestInterface,
                        .member = "Response"},
            [this](const char*, GVariant* parameters) { answered(parameters); });
        GVariantBuilder options;
        g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
        const std::string token = "larkspan" + replacingAll(generateUUID(), "-", "");
        g_variant_builder_add(&options, "{sv}", "handle_token",
                              g_variant_new_string(token.c_str()));
        g_variant_builder_add(&options, "{sv}", "interactive", g_variant_new_boolean(FALSE));
        g_variant_builder_add(&options, "{sv}", "modal", g_variant_new_boolean(FALSE));
        call(takeScreenshot, g_variant_new("(sa{sv})", "", &options), "(o)",
             &PortalRequest::requested);
    }
    void requested(GVariant* answer) {
        const char* handle = nullptr;
        g_variant_get(answer, "(&o)", &handle);
        handle_ = handle;
    }
    void answered(GVariant* parameters) {
        if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})"))) return;
        guint32 response = 0;
        GVariant* results = nullptr;
        g_variant_get(parameters, "(u@a{sv})", &response, &results);
        const VariantHandle owned(results);
        const char* uri = nullptr;
        if (response == 0 && g_variant_lookup(results, "uri", "&s", &uri)) uri_ = uri;
        settled_ = true;
    }

    const PortalAccess& access_;
    const Seconds limit_;
    bool settled_ = false;
    std::string uri_;
    std::string handle_;
    ConnectionHandle connection_;
    std::unique_ptr<SignalSubscription> subscription_;
    Cancellation cancellation_;  // last, so that it is gone before what its answers use
};

std::string pictureURI(const PortalAccess& access, Seconds limit) {
    constexpr Seconds clearingUp = std::chrono::seconds(5);
    LoopContext context;
    const LoopContext::Scope scope(context);
    PortalRequest request(access, limit);
    if (!context.serveUntil([&] { return request.isSettled(); }, limit)) {
        request.withdraw();
        (void)context.serveUntil([&] { return request.isSettled(); }, withdrawal);
    }
    request.cancel();
    (void)context.serveUntil([&] { return !request.isPending(); }, clearingUp);
    return request.uri();
}

// Reads the file that the portal made for us, and removes it: only one of our own that was not
// there before.
std::optional<std::string> takeFile(const std::string& uri, std::time_t notBefore) {
    constexpr size_t largest = 64UL * 1024 * 1024;
    const TextHandle name(g_filename_from_uri(uri.c_str(), nullptr, nullptr));
    if (!name) return std::nullopt;
    auto content = readSmallFile(Path(name.get()), largest);
    struct stat facts = {};
    const bool isOurs = ::lstat(name.get(), &facts) == 0 && S_ISREG(facts.st_mode) &&
                        facts.st_uid == ::geteuid() && facts.st_mtime >= notBefore;
    if (isOurs) (void)::unlink(name.get());
    return content;
}

}  // namespace

std::optional<std::string> captureThroughPortal(const PortalAccess& access, Seconds limit) {
    if (access.busAddress.empty() || access.applicationIDs.empty()) return std::nullopt;
    // File systems may have dates that lag behind a little.
    const std::time_t notBefore = std::time(nullptr) - 1;
    const std::string uri = pictureURI(access, limit);
    return uri.empty() ? std::nullopt : takeFile(uri, notBefore);
}

}  // namespace larkspan::platform
