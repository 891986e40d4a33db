#include "platform/linux/Picture.h"
#include "platform/linux/X11Screen.h"
#include "support/PictureUnderTest.h"

#include <gtest/gtest.h>

namespace larkspan::platform {
namespace {

constexpr PictureForm usual{.largestWidth = 1024, .compressionFactor = 0.7};

RgbPixels filled(PictureSize size, char red, char green, char blue) {
    RgbPixels pixels{.size = size};
    for (int i = 0; i < size.width * size.height; ++i) pixels.bytes.append({red, green, blue});
    return pixels;
}

TEST(StoredSize, KeepsTheProportionsOfWhatIsTooWide) {
    struct Case {
        PictureSize picture;
        PictureSize stored;
    };
    const Case cases[] = {
        {{1024, 768}, {1024, 768}},  {{1025, 768}, {1024, 767}},
        {{800, 6000}, {800, 6000}},  {{1920, 1080}, {1024, 576}},
        {{3840, 1080}, {1024, 288}}, {{2048, 1}, {1024, 1}},
        {{1 << 20, 1}, {1024, 1}},   {{1, 1}, {1, 1}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(storedSize(c.picture, 1024), c.stored) << c.picture.width;
    }
}

TEST(Picture, IsAJpegOfTheStoredSize) {
    const auto wide = jpegOf(filled({2000, 500}, '\x20', '\x80', '\xF0'), usual);
    ASSERT_TRUE(wide);
    const testing::PictureUnderTest picture(*wide);
    EXPECT_EQ(picture.format(), "jpeg");
    EXPECT_EQ(picture.size(), (PictureSize{1024, 256}));
    EXPECT_TRUE(picture.shows(500, 100, 0x2080F0));

    const auto fine =
        jpegOf(filled({40, 30}, 1, 2, 3), {.largestWidth = 1024, .compressionFactor = 1});
    EXPECT_EQ(testing::PictureUnderTest(*fine).size(), (PictureSize{40, 30}));
    // Again, from the file.
    const auto again = jpegOfImage(*wide, {.largestWidth = 512});
    EXPECT_EQ(testing::PictureUnderTest(*again).size(), (PictureSize{512, 128}));
}

TEST(Picture, TheFactorDecidesAboutItsSize) {
    RgbPixels noise{.size = {64, 64}};
    unsigned seed = 1;
    while (noise.bytes.size() < size_t{64} * 64 * 3) {
        seed = seed * 1103515245U + 12345U;
        noise.bytes.push_back(static_cast<char>(seed >> 16));
    }
    const size_t usualSize = jpegOf(noise, usual)->size();
    EXPECT_LT(jpegOf(noise, {.largestWidth = 1024, .compressionFactor = 0.1})->size(), usualSize);
    EXPECT_GT(jpegOf(noise, {.largestWidth = 1024, .compressionFactor = 1})->size(), usualSize);
    EXPECT_EQ(jpegOf(noise, {.largestWidth = 1024, .compressionFactor = 7}),
              jpegOf(noise, {.largestWidth = 1024, .compressionFactor = 1}));
}

TEST(Picture, ThereIsNoneOfWhatIsNoImage) {
    for (const PictureSize size : {PictureSize{}, {2, 2}, {-1, -4}, {1 << 30, 1 << 30}}) {
        EXPECT_FALSE(jpegOf({.size = size, .bytes = "123"}, usual));
    }
    const std::string whole = *jpegOf(filled({8, 8}, 1, 2, 3), usual);
    EXPECT_TRUE(jpegOfImage(whole, usual));
    for (const std::string& file : {std::string(), std::string("text"), whole.substr(0, 20)}) {
        EXPECT_FALSE(jpegOfImage(file, usual)) << file.size();
    }
}

TEST(PixelLayout, FindsTheColoursInEveryOrder) {
    struct Case {
        const char* name;
        std::string bytes;  // of two pixels side by side
        PixelLayout layout;
    };
    const Case cases[] = {
        {"32 bits", {"\x30\x20\x10\0\x33\x22\x11\xFF", 8}, {}},
        {"32 bits, big", {"\0\x10\x20\x30\0\x11\x22\x33", 8}, {.isBigEndian = true}},
        {"24 bits, padded", {"\x30\x20\x10\x33\x22\x11??", 8}, {.bitsPerPixel = 24}},
        {"blue first", {"\x10\x20\x30\0\x11\x22\x33\0", 8}, {.red = 0xFF, .blue = 0xFF0000}},
    };
    for (Case c : cases) {
        c.layout.size = {2, 1};
        const auto pixels = rgbPixels(c.bytes, c.layout);
        ASSERT_TRUE(pixels) << c.name;
        EXPECT_EQ(pixels->bytes, "\x10\x20\x30\x11\x22\x33") << c.name;
        EXPECT_FALSE(rgbPixels(c.bytes.substr(1), c.layout)) << c.name;
    }
    const PixelLayout sixteen{
        .size = {1, 2}, .bitsPerPixel = 16, .red = 0xF800, .green = 0x07E0, .blue = 0x001F};
    EXPECT_EQ(rgbPixels({"\xFF\xFF??\0\xF8??", 8}, sixteen)->bytes,
              std::string("\xFF\xFF\xFF\xFF\0\0", 6));
    const PixelLayout thirty{
        .size = {1, 1}, .red = 0x3FF00000, .green = 0x000FFC00, .blue = 0x000003FF};
    EXPECT_EQ(rgbPixels({"\xFF\x03\x00\x3F", 4}, thirty)->bytes, std::string("\xFB\0\xFF", 3));
}

TEST(PixelLayout, RefusesWhatItDoesNotKnow) {
    const std::string bytes(100, 'x');
    for (const PixelLayout& layout :
         {PixelLayout{}, PixelLayout{.size = {2, -1}},
          PixelLayout{.size = {1, 1}, .bitsPerPixel = 8},
          PixelLayout{.size = {1, 1}, .rowPadding = 0}, PixelLayout{.size = {1, 1}, .red = 0},
          PixelLayout{.size = {1, 1}, .blue = 0xFFFFFFFF}}) {
        EXPECT_FALSE(rgbPixels(bytes, layout));
    }
}

}  // namespace
}  // namespace larkspan::platform
