#pragma once

#include "foundation/Date.h"

#include <functional>

#include <glib.h>

namespace larkspan::platform {

// A GLib main context of its own, for waiting on asynchronous work where no loop runs. Used by one
// thread at a time.
class LoopContext {
  public:
    // What is started on this thread while a scope lives answers in the context.
    class Scope {
      public:
        explicit Scope(LoopContext& context) : context_(context.get()) {
            g_main_context_push_thread_default(context_);
        }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope() { g_main_context_pop_thread_default(context_); }

      private:
        GMainContext* const context_;
    };

    LoopContext() : context_(g_main_context_new()) {}
    LoopContext(const LoopContext&) = delete;
    LoopContext& operator=(const LoopContext&) = delete;
    ~LoopContext();

    GMainContext* get() const { return context_; }

    // Dispatches events until the condition holds; false when it does not within `limit`.
    bool serveUntil(const std::function<bool()>& condition, Seconds limit);
    // Dispatches what is ready, without waiting.
    void serveReady();
    // Waits for events and dispatches them, once. Returns early after wakeUp().
    void serveOnce() { g_main_context_iteration(context_, TRUE); }
    // Ends a serveOnce() that is under way, or the next one. Any thread.
    void wakeUp() { g_main_context_wakeup(context_); }

  private:
    GMainContext* const context_;
};

// A length of time as GLib takes it, in milliseconds; at least one, at most what an int holds.
int millisecondsForGlib(Seconds duration);

}  // namespace larkspan::platform
