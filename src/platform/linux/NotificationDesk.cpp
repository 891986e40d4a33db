#include "platform/linux/NotificationDesk.h"

#include "platform/linux/VariantValue.h"

#include <algorithm>
#include <string_view>

namespace larkspan::platform {
namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* servicePath = "/org/freedesktop/Notifications";
constexpr const char* bus = "org.freedesktop.DBus";

constexpr size_t mostKept = 256;
constexpr size_t mostUnderWay = 16;  // a bus refuses more than 128 calls without an answer
constexpr Seconds answerLimit = std::chrono::seconds(25);
constexpr auto restAfterFailure = std::chrono::minutes(1);
constexpr guint32 goneByItself = 1;  // a reason of NotificationClosed

template <class Kept>
void keepBounded(std::deque<Kept>& all, Kept one) {
    if (all.size() >= mostKept) all.pop_front();
    all.push_back(std::move(one));
}

std::string escaped(const std::string& text) {
    return TextHandle(g_markup_escape_text(text.c_str(), -1)).get();
}

// The service takes the name of an icon of the theme or a file's address.
std::string iconAddress(const std::string& icon) {
    if (icon.empty()) return "larkspan";
    if (!icon.starts_with('/')) return textForDBus(icon);
    const TextHandle address(g_filename_to_uri(icon.c_str(), nullptr, nullptr));
    return address ? address.get() : "";
}

}  // namespace

NotificationDesk::NotificationDesk(std::string busAddress, Ended ended)
    : busAddress_(std::move(busAddress)), ended_(std::move(ended)) {}

void NotificationDesk::show(UserNotification notification) {
    keepBounded(waiting_, std::move(notification));
    advance();
}

void NotificationDesk::advance() {
    if (asking_) return;
    if (capabilities_) {
        while (!waiting_.empty() && underWay_ < mostUnderWay) {
            send(waiting_.front());
            waiting_.pop_front();
        }
    } else if (std::chrono::steady_clock::now() < notBefore_) {
        waiting_.clear();
    } else if (connection_) {
        askCapabilities();
    } else {
        asking_ = true;
        openBus(busAddress_, cancellation_,
                [this](Result<ConnectionHandle> opened) { connected(std::move(opened)); });
    }
}

void NotificationDesk::connected(Result<ConnectionHandle> opened) {
    if (!opened) {
        giveUp();
        return;
    }
    connection_ = std::move(opened).value();
    closed_ = std::make_unique<ClosedWatch>(connection_.get(), [this] { lost(); });
    listen();
    askCapabilities();
}

void NotificationDesk::listen() {
    const auto subscribe = [this](const SignalMatch& match, SignalSubscription::Callback callback) {
        subscriptions_.push_back(
            std::make_unique<SignalSubscription>(connection_.get(), match, std::move(callback)));
    };
    subscribe({.sender = bus,
               .path = "/org/freedesktop/DBus",
               .interface = bus,
               .member = "NameOwnerChanged",
               .firstArgument = service},
              [this](const char*, GVariant* parameters) { ownerChanged(parameters); });
    subscribe({.sender = service, .path = servicePath, .interface = service},
              [this](const char* signal, GVariant* parameters) { received(signal, parameters); });
}

void NotificationDesk::lost() {
    forgetServer();
    subscriptions_.clear();
    connection_.reset();
    closed_.reset();
}

// A service that has just come may be asked at once.
void NotificationDesk::ownerChanged(GVariant* parameters) {
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sss)"))) return;
    forgetServer();
    notBefore_ = {};
}

// The next service counts its notices from the start and may be able to do other things.
void NotificationDesk::forgetServer() {
    shown_.clear();
    early_.clear();
    capabilities_.reset();
}

void NotificationDesk::askCapabilities() {
    asking_ = true;
    callMethod(connection_.get(), {service, servicePath, service, "GetCapabilities"}, nullptr,
               "(as)", answerLimit, cancellation_, [this](Result<VariantHandle> answer) {
                   if (answer) {
                       learn(answer->get());
                   } else {
                       giveUp();
                   }
               });
}

void NotificationDesk::learn(GVariant* capabilities) {
    asking_ = false;
    capabilities_ = Capabilities();
    const VariantHandle names(g_variant_get_child_value(capabilities, 0));
    for (gsize i = 0; i < g_variant_n_children(names.get()); ++i) {
        const VariantHandle child(g_variant_get_child_value(names.get(), i));
        const std::string_view name = g_variant_get_string(child.get(), nullptr);
        if (name == "actions") capabilities_->actions = true;
        if (name == "body-markup") capabilities_->bodyMarkup = true;
    }
    advance();
}

void NotificationDesk::giveUp() {
    asking_ = false;
    waiting_.clear();
    notBefore_ = std::chrono::steady_clock::now() + restAfterFailure;
}

GVariant* NotificationDesk::arguments(const UserNotification& notification) const {
    GVariantBuilder actions;
    g_variant_builder_init(&actions, G_VARIANT_TYPE_STRING_ARRAY);
    if (capabilities_->actions) {
        g_variant_builder_add(&actions, "s", "default");
        g_variant_builder_add(&actions, "s", "");
    }
    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE_VARDICT);
    if (!notification.notificationName.empty()) {
        g_variant_builder_add(
            &hints, "{sv}", "category",
            g_variant_new_string(textForDBus(notification.notificationName).c_str()));
    }
    const std::string body = textForDBus(notification.description);
    return g_variant_new(
        "(susssasa{sv}i)", textForDBus(notification.applicationName).c_str(), guint32{0},
        iconAddress(notification.icon).c_str(), textForDBus(notification.title).c_str(),
        (capabilities_->bodyMarkup ? escaped(body) : body).c_str(), &actions, &hints, gint32{-1});
}

void NotificationDesk::send(const UserNotification& notification) {
    ++underWay_;
    callMethod(connection_.get(), {service, servicePath, service, "Notify"},
               arguments(notification), "(u)", answerLimit, cancellation_,
               [this, context = notification.context](Result<VariantHandle> answer) {
                   --underWay_;
                   guint32 id = 0;
                   if (answer) {
                       g_variant_get(answer->get(), "(u)", &id);
                       accepted(id, context);
                   }
                   if (underWay_ == 0) early_.clear();
                   if (!waiting_.empty()) advance();
               });
}

void NotificationDesk::accepted(guint32 id, std::optional<Value> context) {
    std::erase_if(shown_, [id](const Shown& shown) { return shown.id == id; });
    keepBounded(shown_, Shown{id, std::move(context)});
    const auto early = std::find_if(early_.begin(), early_.end(),
                                    [id](const auto& ended) { return ended.first == id; });
    if (early == early_.end()) return;
    const auto how = early->second;
    early_.erase(early);
    end(id, how);
}

void NotificationDesk::received(const std::string& signal, GVariant* parameters) {
    guint32 id = 0;
    if (signal == "ActionInvoked" && g_variant_is_of_type(parameters, G_VARIANT_TYPE("(us)"))) {
        const char* action = nullptr;
        g_variant_get(parameters, "(u&s)", &id, &action);
        if (std::string_view(action) == "default") end(id, NoticeEnd::clicked);
    } else if (signal == "NotificationClosed" &&
               g_variant_is_of_type(parameters, G_VARIANT_TYPE("(uu)"))) {
        guint32 reason = 0;
        g_variant_get(parameters, "(uu)", &id, &reason);
        end(id, reason == goneByItself ? std::optional(NoticeEnd::timedOut) : std::nullopt);
    }
}

// Signals go to every program on the bus: most numbers are those of others' notices.
void NotificationDesk::end(guint32 id, std::optional<NoticeEnd> how) {
    const auto found = std::find_if(shown_.begin(), shown_.end(),
                                    [id](const Shown& shown) { return shown.id == id; });
    if (found == shown_.end()) {
        if (underWay_ > 0 && early_.size() < mostKept) early_.emplace_back(id, how);
        return;
    }
    const std::optional<Value> context = std::move(found->context);
    shown_.erase(found);
    if (how) ended_(*how, context);
}

}  // namespace larkspan::platform
