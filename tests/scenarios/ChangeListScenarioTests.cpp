#include "changes/GoldenFiles.h"
#include "foundation/PropertyList.h"
#include "foundation/Text.h"
#include "platform/linux/LinuxPlatform.h"
#include "support/Programs.h"

#include <filesystem>
#include <map>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

namespace fs = std::filesystem;
using testing::content;
using testing::golden;
using ::testing::HasSubstr;
using testing::readWhole;
using testing::waitFor;
using testing::writeWhole;

using Lists = std::map<std::string, std::string>;

class ChangeListScenarioTest : public ::testing::Test {
  protected:
    // The one cache file that there is; empty when there is none.
    fs::path cacheFile() const {
        std::error_code ignored;
        const Path caches = programs.library() / "Application Support/Corvane/Larkspan/Caches";
        for (const auto& entry : fs::directory_iterator(caches.str(), ignored)) {
            if (entry.path().string().ends_with(".cache.plist")) return entry.path();
        }
        return {};
    }
    // The lists that the cache holds, a sentence a line, by the names of versions.
    Lists cachedLists() const {
        Lists lists;
        const auto cache = parsePropertyList(content(cacheFile()));
        if (!cache || !cache->dictionary()) return lists;
        for (const auto& [name, entry] : *cache->dictionary()) {
            const Value* list = entry.find("changelist");
            if (!list) continue;
            for (const Value& sentence : *list->array()) lists[name] += *sentence.string() + "\n";
        }
        return lists;
    }
    bool waitForLists(size_t count) const {
        return waitFor([&] { return cachedLists().size() >= count; });
    }

    platform::LinuxPlatform system;
    testing::Programs programs{system.platform().processes};
};

// Four states of one real document: what an editor changed from each save to the next is told
// without being asked for.
TEST_F(ChangeListScenarioTest, EverySaveIsToldInSentences) {
    const auto added =
        programs.larkspan({"watch", "add", programs.work().str(), "--extensions", "xml"});
    ASSERT_EQ(added.status, 0) << added.error;
    const auto helper = programs.startHelper();
    const Path project = programs.work() / "Film/Cut.xml";
    writeWhole(project, content(golden("project-to-sequence.old.xml.gz")));
    ASSERT_TRUE(programs.waitForProjects(1)) << programs.log();
    writeWhole(project, content(golden("rewrapped.old.xml.gz")));
    ASSERT_TRUE(programs.waitForVersions("Cut", 1)) << programs.log();
    writeWhole(project, content(golden("rewrapped.new.xml.gz")));
    ASSERT_TRUE(waitForLists(2)) << programs.log();
    writeWhole(project, content(golden("added-audio-track.new.xml")));
    ASSERT_TRUE(waitForLists(3)) << programs.log();
    const Lists expected{{"Cut.00001.xml", "(Base version)\n"},
                         {"Cut.00002.xml", content(golden("rewrapped.txt"))},
                         {"Cut.00003.xml", content(golden("added-audio-track.txt"))}};
    EXPECT_EQ(cachedLists(), expected);

    const auto shown = programs.larkspan({"changes", project.str()});
    EXPECT_EQ(shown.status, 0) << shown.error;
    for (const auto& [name, list] : expected) {
        const std::string lines = list.substr(0, list.size() - 1);
        EXPECT_THAT(shown.output, HasSubstr("\n  " + replacingAll(lines, "\n", "\n  ") + "\n"));
    }
    // The last list was made for one version; all lists made together are the same.
    const Path cache(cacheFile().string());
    ASSERT_TRUE(fs::remove(cache.str()));
    EXPECT_EQ(programs.larkspan({"changes", "Cut"}).output, shown.output);
    EXPECT_EQ(cachedLists(), expected);
    writeWhole(cache, readWhole(cache).substr(0, 1'000));
    EXPECT_EQ(programs.larkspan({"changes", "Cut"}).output, shown.output);
    EXPECT_EQ(cachedLists(), expected);
    helper->terminate();
    EXPECT_EQ(helper->waitUntilExit(), 0);
}

}  // namespace
}  // namespace larkspan
