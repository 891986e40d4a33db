#include "changes/Gzip.h"

#include <string>

#include <gtest/gtest.h>
#define ZLIB_CONST
#include <zlib.h>

namespace larkspan {
namespace {

std::string gzip(const std::string& text) {
    z_stream stream = {};
    constexpr int gzipWrapping = 15 + 16;
    EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, gzipWrapping, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string packed(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<const Bytef*>(text.data());
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(stream.total_out);
    EXPECT_EQ(deflateEnd(&stream), Z_OK);
    return packed;
}

TEST(GzipTest, GivesBackWhatWasPacked) {
    constexpr size_t plenty = 10'000'000;
    for (const std::string& text :
         {std::string(), std::string("a"), std::string(65'536, 'x'), std::string(5'000'000, 'y')}) {
        const auto unpacked = gunzipped(gzip(text), plenty);
        ASSERT_TRUE(unpacked) << text.size();
        EXPECT_EQ(*unpacked, text);
    }
    const auto parts = gunzipped(gzip("one ") + gzip("two"), plenty);
    ASSERT_TRUE(parts);
    EXPECT_EQ(*parts, "one two");
}

TEST(GzipTest, StopsAtTheLargestSize) {
    EXPECT_FALSE(gunzipped(gzip(std::string(1'000'001, 'x')), 1'000'000));
    EXPECT_FALSE(gunzipped(gzip("ab"), 1));
    EXPECT_FALSE(gunzipped(gzip("ab"), 0));
    EXPECT_TRUE(gunzipped(gzip(std::string(999'999, 'x')), 1'000'000));
}

TEST(GzipTest, RefusesWhatIsTornOrDamaged) {
    const std::string packed = gzip("a project that is long enough to be packed in several bytes");
    for (size_t size = 0; size < packed.size(); ++size) {
        EXPECT_FALSE(gunzipped(packed.substr(0, size), 1'000)) << size;
    }
    std::string damaged = packed;
    damaged[packed.size() / 2] = static_cast<char>(~damaged[packed.size() / 2]);
    EXPECT_FALSE(gunzipped(damaged, 1'000));
    EXPECT_FALSE(gunzipped(packed + "more", 1'000));
    EXPECT_TRUE(isGzip(packed));
    EXPECT_FALSE(isGzip("<xmeml/>"));
    EXPECT_FALSE(isGzip(""));
}

}  // namespace
}  // namespace larkspan
