#include "platform/linux/LinuxDockTile.h"

#include "platform/linux/SessionBus.h"

#include <utility>

namespace larkspan::platform {
namespace {

constexpr const char* entryPath = "/com/canonical/unity/launcherentry/larkspan";
constexpr const char* entryInterface = "com.canonical.Unity.LauncherEntry";
constexpr const char* application = "application://larkspan.desktop";

constexpr Seconds farewell = std::chrono::seconds(1);
constexpr Seconds clearingUp = std::chrono::seconds(5);

GVariant* update(std::optional<double> progress) {
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&properties, "{sv}", "progress",
                          g_variant_new_double(progress.value_or(0)));
    g_variant_builder_add(&properties, "{sv}", "progress-visible",
                          g_variant_new_boolean(progress.has_value()));
    return g_variant_new("(sa{sv})", application, &properties);
}

}  // namespace

LinuxDockTile::LinuxDockTile() : busAddress_(sessionBusAddress()) {}

LinuxDockTile::~LinuxDockTile() {
    if (!thread_) return;
    thread_->post([this, &context = thread_->context()] { finish(context); });
    thread_.reset();
}

void LinuxDockTile::finish(LoopContext& context) {
    (void)context.serveUntil([this] { return entry_->connection || !entry_->asked; }, farewell);
    entry_->cancellation.cancel();
    (void)context.serveUntil([this] { return !entry_->cancellation.isPending(); }, clearingUp);
    entry_.reset();
}

void LinuxDockTile::showProgress(std::optional<double> progress) {
    if (busAddress_.empty()) return;
    std::call_once(started_, [this] {
        thread_ = std::make_unique<LoopThread>();
        thread_->post([this] { entry_ = std::make_unique<Entry>(); });
    });
    thread_->post([this, progress] {
        entry_->latest = progress;
        if (entry_->connection) return tell();
        if (std::exchange(entry_->asked, true)) return;
        openBus(busAddress_, entry_->cancellation,
                [this](Result<ConnectionHandle> opened) { connected(std::move(opened)); });
    });
}

// A bus that cannot be reached is asked again with the next progress.
void LinuxDockTile::connected(Result<ConnectionHandle> opened) {
    entry_->asked = false;
    if (!opened) return;
    entry_->connection = std::move(opened).value();
    entry_->closed = std::make_unique<ClosedWatch>(entry_->connection.get(),
                                                   [this] { entry_->connection.reset(); });
    tell();
}

void LinuxDockTile::tell() {
    // Fails only for a connection that is closing.
    g_dbus_connection_emit_signal(entry_->connection.get(), nullptr, entryPath, entryInterface,
                                  "Update", update(entry_->latest), nullptr);
}

}  // namespace larkspan::platform
