#include "platform/fake/FakeAppleEvents.h"

#include "foundation/Text.h"

#include <algorithm>
#include <utility>

namespace larkspan::platform {
namespace {

constexpr size_t referenceLength = 80;
constexpr std::string_view referenceMark = "FakeFileReference ";

bool isApplication(const AppleEventDescriptor& target) {
    return target.type == fourCharCode("sign") && target.data.size() == 4;
}

}  // namespace

FakeAppleEvents::Answer FakeAppleEvents::send(const AppleEvent& event,
                                              const AppleEventSending& how) {
    Application application;
    const long failure = scene_.with([&](Scene& scene) {
        scene.sent.push_back({.event = event, .how = how});
        const auto found = scene.applications.find(event.target.data);
        if (isApplication(event.target) && found != scene.applications.end()) {
            application = found->second;
        }
        return std::exchange(scene.failure, 0L);
    });
    if (failure != 0) return Error{appleEventErrorDomain, failure, "made to fail"};
    if (!application) return Error{appleEventErrorDomain, eventNotSent, "not running"};
    return application(event);
}

std::optional<std::string> FakeAppleEvents::fileReference(const Path& path) {
    return scene_.with([&](Scene& scene) -> std::optional<std::string> {
        if (std::ranges::find(scene.missing, path) != scene.missing.end()) return std::nullopt;
        const auto found = std::ranges::find(scene.references, path);
        const auto index = found - scene.references.begin();
        if (found == scene.references.end()) scene.references.push_back(path);
        std::string reference = std::string(referenceMark) + std::to_string(index);
        reference.resize(referenceLength);
        return reference;
    });
}

std::optional<Path> FakeAppleEvents::pathOfFileReference(std::string_view reference) {
    if (reference.size() != referenceLength || !reference.starts_with(referenceMark)) {
        return std::nullopt;
    }
    reference.remove_prefix(referenceMark.size());
    const auto index = static_cast<size_t>(integerValue(reference));
    return scene_.with([&](const Scene& scene) -> std::optional<Path> {
        if (index >= scene.references.size()) return std::nullopt;
        const Path& path = scene.references[index];
        if (std::ranges::find(scene.missing, path) != scene.missing.end()) return std::nullopt;
        return path;
    });
}

void FakeAppleEvents::setApplication(const std::string& signature, Application application) {
    scene_.with([&](Scene& scene) { scene.applications[signature] = std::move(application); });
}

void FakeAppleEvents::failNext(long code) {
    scene_.with([&](Scene& scene) { scene.failure = code; });
}

void FakeAppleEvents::declareMissing(const Path& path) {
    scene_.with([&](Scene& scene) { scene.missing.push_back(path); });
}

std::vector<FakeAppleEvents::Sent> FakeAppleEvents::sent() const {
    return scene_.with([](const Scene& scene) { return scene.sent; });
}

}  // namespace larkspan::platform
