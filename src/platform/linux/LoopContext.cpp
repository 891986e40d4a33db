#include "platform/linux/LoopContext.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace larkspan::platform {

int millisecondsForGlib(Seconds duration) {
    const double milliseconds = std::ceil(duration.count() * 1000);
    // The largest value means "for ever" to GLib. Not a number counts as no time.
    constexpr int most = std::numeric_limits<int>::max() - 1;
    if (!(milliseconds > 1)) return 1;
    return milliseconds >= most ? most : static_cast<int>(milliseconds);
}

LoopContext::~LoopContext() {
    serveReady();
    g_main_context_unref(context_);
}

bool LoopContext::serveUntil(const std::function<bool()>& condition, Seconds limit) {
    serveReady();
    if (condition()) return true;
    bool expired = false;
    GSource* timer = g_timeout_source_new(static_cast<guint>(millisecondsForGlib(limit)));
    const auto expire = [](gpointer flag) -> gboolean {
        *static_cast<bool*>(flag) = true;
        return G_SOURCE_REMOVE;
    };
    g_source_set_callback(timer, expire, &expired, nullptr);
    g_source_attach(timer, context_);
    while (!expired && !condition()) serveOnce();
    g_source_destroy(timer);
    g_source_unref(timer);
    return condition();
}

void LoopContext::serveReady() {
    while (g_main_context_iteration(context_, FALSE)) {
    }
}

}  // namespace larkspan::platform
