#pragma once

#include "platform/Archives.h"
#include "platform/posix/FileCalls.h"

#include <cstdint>
#include <optional>

namespace larkspan::platform {

// Bounds for what comes out of an archive, which may say anything of itself.
struct UnpackLimits {
    std::optional<std::uint64_t> mostBytes =
        {};  // without it: what the disk has left, less a reserve
    std::uint64_t mostEntries = 1'000'000;
};

// Zip archives by libarchive.
class ZipArchives final : public Archives {
  public:
    // The calls must outlive this.
    explicit ZipArchives(const FileCalls& calls, const UnpackLimits& limits = {})
        : calls_(calls), limits_(limits) {}

    std::optional<Error> pack(const Path& source, const Path& archive,
                              IncludeParent includeParent) override;
    std::optional<Error> unpack(const Path& archive, const Path& folder) override;

  private:
    const FileCalls& calls_;
    UnpackLimits limits_;
};

}  // namespace larkspan::platform
