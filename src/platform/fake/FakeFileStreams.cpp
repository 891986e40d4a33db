#include "platform/fake/FakeFileStreams.h"

#include <cerrno>
#include <limits>

namespace larkspan::platform {
namespace {

constexpr size_t unlimited = std::numeric_limits<size_t>::max();

}  // namespace

class FakeFileStreams::Stream final : public FileStream {
  public:
    Stream(FakeFileStreams& streams, Path path) : streams_(streams), path_(std::move(path)) {}

    Result<size_t> readAt(std::uint64_t position, std::span<char> buffer) override {
        if (streams_.isDue(StreamFault::failedRead, path_)) return posixError(EIO, path_.str());
        auto count = streams_.files_.readPiece(path_, position, buffer);
        if (!count) return count;
        const bool altered = *count > 0 && streams_.isDue(StreamFault::alteredRead, path_);
        if (altered) ++buffer[0];
        return count;
    }

    WriteResult writeAt(std::uint64_t position, std::string_view bytes) override {
        const bool isShort = streams_.isDue(StreamFault::shortWrite, path_);
        const size_t count = isShort ? bytes.size() / 2 : bytes.size();
        if (streams_.files_.writePiece(path_, position, bytes.substr(0, count))) return {0, EIO};
        return {count, isShort ? ENOSPC : 0};
    }

  private:
    FakeFileStreams& streams_;
    Path path_;
};

void FakeFileStreams::plan(StreamFault fault, const Path& path, int n) {
    plans_.with([&](Plans& plans) { plans.left[{path, fault}] = n; });
}

bool FakeFileStreams::isDue(StreamFault fault, const Path& path) {
    return plans_.with([&](Plans& plans) {
        const auto planned = plans.left.find({path, fault});
        return planned != plans.left.end() && --planned->second <= 0;
    });
}

Result<std::unique_ptr<FileStream>> FakeFileStreams::openForReading(const Path& path) {
    const auto content = files_.readFile(path, unlimited);
    if (!content) return content.error();
    return std::unique_ptr<FileStream>(std::make_unique<Stream>(*this, path));
}

Result<std::unique_ptr<FileStream>> FakeFileStreams::openEmptied(const Path& path) {
    if (auto error = files_.writeFileAtomically(path, "")) return *error;
    return std::unique_ptr<FileStream>(std::make_unique<Stream>(*this, path));
}

std::optional<Error> FakeFileStreams::copyAttributes(const Path& source, const Path& target) {
    const auto info = files_.info(source);
    if (!info) return posixError(ENOENT, source.str());
    if (auto error = files_.setPermissions(target, info->permissions)) return error;
    return files_.setModificationDate(target, info->modificationDate);
}

}  // namespace larkspan::platform
