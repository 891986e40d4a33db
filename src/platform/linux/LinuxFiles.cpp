#include "platform/linux/LinuxFiles.h"

#include "platform/linux/LinuxFileCalls.h"

namespace larkspan::platform {
namespace {

const FileCalls& linuxFileCalls() {
    static const LinuxFileCalls calls;
    return calls;
}

}  // namespace

LinuxFiles::LinuxFiles() : PosixFiles(linuxFileCalls()) {}

}  // namespace larkspan::platform
