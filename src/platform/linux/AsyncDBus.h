#pragma once

#include "foundation/Date.h"
#include "foundation/Result.h"
#include "platform/linux/GObjectHandle.h"

#include <functional>
#include <memory>
#include <string>

namespace larkspan::platform {

// D-Bus without waiting. Answers and signals are delivered in the thread-default main context of
// the thread that asked, and everything here belongs to that thread.

// Cancels what was started with it, when destroyed at the latest. What is cancelled never answers,
// so an owner that keeps its Cancellation as a member may capture itself in answers.
class Cancellation {
  public:
    Cancellation() : token_(g_cancellable_new(), g_object_unref) {}
    Cancellation(const Cancellation&) = delete;
    Cancellation& operator=(const Cancellation&) = delete;
    ~Cancellation() { cancel(); }

    void cancel() { g_cancellable_cancel(token_.get()); }
    // Whether something started with it has neither answered nor been cleared away.
    bool isPending() const { return token_.use_count() > 1; }
    const std::shared_ptr<GCancellable>& token() const { return token_; }

  private:
    std::shared_ptr<GCancellable> token_;
};

using ConnectionAnswer = std::function<void(Result<ConnectionHandle>)>;
using VariantAnswer = std::function<void(Result<VariantHandle>)>;

// Authenticates over a stream and begins to speak D-Bus. `guid` for a server only; `observer` may
// be null. The answer is the moment to put a ClosedWatch on the connection: one that is put there
// later may miss the end.
void openConnection(GIOStream* stream, const char* guid, GDBusConnectionFlags flags,
                    GDBusAuthObserver* observer, const Cancellation& cancellation,
                    ConnectionAnswer answer);

// Connects to a message bus; the answer as above.
void openBus(const std::string& address, const Cancellation& cancellation, ConnectionAnswer answer);

struct BusMethod {
    const char* destination;
    const char* path;
    const char* interface;
    const char* member;
};

// Invokes a method; `parameters` is a tuple or null, a floating one is taken over. The answer is
// the tuple of results, of type `replyType`.
void callMethod(GDBusConnection* connection, const BusMethod& method, GVariant* parameters,
                const char* replyType, Seconds timeout, const Cancellation& cancellation,
                VariantAnswer answer);

// What to listen to; null matches anything.
struct SignalMatch {
    const char* sender;
    const char* path;
    const char* interface;
    const char* member = nullptr;
    const char* firstArgument = nullptr;
};

// Receives signals until destroyed. The callback may destroy it.
class SignalSubscription {
  public:
    using Callback = std::function<void(const char* member, GVariant* parameters)>;

    SignalSubscription(GDBusConnection* connection, const SignalMatch& match, Callback callback);
    SignalSubscription(const SignalSubscription&) = delete;
    SignalSubscription& operator=(const SignalSubscription&) = delete;
    ~SignalSubscription();

  private:
    const ConnectionHandle connection_;
    guint id_;
};

// Calls back when the connection ends, whoever ended it, until destroyed. Delivered in the context
// in which the connection was opened. The callback may destroy it.
class ClosedWatch {
  public:
    ClosedWatch(GDBusConnection* connection, std::function<void()> callback);
    ClosedWatch(const ClosedWatch&) = delete;
    ClosedWatch& operator=(const ClosedWatch&) = delete;
    ~ClosedWatch();

  private:
    const ConnectionHandle connection_;
    gulong id_;
};

}  // namespace larkspan::platform
