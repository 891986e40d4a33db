#include "changes/Gzip.h"

#include "foundation/MessageText.h"

#include <algorithm>
#include <limits>

#define ZLIB_CONST
#include <zlib.h>

namespace larkspan {
namespace {

constexpr int gzipOnly = 15 + 16;  // the largest window, and no other wrapping
constexpr size_t firstPiece = size_t{1} << 16;

Error problem(std::string description) {
    return {"GzipErrorDomain", 1, std::move(description)};
}

class Unpacking {
  public:
    explicit Unpacking(std::string_view bytes) {
        stream_.next_in = reinterpret_cast<const Bytef*>(bytes.data());
        stream_.avail_in = static_cast<uInt>(bytes.size());
        isReady_ = inflateInit2(&stream_, gzipOnly) == Z_OK;
    }
    Unpacking(const Unpacking&) = delete;
    Unpacking& operator=(const Unpacking&) = delete;
    ~Unpacking() {
        if (isReady_) (void)inflateEnd(&stream_);
    }

    Result<std::string> run(size_t largestSize) {
        if (!isReady_) return problem("The file cannot be unpacked.");
        std::string unpacked(std::min(firstPiece, largestSize), '\0');
        size_t size = 0;
        while (true) {
            stream_.next_out = reinterpret_cast<Bytef*>(unpacked.data() + size);
            stream_.avail_out = static_cast<uInt>(unpacked.size() - size);
            const int status = inflate(&stream_, Z_NO_FLUSH);
            size = unpacked.size() - stream_.avail_out;
            if (status == Z_STREAM_END) {
                if (stream_.avail_in == 0) break;
                if (inflateReset(&stream_) != Z_OK) return problem("The file cannot be unpacked.");
            } else if (status == Z_OK && stream_.avail_out == 0) {
                if (unpacked.size() >= largestSize) return tooLarge(largestSize);
                unpacked.resize(std::min(unpacked.size() * 2, largestSize));
            } else {
                return problem("The compressed file is torn or damaged.");
            }
        }
        unpacked.resize(size);
        return unpacked;
    }

  private:
    static Error tooLarge(size_t largestSize) {
        return problem(messageText("The file unpacks to more than %li bytes.",
                                   static_cast<long>(largestSize)));
    }

    z_stream stream_ = {};
    bool isReady_ = false;
};

}  // namespace

bool isGzip(std::string_view bytes) {
    return bytes.starts_with("\x1F\x8B");
}

Result<std::string> gunzipped(std::string_view bytes, size_t largestSize) {
    constexpr size_t mostInput = std::numeric_limits<uInt>::max();
    if (bytes.size() > mostInput || largestSize > mostInput) {
        return problem("The file is too large to be unpacked.");
    }
    return Unpacking(bytes).run(largestSize);
}

}  // namespace larkspan
