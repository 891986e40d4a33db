#include "soak/Faults.h"

#include <new>
#include <stdexcept>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace larkspan::soak {

Faults::Faults(const std::filesystem::path& root) {
    const std::string file = root / faultFileName;
    const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0 || ::ftruncate(descriptor, sizeof(FaultControl)) != 0) {
        throw std::runtime_error("no file for the faults");
    }
    void* const memory =
        ::mmap(nullptr, sizeof(FaultControl), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    if (memory == MAP_FAILED) throw std::runtime_error("the file for the faults cannot be mapped");
    control_ = new (memory) FaultControl{};
    endFailures();
}

Faults::~Faults() {
    ::munmap(control_, sizeof(FaultControl));
}

void Faults::endFailures() {
    control_->failingPerMille = 0;
    control_->room = -1;
}

std::string Faults::library() {
    return LARKSPAN_BUILD_DIR "/tests/liblarkspan_faults.so";
}

}  // namespace larkspan::soak
