#pragma once

#include "foundation/Guarded.h"
#include "platform/AppleEvents.h"

#include <functional>
#include <map>

namespace larkspan::platform {

// Hands events to pretended applications, on the sender's thread. References can be made to any
// path that is not declared missing. Any thread.
class FakeAppleEvents final : public AppleEvents {
  public:
    using Answer = Result<std::vector<AppleEventDescriptor>>;
    using Application = std::function<Answer(const AppleEvent& event)>;
    struct Sent {
        AppleEvent event;
        AppleEventSending how;
    };

    Answer send(const AppleEvent& event, const AppleEventSending& how) override;
    std::optional<std::string> fileReference(const Path& path) override;
    std::optional<Path> pathOfFileReference(std::string_view reference) override;

    // What answers the events whose target is that application signature from now on; one without
    // a function is not running.
    void setApplication(const std::string& signature, Application application);
    // The next event fails with that code.
    void failNext(long code);
    // From now on there is nothing at that path.
    void declareMissing(const Path& path);
    // Every event that was sent, also those that failed.
    std::vector<Sent> sent() const;

  private:
    struct Scene {
        std::map<std::string, Application> applications;
        std::vector<Path> references;
        std::vector<Path> missing;
        std::vector<Sent> sent;
        long failure = 0;
    };
    Guarded<Scene> scene_;
};

}  // namespace larkspan::platform
