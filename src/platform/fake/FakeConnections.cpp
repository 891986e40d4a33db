#include "platform/fake/FakeConnections.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

namespace larkspan::platform {
namespace {

// What has come for one client.
struct Inbox {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::string, size_t> arrived;
    bool lost = false;

    void change(const std::function<void()>& change) {
        const std::lock_guard lock(mutex);
        change();
        changed.notify_all();
    }
};

// One command or question on its way through the main thread. Shared, for the caller may have
// given up when its turn comes.
struct Job {
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<Result<Value>> outcome;
};

Error lostConnection() {
    return connectionError(ConnectionErrorCode::connectionLost, "the connection has ended");
}

// Waits of this length do not overflow the clock.
Seconds bounded(Seconds timeout) {
    return std::clamp(timeout, Seconds(0), Seconds(1e6));
}

}  // namespace

struct FakeConnections::Served {
    MainThread& mainThread;
    const FakeConnections* process;
    const ServedObject object;
    bool ended = false;  // main thread only
    Guarded<std::vector<std::weak_ptr<Inbox>>> clients;

    void changeEveryInbox(const std::function<void(Inbox&)>& change) const {
        for (const auto& client : clients.copy()) {
            if (const auto inbox = client.lock()) inbox->change([&] { change(*inbox); });
        }
    }
};

struct FakeConnections::Machine {
    Guarded<std::map<std::string, std::shared_ptr<Served>>> services;
};

class FakeConnections::FakeService final : public Service {
  public:
    FakeService(std::shared_ptr<Machine> machine, std::string name)
        : machine_(std::move(machine)), name_(std::move(name)) {}
    FakeService(const FakeService&) = delete;
    FakeService& operator=(const FakeService&) = delete;
    ~FakeService() override {
        const auto served = machine_->services.with(
            [&](auto& services) { return std::move(services.extract(name_).mapped()); });
        served->ended = true;
        served->changeEveryInbox([](Inbox& inbox) { inbox.lost = true; });
    }

  private:
    const std::shared_ptr<Machine> machine_;
    const std::string name_;
};

class FakeConnections::FakeClient final : public Client {
  public:
    explicit FakeClient(const std::shared_ptr<Served>& served)
        : served_(served), inbox_(std::make_shared<Inbox>()) {
        served->clients.with([&](auto& clients) { clients.push_back(inbox_); });
    }

    std::optional<Error> call(const std::string& command, Seconds timeout) override {
        const auto answer = perform(
            [command](const ServedObject& object) {
                object.commands.at(command)();
                return Value();
            },
            timeout);
        if (!answer) return answer.error();
        return std::nullopt;
    }
    Result<Value> property(const std::string& name, Seconds timeout) override {
        return perform([name](const ServedObject& object) { return object.properties.at(name)(); },
                       timeout);
    }
    Result<bool> waitForNotification(const std::string& name, Seconds timeout) override;

  private:
    using Question = std::function<Value(const ServedObject&)>;
    static Result<Value> answered(const std::shared_ptr<Served>& served, const Question& question);
    Result<Value> perform(Question question, Seconds timeout);

    const std::weak_ptr<Served> served_;
    const std::shared_ptr<Inbox> inbox_;
};

Result<Value> FakeConnections::FakeClient::answered(const std::shared_ptr<Served>& served,
                                                    const Question& question) {
    // Clients that are asking keep it alive beyond its end.
    if (!served || served->ended) return lostConnection();
    try {
        return question(served->object);
    } catch (const std::exception& failure) {
        return connectionError(ConnectionErrorCode::refused, failure.what());
    }
}

Result<Value> FakeConnections::FakeClient::perform(Question question, Seconds timeout) {
    const auto served = served_.lock();
    if (!served) return lostConnection();
    const auto job = std::make_shared<Job>();
    auto work = [job, question = std::move(question), weak = served_] {
        Result<Value> outcome = answered(weak.lock(), question);
        const std::lock_guard lock(job->mutex);
        job->outcome = std::move(outcome);
        job->changed.notify_all();
    };
    if (served->mainThread.isCurrent()) {
        work();
    } else {
        served->mainThread.post(std::move(work));
    }
    std::unique_lock lock(job->mutex);
    if (!job->changed.wait_for(lock, bounded(timeout), [&] { return job->outcome.has_value(); })) {
        return connectionError(ConnectionErrorCode::timedOut, "no answer in time");
    }
    return *job->outcome;
}

Result<bool> FakeConnections::FakeClient::waitForNotification(const std::string& name,
                                                              Seconds timeout) {
    const auto served = served_.lock();
    const bool mayWait = !served || !served->mainThread.isCurrent();
    std::unique_lock lock(inbox_->mutex);
    auto& arrived = inbox_->arrived;
    (void)inbox_->changed.wait_for(lock, mayWait ? bounded(timeout) : Seconds(0),
                                   [&] { return inbox_->lost || arrived.contains(name); });
    const auto found = arrived.find(name);
    if (found == arrived.end()) {
        if (inbox_->lost) return lostConnection();
        return false;
    }
    if (--found->second == 0) arrived.erase(found);
    return true;
}

FakeConnections::FakeConnections(MainThread& mainThread)
    : mainThread_(mainThread), machine_(std::make_shared<Machine>()) {}

FakeConnections::FakeConnections(MainThread& mainThread, const FakeConnections& neighbour)
    : mainThread_(mainThread), machine_(neighbour.machine_) {}

FakeConnections::~FakeConnections() = default;

Result<std::unique_ptr<Connections::Service>> FakeConnections::serve(const std::string& name,
                                                                     ServedObject object) {
    std::shared_ptr<Served> served(new Served{mainThread_, this, std::move(object), false, {}});
    const bool added = machine_->services.with(
        [&](auto& services) { return services.emplace(name, std::move(served)).second; });
    if (!added) {
        return connectionError(ConnectionErrorCode::alreadyServed, name + " is served already");
    }
    return std::unique_ptr<Service>(std::make_unique<FakeService>(machine_, name));
}

Result<std::unique_ptr<Connections::Client>> FakeConnections::connect(const std::string& name,
                                                                      Seconds) {
    const auto served = machine_->services.with([&](const auto& services) {
        const auto found = services.find(name);
        return found == services.end() ? nullptr : found->second;
    });
    if (!served) return connectionError(ConnectionErrorCode::nobodyServes, "nobody serves " + name);
    return std::unique_ptr<Client>(std::make_unique<FakeClient>(served));
}

void FakeConnections::postDistributedNotification(const std::string& name) {
    posted_.with([&](auto& posted) { posted.push_back(name); });
    machine_->services.with([&](const auto& services) {
        for (const auto& [unused, served] : services) {
            if (served->process != this) continue;
            served->changeEveryInbox([&](Inbox& inbox) { ++inbox.arrived[name]; });
        }
    });
}

}  // namespace larkspan::platform
