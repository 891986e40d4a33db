#include "platform/posix/SharedLibrary.h"

#include <dlfcn.h>

namespace larkspan::platform {

SharedLibrary::SharedLibrary(const char* name)
    : handle_(::dlopen(name, RTLD_NOW | RTLD_LOCAL)), isComplete_(handle_ != nullptr) {}

void* SharedLibrary::address(const char* name) {
    void* const found = handle_ ? ::dlsym(handle_, name) : nullptr;
    if (!found) isComplete_ = false;
    return found;
}

}  // namespace larkspan::platform
