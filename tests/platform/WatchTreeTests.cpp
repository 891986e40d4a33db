#include "platform/linux/WatchTree.h"

#include <map>
#include <random>
#include <string>

#include <gmock/gmock.h>

namespace larkspan::platform {
namespace {

constexpr int firstRoot = WatchTree::rootParent(0);

TEST(WatchTree, KnowsPathsAndPlaces) {
    WatchTree tree({"/r/", "/"});
    // 255 characters of four bytes, and more.
    const std::string longest(1500, '\xff');
    tree.insert(1, firstRoot, "");
    tree.insert(2, 1, "a\nb");
    tree.insert(700, 2, longest);
    tree.insert(3, WatchTree::rootParent(1), "");
    tree.insert(4, 3, "x");
    EXPECT_EQ(tree.path(1), "/r/");
    EXPECT_EQ(tree.path(700), "/r/a\nb/" + longest + "/");
    EXPECT_EQ(tree.path(4), "/x/");
    EXPECT_EQ(tree.rootOf(700), 0U);
    EXPECT_EQ(tree.rootOf(WatchTree::rootParent(1)), 1U);
    EXPECT_EQ(tree.child(1, "a\nb"), 2);
    EXPECT_EQ(tree.child(1, "a"), 0);
    EXPECT_TRUE(tree.isWithin(700, 1));
    EXPECT_FALSE(tree.isWithin(1, 700));
    for (const int unknown : {-1, 0, 5, 600, 100'000}) EXPECT_FALSE(tree.contains(unknown));

    tree.move(2, 4, "moved");
    EXPECT_EQ(tree.path(700), "/x/moved/" + longest + "/");
    EXPECT_EQ(tree.rootOf(700), 1U);
    EXPECT_THAT(tree.subtree(3), ::testing::ElementsAre(3, 4, 2, 700));
    EXPECT_THAT(tree.subtree(1), ::testing::ElementsAre(1));
}

// Thousands of arrivals, moves and departures against a plain model; names are packed meanwhile.
TEST(WatchTree, AgreesWithAPlainModelThroughManyChanges) {
    struct Place {
        int parent;
        std::string name;
    };
    WatchTree tree({"/"});
    std::map<int, Place> model;
    std::mt19937 random(7);  // NOLINT: the same row every time
    tree.insert(1, firstRoot, "");
    model[1] = {firstRoot, ""};
    const auto any = [&] {
        return std::next(model.begin(), static_cast<long>(random() % model.size()))->first;
    };
    for (int folder = 2; folder < 4'000; ++folder) {
        const int parent = any();
        // Some just below and above 255 bytes.
        const size_t length = folder % 10 == 0 ? 240 + random() % 30 : random() % 60;
        const std::string name = std::string(length, 'n') + std::to_string(folder);
        tree.insert(folder, parent, name);
        model[folder] = {parent, name};
        if (const int moved = any(); moved != 1 && !tree.isWithin(parent, moved)) {
            tree.move(moved, parent, name + "'");
            model[moved] = {parent, name + "'"};
        }
        if (const int gone = any(); gone != 1 && tree.subtree(gone).size() == 1) {
            tree.erase(gone);
            model.erase(gone);
        }
    }
    EXPECT_EQ(tree.size(), model.size());
    for (const auto& [folder, place] : model) {
        ASSERT_TRUE(tree.isAt(folder, place.parent, place.name)) << folder;
    }
    EXPECT_EQ(tree.subtree(1).size(), model.size());
}

}  // namespace
}  // namespace larkspan::platform
