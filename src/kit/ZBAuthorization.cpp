#include "kit/ZBAuthorization.h"

#include "kit/ZBTaskEx.h"
#include "platform/Console.h"
#include "platform/Platform.h"
#include "platform/StandardPlaces.h"

namespace larkspan {

ZBAuthorization& ZBAuthorization::sharedController() {
    static ZBAuthorization controller;
    return controller;
}

bool ZBAuthorization::isAuthorized() const {
    return platform::Platform::current().places.userID() == 0;
}

bool ZBAuthorization::authCreateDir(const Path& path) {
    if (!isAuthorized()) {
        platform::Platform::current().console.report("Unable to authorize");
        return false;
    }
    ZBTaskEx::runTaskAndReturn(Path("/bin/mkdir"), {"-p", path.str()});
    return true;
}

}  // namespace larkspan
