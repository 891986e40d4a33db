#pragma once

#include "foundation/Digest.h"
#include "foundation/Path.h"
#include "platform/FileStreams.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// A copy is made in chunks of so many bytes: that is what its messages speak of.
inline constexpr size_t copyChunkSize = 32768;

// One destination of a copy. Verified, it reads back every piece where it was written. As long as
// that is what was to be written, its checksum is the source's and is not computed a second time;
// at the first difference it goes ways of its own.
class CopyDestination {
  public:
    CopyDestination(Path path, std::unique_ptr<platform::FileStream> stream, bool isVerified);

    // Writes the next piece of the source. `before` are the bytes of the source before it and
    // `sourceDigest` the digest of those. Failures are reported on the system console.
    void add(std::string_view bytes, std::uint64_t before,
             const std::optional<Digest>& sourceDigest);
    void close() { stream_.reset(); }

    const Path& path() const { return path_; }
    // Of what was read back. `sourceDigest` is that of the whole source.
    std::string checksum(const Digest& sourceDigest) const {
        return digest_ ? digest_->hexadecimal() : sourceDigest.hexadecimal();
    }

  private:
    bool addWhole(std::string_view bytes);
    void addChunk(std::string_view chunk, std::uint64_t before);

    Path path_;
    std::unique_ptr<platform::FileStream> stream_;
    bool isVerified_;
    std::vector<char> readBack_;
    std::uint64_t position_ = 0;    // where the next chunk goes
    std::optional<Digest> digest_;  // from the first difference on
};

}  // namespace larkspan
