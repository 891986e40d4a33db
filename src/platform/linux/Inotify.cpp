#include "platform/linux/Inotify.h"

#include <cerrno>
#include <cstddef>

namespace larkspan::platform {
namespace {

constexpr size_t bufferSize = 64UL * 1024;
// So many full buffers at most before the caller gets to deliver what they held.
constexpr int mostReads = 16;

}  // namespace

Inotify::Inotify(const InotifyCalls& calls)
    : calls_(calls), descriptor_(calls.open()), buffer_(new char[bufferSize]) {}

int Inotify::watch(const std::string& path, std::uint32_t mask) {
    if (!isOpen()) return -EMFILE;
    const int watch = calls_.addWatch(descriptor_.get(), path.c_str(), mask);
    return watch < 0 ? -errno : watch;
}

void Inotify::forget(int watch) {
    if (isOpen()) inotify_rm_watch(descriptor_.get(), watch);
}

bool Inotify::read(const std::function<void(const InotifyEvent&)>& handle) {
    for (int reads = 0; reads < mostReads; ++reads) {
        const ssize_t got = ::read(descriptor_.get(), buffer_.get(), bufferSize);
        if (got <= 0) return false;
        const auto end = static_cast<size_t>(got);
        for (size_t at = 0; at < end;) {
            // The system aligns every event; so is the buffer.
            const auto* event = reinterpret_cast<const inotify_event*>(buffer_.get() + at);
            // The name is padded with zero bytes.
            handle({event->wd, event->mask,
                    event->len > 0 ? std::string_view(event->name) : std::string_view()});
            at += sizeof(inotify_event) + event->len;
        }
        if (end < bufferSize / 2) return false;
    }
    return true;
}

}  // namespace larkspan::platform
