#include "kit/ZBBugReporter.h"

#include "kit/Preferences.h"
#include "platform/Clock.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

// A stamp that cannot be written is not reported: the program runs as well without it.
void stamp(const char* key) {
    const auto file = Preferences::ownDefaultsFile();
    if (file) (void)Preferences::setObject(*file, key, platform::Platform::current().clock.now());
}

}  // namespace

void ZBBugReporter::startBugReporter() {
    stamp("launch");
}
void ZBBugReporter::stopBugReporter() {
    stamp("exit");
}

}  // namespace larkspan
