#include "platform/linux/EventGathering.h"

#include <gtest/gtest.h>

namespace larkspan::platform {
namespace {

TEST(EventGathering, FirstChangeIsDueAtOnceAndLaterOnesWhenTheLatencyHasPassed) {
    EventGathering gathering(Seconds(1));
    EXPECT_EQ(gathering.dueIn(Seconds(50)), std::nullopt);
    gathering.add("/a/", 0);
    EXPECT_EQ(gathering.dueIn(Seconds(50)), Seconds(0));
    (void)gathering.take(Seconds(50));
    EXPECT_EQ(gathering.dueIn(Seconds(50)), std::nullopt);

    gathering.add("/a/", 0);
    EXPECT_EQ(gathering.dueIn(Seconds(50.25)), Seconds(0.75));
    EXPECT_EQ(gathering.dueIn(Seconds(51)), Seconds(0));
    (void)gathering.take(Seconds(51.5));

    // After a quiet period at once again.
    gathering.add("/a/", 0);
    EXPECT_EQ(gathering.dueIn(Seconds(52.5)), Seconds(0));
}

TEST(EventGathering, EachFolderOnceInOrderOfItsFirstChangeWithAllItsFlags) {
    EventGathering gathering(Seconds(1));
    for (const char* folder : {"/b/", "/a/", "/b/"}) gathering.add(folder, 0);
    gathering.add("/a/", FileEventFlag::eventsDropped);
    gathering.add("/a/", FileEventFlag::mustScanSubfolders);
    const auto batch = gathering.take(Seconds(0));
    ASSERT_EQ(batch.size(), 2U);
    EXPECT_EQ(batch[0].path, Path("/b/"));
    EXPECT_EQ(batch[0].flags, 0U);
    EXPECT_EQ(batch[1].path, Path("/a/"));
    EXPECT_EQ(batch[1].flags, 0x05U);
    EXPECT_EQ(batch[1].id, batch[0].id + 1);

    gathering.add("/b/", 0);
    const auto next = gathering.take(Seconds(1));
    ASSERT_EQ(next.size(), 1U);
    EXPECT_GT(next[0].id, batch[1].id);
}

}  // namespace
}  // namespace larkspan::platform
