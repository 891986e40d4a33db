#include "TemporaryHome.h"

#include "kit/Preferences.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"

#include <cstdio>
#include <cstdlib>

namespace larkspan::bench {

TemporaryHome::TemporaryHome(const Value::Dictionary& preferences) {
    std::string folder = "/tmp/larkspan-measure-XXXXXX";
    if (!mkdtemp(folder.data())) {
        std::perror("no temporary folder");
        std::exit(EXIT_FAILURE);
    }
    folder_ = Path(folder);
    for (const char* variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"}) {
        unsetenv(variable);
    }
    setenv("HOME", folder.c_str(), 1);
    system_ = std::make_unique<platform::LinuxPlatform>();
    installed_ = std::make_unique<platform::ScopedPlatform>(system_->platform());
    if (preferences.empty()) return;
    (void)savePropertyList(Value(preferences), *Preferences::frontEndFile());
}

TemporaryHome::~TemporaryHome() {
    ZBLog::discardSharedController();
    (void)system_->platform().files.removeItem(folder_);
}

}  // namespace larkspan::bench
