#include "discovery/TypeList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;

TEST(TypeList, SplitsExtensions) {
    EXPECT_THAT(typeList(" FCP , prproj\n"), ElementsAre("fcp", "prproj"));
    EXPECT_THAT(typeList(""), ElementsAre(""));
    EXPECT_THAT(typeList("a,,b"), ElementsAre("a", "", "b"));
}

}  // namespace
}  // namespace larkspan
