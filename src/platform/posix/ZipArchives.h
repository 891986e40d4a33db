#pragma once

#include "platform/Archives.h"
#include "platform/posix/FileCalls.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace larkspan::platform {

// Bounds for what comes out of an archive, which may say anything of itself. What is packed keeps
// to those of entries and links, so that it can be unpacked.
struct ArchiveLimits {
    // Without it: what the disk has left, less a reserve.
    std::optional<std::uint64_t> mostBytes = {};
    std::uint64_t mostEntries = 1'000'000;
    size_t mostLinkBytes = size_t{16} * 1024 * 1024;  // of all texts of links, kept in memory
};

// Zip archives by libarchive.
class ZipArchives final : public Archives {
  public:
    // The calls must outlive this.
    explicit ZipArchives(const FileCalls& calls, const ArchiveLimits& limits = {})
        : calls_(calls), limits_(limits) {}

    static std::unique_ptr<Archives> make(const FileCalls& calls) {
        return std::make_unique<ZipArchives>(calls);
    }

    std::optional<Error> pack(const Path& source, const Path& archive,
                              IncludeParent includeParent) override;
    std::optional<Error> unpack(const Path& archive, const Path& folder) override;

  private:
    const FileCalls& calls_;
    ArchiveLimits limits_;
};

}  // namespace larkspan::platform
