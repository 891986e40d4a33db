#pragma once

#include "foundation/Guarded.h"
#include "platform/FileStreams.h"
#include "platform/fake/FakeFiles.h"

#include <map>

namespace larkspan::platform {

enum class StreamFault { shortWrite, failedRead, alteredRead };

// Streams of the files in memory. Each call can be made to go wrong: a short write takes half of
// the bytes and gives ENOSPC, a failed read gives EIO, an altered read another first byte than is
// in the file.
class FakeFileStreams final : public FileStreams {
  public:
    // The files must outlive this.
    explicit FakeFileStreams(FakeFiles& files) : files_(files) {}

    // The n-th write, or read, of that file from now (1: the next) goes wrong, and all after it.
    void plan(StreamFault fault, const Path& path, int n);

    Result<std::unique_ptr<FileStream>> openForReading(const Path& path) override;
    Result<std::unique_ptr<FileStream>> openEmptied(const Path& path) override;
    std::optional<Error> copyAttributes(const Path& source, const Path& target) override;

  private:
    class Stream;
    struct Plans {
        std::map<std::pair<Path, StreamFault>, int> left;  // calls until it goes wrong
    };
    bool isDue(StreamFault fault, const Path& path);

    FakeFiles& files_;
    Guarded<Plans> plans_;
};

}  // namespace larkspan::platform
