#include "platform/fake/FakeFileEvents.h"
#include "platform/fake/FakeMainThread.h"
#include "platform/linux/LinuxFileEvents.h"
#include "platform/linux/LinuxMainThread.h"
#include "support/Pump.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include <gmock/gmock.h>

namespace larkspan::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct FakeScene {
    FakeClock clock;
    FakeMainThread mainThread{clock};
    FakeFileEvents fileEvents{mainThread};

    Path folder(const std::string& name) { return Path("/watched") / name; }
    void changeIn(const Path& folder) { fileEvents.reportChange(folder); }
    Path unwatchable() {
        fileEvents.setProblem(Path("/away"), "The folder is not there.");
        return Path("/away");
    }
};

// All is watched when start() returns, also on a busy machine.
FileEventsOptions patient() {
    FileEventsOptions options;
    options.startWait = std::chrono::seconds(30);
    return options;
}

struct LinuxScene {
    testing::TemporaryFolder top;
    LinuxMainThread mainThread;
    LinuxFileEvents fileEvents{mainThread, patient()};
    int changes = 0;

    Path folder(const std::string& name) {
        Path path = top.path() / name;
        std::filesystem::create_directories(path.str());
        return path;
    }
    // A new link is exactly one event of the system.
    void changeIn(const Path& folder) {
        const std::string name = "change" + std::to_string(++changes);
        std::filesystem::create_symlink("nowhere", (folder / name).str());
    }
    Path unwatchable() { return top.path() / "away"; }
};

using Batches = std::vector<std::vector<FileEvent>>;

template <class Scene>
class FileEventsContract : public ::testing::Test {
  protected:
    static constexpr Seconds latency = std::chrono::milliseconds(20);

    std::unique_ptr<FileEvents::Stream> start(std::vector<Path> roots, Batches& into,
                                              ExcludedTrees excluded = {}) {
        return scene.fileEvents.start(
            std::move(roots), latency,
            [&](const auto& events) {
                EXPECT_TRUE(scene.mainThread.isCurrent());
                into.push_back(events);
            },
            std::move(excluded));
    }
    static std::vector<std::string> paths(const Batches& arrived) {
        std::vector<std::string> paths;
        for (const auto& batch : arrived) {
            for (const FileEvent& event : batch) paths.push_back(event.path.str());
        }
        return paths;
    }
    // Serves the main thread until the folder is reported.
    bool reported(const Batches& arrived, const Path& folder) {
        return testing::pumpUntil(scene.mainThread, [&] {
            const auto all = paths(arrived);
            return std::find(all.begin(), all.end(), folder.str() + '/') != all.end();
        });
    }

    Scene scene;
    Batches batches;
};

using Scenes = ::testing::Types<FakeScene, LinuxScene>;
TYPED_TEST_SUITE(FileEventsContract, Scenes);

TYPED_TEST(FileEventsContract, NothingIsReportedOfExcludedTrees) {
    const Path root = this->scene.folder("root");
    const Path store = this->scene.folder("root/a/Store");
    const Path hidden = this->scene.folder("root/a/.hidden/below");
    const Path namesake = this->scene.folder("root/b/Store");
    const Path hiddenRoot = this->scene.folder(".projects");
    Batches arrived;
    const auto stream = this->start({root, hiddenRoot}, arrived,
                                    {.paths = {store}, .isExcludedName = [](std::string_view name) {
                                         return name.starts_with('.');
                                     }});
    for (const Path& folder : {store, hidden, namesake, hiddenRoot}) this->scene.changeIn(folder);
    EXPECT_TRUE(this->reported(arrived, hiddenRoot)) << "a root is watched";
    EXPECT_TRUE(this->reported(arrived, namesake));
    for (const std::string& path : this->paths(arrived)) {
        EXPECT_FALSE(Path(path).isWithin(store)) << path;
        EXPECT_EQ(path.find(".hidden"), std::string::npos) << path;
    }
}

TYPED_TEST(FileEventsContract, ReportsChangedFoldersInOrderEachOnceInABatch) {
    const Path a = this->scene.folder("a");
    const Path b = this->scene.folder("a/b");
    const auto stream = this->start({a}, this->batches);
    for (const Path& folder : {b, a, b, b, a}) this->scene.changeIn(folder);
    ASSERT_TRUE(this->reported(this->batches, a));
    EXPECT_EQ(this->paths(this->batches).front(), b.str() + '/');

    std::uint64_t lastId = 0;
    for (const auto& batch : this->batches) {
        std::set<Path> seen;
        for (const FileEvent& event : batch) {
            EXPECT_TRUE(seen.insert(event.path).second) << event.path;
            EXPECT_GT(event.id, lastId);
            EXPECT_EQ(event.flags, 0U);
            lastId = event.id;
        }
    }
}

TYPED_TEST(FileEventsContract, ReportsOnlyWhatLiesBelowTheRoots) {
    const Path inside = this->scene.folder("inside");
    const Path beside = this->scene.folder("inside too");
    Batches nothing;
    const auto empty = this->start({}, nothing);
    const auto stream = this->start({Path(inside.str() + '/')}, this->batches);
    this->scene.changeIn(beside);
    this->scene.changeIn(inside);
    ASSERT_TRUE(this->reported(this->batches, inside));
    EXPECT_THAT(this->paths(this->batches), ElementsAre(inside.str() + '/'));
    EXPECT_THAT(empty->roots(), IsEmpty());
    EXPECT_THAT(nothing, IsEmpty());
}

TYPED_TEST(FileEventsContract, ReportsOnceUnderRootsThatOverlap) {
    const Path outer = this->scene.folder("outer");
    const Path inner = this->scene.folder("outer/inner");
    const Path last = this->scene.folder("outer/last");
    for (const auto& roots : {std::vector{outer, inner, outer}, std::vector{inner, outer}}) {
        this->batches.clear();
        const auto stream = this->start(roots, this->batches);
        this->scene.changeIn(inner);
        ASSERT_TRUE(this->reported(this->batches, inner));
        this->scene.changeIn(last);
        ASSERT_TRUE(this->reported(this->batches, last));
        EXPECT_THAT(this->paths(this->batches), ElementsAre(inner.str() + '/', last.str() + '/'));
    }
}

TYPED_TEST(FileEventsContract, CallsBackNoMoreOnceDestroyed) {
    const Path folder = this->scene.folder("folder");
    const Path last = this->scene.folder("last");
    Batches ended;
    auto stream = this->start({folder}, ended);
    const auto other = this->start({folder, last}, this->batches);
    this->scene.changeIn(folder);
    stream.reset();
    ASSERT_TRUE(this->reported(this->batches, folder));
    EXPECT_THAT(ended, IsEmpty());

    int calls = 0;
    stream = this->scene.fileEvents.start({folder}, this->latency,
                                          [&](const auto&) {
                                              ++calls;
                                              stream.reset();
                                          },
                                          {});
    this->scene.changeIn(folder);
    ASSERT_TRUE(testing::pumpUntil(this->scene.mainThread, [&] { return calls > 0; }));
    this->scene.changeIn(folder);
    this->scene.changeIn(last);
    ASSERT_TRUE(this->reported(this->batches, last));
    EXPECT_EQ(calls, 1);
}

TYPED_TEST(FileEventsContract, TellsWhichRootsAreWatched) {
    const Path present = this->scene.folder("present");
    const Path absent = this->scene.unwatchable();
    const auto stream = this->start({absent, present}, this->batches);
    const auto roots = stream->roots();
    ASSERT_EQ(roots.size(), 2U);
    EXPECT_EQ(roots[0].path, absent);
    EXPECT_FALSE(roots[0].watched);
    EXPECT_NE(roots[0].problem, "");
    EXPECT_EQ(roots[1].path, present);
    EXPECT_TRUE(roots[1].watched);
    EXPECT_EQ(roots[1].problem, "");
    EXPECT_EQ(roots[1].notice, "");
}

}  // namespace
}  // namespace larkspan::platform
