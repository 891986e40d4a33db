#pragma once

#include "foundation/Error.h"

#include <memory>

#include <gio/gio.h>

namespace larkspan::platform {

// Owners of what GLib counts references of or wants to have freed.

struct GObjectRelease {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using GObjectHandle = std::unique_ptr<T, GObjectRelease>;

template <class T>
GObjectHandle<T> retained(T* object) {
    (g_object_ref)(object);
    return GObjectHandle<T>(object);
}

template <auto release>
struct ReleaseWith {
    template <class T>
    void operator()(T* pointer) const {
        release(pointer);
    }
};
using ConnectionHandle = GObjectHandle<GDBusConnection>;
using VariantHandle = std::unique_ptr<GVariant, ReleaseWith<g_variant_unref>>;
using NodeInfoHandle = std::unique_ptr<GDBusNodeInfo, ReleaseWith<g_dbus_node_info_unref>>;
using TextHandle = std::unique_ptr<char, ReleaseWith<g_free>>;

// Where a call of GLib puts its error.
class ErrorSlot {
  public:
    ErrorSlot() = default;
    ErrorSlot(const ErrorSlot&) = delete;
    ErrorSlot& operator=(const ErrorSlot&) = delete;
    ~ErrorSlot() { g_clear_error(&error_); }

    GError** out() { return &error_; }
    bool matches(GQuark domain, int code) const { return g_error_matches(error_, domain, code); }
    bool isIn(GQuark domain) const { return error_ && error_->domain == domain; }
    // In GLib's words, without the name of a remote error before them.
    Error error() const {
        if (!error_) return {"GLib", 0, "unknown error"};
        g_dbus_error_strip_remote_error(error_);
        // Copied by GLib first: the text may come from a thread of GLib's, and race checkers do not
        // see how GLib hands it over.
        const TextHandle text(g_strdup(error_->message));
        return {g_quark_to_string(error_->domain), error_->code, text.get()};
    }

  private:
    GError* error_ = nullptr;
};

}  // namespace larkspan::platform
