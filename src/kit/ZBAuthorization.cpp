#include "kit/ZBAuthorization.h"
namespace larkspan {
ZBAuthorization& ZBAuthorization::sharedController() {
    static ZBAuthorization one;
    return one;
}
bool ZBAuthorization::isAuthorized() const {
    return false;
}
bool ZBAuthorization::authCreateDir(const Path&) {
    return false;
}
}  // namespace larkspan
