#include "platform/AppleEvents.h"
#include "platform/linux/LinuxAppleEvents.h"

#include <gtest/gtest.h>

namespace larkspan::platform {
namespace {

TEST(AppleEvents, CodesAndNumbersHaveTheirMostSignificantByteFirst) {
    EXPECT_EQ(static_cast<std::uint32_t>(fourCharCode("KeyG")), 0x4B657947U);
    EXPECT_EQ(bytesOf(fourCharCode("KeyG")), "KeyG");
    EXPECT_EQ(bytesOf(fourCharCode("\xC3\xA9 x")), "\xC3\xA9 x");
    EXPECT_EQ(bigEndianBytes(1), std::string("\0\0\0\1", 4));
    EXPECT_EQ(bigEndianBytes(0xFFFE0001U), std::string("\xFF\xFE\0\1", 4));
}

TEST(AppleEvents, ParametersAreFoundByKeyword) {
    const std::vector<AppleEventDescriptor> parameters = {
        {.data = "one", .keyword = fourCharCode("aaaa")},
        {.data = "two", .keyword = fourCharCode("bbbb")},
        {.data = "three", .keyword = fourCharCode("bbbb")}};
    EXPECT_EQ(findKeyword(parameters, fourCharCode("bbbb"))->data, "two");
    EXPECT_EQ(findKeyword(parameters, fourCharCode("cccc")), nullptr);
    EXPECT_EQ(findKeyword({}, fourCharCode("aaaa")), nullptr);
}

TEST(LinuxAppleEvents, NobodyTakesThem) {
    LinuxAppleEvents events;
    const auto answer = events.send({.target = {.type = fourCharCode("sign"), .data = "KeyG"}}, {});
    ASSERT_FALSE(answer);
    EXPECT_TRUE(answer.error().is(appleEventErrorDomain, eventNotSent));
    EXPECT_EQ(answer.error().description, "The application KeyG is not running.");
    EXPECT_EQ(events.fileReference(Path("/")), std::nullopt);
    EXPECT_EQ(events.pathOfFileReference(std::string(80, 'x')), std::nullopt);
}

}  // namespace
}  // namespace larkspan::platform
