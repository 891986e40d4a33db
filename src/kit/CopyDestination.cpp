#include "kit/CopyDestination.h"

#include "kit/ConsoleReport.h"

#include <algorithm>

namespace larkspan {
namespace {

// What streams tell of their state: whether anything ever failed.
constexpr int errorIndicator = 1;

void reportSeekFailure(const Path& path, std::uint64_t before, size_t size, int errorNumber) {
    reportToConsole("Error: unable to seek within file %@", path);
    reportToConsole("cur pos: %llu", before);
    reportToConsole("read size: %i", static_cast<int>(size));
    reportToConsole("errno: %i", errorNumber);
    reportToConsole("err: %i", errorIndicator);
}

}  // namespace

CopyDestination::CopyDestination(Path path, std::unique_ptr<platform::FileStream> stream,
                                 bool isVerified)
    : path_(std::move(path)), stream_(std::move(stream)), isVerified_(isVerified) {}

void CopyDestination::add(std::string_view bytes, std::uint64_t before,
                          const std::optional<Digest>& sourceDigest) {
    if (!digest_ && addWhole(bytes)) return;
    // Something is wrong in this piece: it is gone through chunk by chunk, as the messages and the
    // checksum of what is there want it.
    if (!digest_) digest_ = sourceDigest;
    while (!bytes.empty()) {
        const std::string_view chunk = bytes.substr(0, copyChunkSize);
        addChunk(chunk, before);
        before += chunk.size();
        bytes.remove_prefix(chunk.size());
    }
}

// False, with nothing changed but the bytes on disk, when it did not go well.
bool CopyDestination::addWhole(std::string_view bytes) {
    if (stream_->writeAt(position_, bytes).written < bytes.size()) return false;
    if (isVerified_) {
        readBack_.resize(std::max(readBack_.size(), bytes.size()));
        const std::span<char> buffer(readBack_.data(), bytes.size());
        const auto count = stream_->readAt(position_, buffer);
        if (!count || *count != bytes.size()) return false;
        if (std::string_view(buffer.data(), buffer.size()) != bytes) return false;
    }
    position_ += bytes.size();
    return true;
}

void CopyDestination::addChunk(std::string_view chunk, std::uint64_t before) {
    const platform::WriteResult result = stream_->writeAt(position_, chunk);
    if (result.written < chunk.size()) {
        reportToConsole("Error writing file %@: %i", path_, errorIndicator);
    }
    if (isVerified_) {
        readBack_.resize(std::max(readBack_.size(), chunk.size()));
        const auto count = stream_->readAt(position_, {readBack_.data(), chunk.size()});
        if (!count)
            reportSeekFailure(path_, before, chunk.size(), static_cast<int>(count.error().code));
        if (digest_) digest_->add({readBack_.data(), count ? *count : 0});
    }
    position_ += result.written;
}

}  // namespace larkspan
