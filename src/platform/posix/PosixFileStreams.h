#pragma once

#include "platform/FileStreams.h"
#include "platform/posix/FileCalls.h"

namespace larkspan::platform {

class PosixFileStreams final : public FileStreams {
  public:
    // The calls must outlive this.
    explicit PosixFileStreams(const FileCalls& calls) : calls_(calls) {}

    Result<std::unique_ptr<FileStream>> openForReading(const Path& path) override;
    Result<std::unique_ptr<FileStream>> openEmptied(const Path& path) override;
    std::optional<Error> copyAttributes(const Path& source, const Path& target) override;

  private:
    const FileCalls& calls_;
};

}  // namespace larkspan::platform
