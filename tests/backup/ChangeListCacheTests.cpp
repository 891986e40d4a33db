#include "backup/ChangeListCache.h"
#include "changes/GoldenFiles.h"
#include "foundation/PropertyList.h"
#include "kit/Identifiers.h"
#include "support/StoreTest.h"

#include <atomic>
#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using testing::content;
using ::testing::ElementsAre;
using testing::golden;
using ::testing::IsEmpty;
using ::testing::Not;

class RecordingDelegate final : public ChangeListDelegate {
  public:
    void versionsToBeLoaded(size_t count) override { calls.push_back(std::to_string(count)); }
    void changeLogReady(const Value::Dictionary& entry) override {
        calls.push_back(*entry.at("version").string());
    }
    void loadingFinished() override { calls.emplace_back("finished"); }

    std::vector<std::string> calls;
};

class RecordingInterface final : public ChangeListInterface {
  public:
    void showAlert(const std::string& messageText, const std::string& informativeText) override {
        alerts.push_back(messageText + ": " + informativeText);
    }

    std::vector<std::string> alerts;
};

class ChangeListCacheTest : public testing::StoreTest {
  protected:
    ChangeListCacheTest() {
        fake.applications.install(frontEndBundleIdentifier, bundle);
        setFormat("7");
        addRendition(1, "Cut");
        addRendition(2, "Cut", 2h);
    }
    void setFormat(const std::string& format) {
        const Value info = Value::Dictionary{{"ZBCacheVersion", format}};
        ASSERT_FALSE(savePropertyList(info, bundle / "Contents/Info.plist"));
    }
    // A version with its rendition, whose sequence has that name.
    void addRendition(long number, const std::string& sequence, Seconds age = 3h) {
        const std::string name = "Cut." + padNumber({number});
        const std::string xml = "<xmeml><sequence id='s'><uuid>U</uuid><name>" + sequence +
                                "</name></sequence></xmeml>";
        writeFile(versions / (name + ".fcp"), "v" + std::to_string(number), ago(age));
        writeFile(versions / (name + ".xml"), xml, ago(age));
    }
    std::vector<std::string> changesOf(const Value::Dictionary& cached, const std::string& name) {
        std::vector<std::string> sentences;
        const auto entry = cached.find(name);
        const Value* list = entry == cached.end() ? nullptr : entry->second.find("changelist");
        if (!list) return {"(missing)"};
        for (const Value& sentence : *list->array()) sentences.push_back(*sentence.string());
        return sentences;
    }
    Value::Dictionary stored() {
        const auto loaded = loadPropertyList(file);
        return loaded ? *loaded->dictionary() : Value::Dictionary();
    }
    ChangeListSurroundings surroundings() const {
        return {.cacheFolder = storelayout::cacheFolder,
                .cacheFile = storelayout::cacheFile,
                .annotationForFile = ChangeListCache::annotationForFile,
                .currentBundlePath = ZBLarkspanBackup::currentBundlePath};
    }

    const Path bundle{"/Applications/Larkspan.app"};
    const Path versions = versionsOf("A");
    const Path file = storelayout::cacheFile(*storelayout::cacheFolder(), folderOf("A"));
    ChangeListDriver driver{surroundings()};
    ChangeListCache cache{driver};
};

TEST_F(ChangeListCacheTest, MakesEverythingOnceAndThenOnlyWhatIsNew) {
    const auto first = cache.cacheForProject(folderOf("A"));
    ASSERT_TRUE(first);
    EXPECT_EQ(stored(), *first);
    EXPECT_THAT(changesOf(*first, "Cut.00001.xml"), ElementsAre("(Base version)"));
    EXPECT_THAT(changesOf(*first, "Cut.00002.xml"), ElementsAre("No change"));
    EXPECT_FALSE(first->contains("Cut.00001.fcp"));
    EXPECT_TRUE(driver.processingCancelled);

    Value::Dictionary marked = *first;
    marked["Cut.00002.xml"] = Value::Dictionary{{"changelist", Value::Array{"As it was"}}};
    ASSERT_FALSE(savePropertyList(Value(marked), file));
    addRendition(3, "Other", 1h);
    const auto delegate = std::make_shared<RecordingDelegate>();
    const auto second = cache.cacheForProject(folderOf("A"), delegate);
    EXPECT_THAT(changesOf(*second, "Cut.00002.xml"), ElementsAre("As it was"));
    EXPECT_THAT(changesOf(*second, "Cut.00003.xml"), Not(Contains("No change")));
    EXPECT_EQ(stored(), *second);
    fake.mainThread.runPosted();
    EXPECT_THAT(delegate->calls, ElementsAre("6", "finished", "00003"));
}

TEST_F(ChangeListCacheTest, AnotherFormatStartsAfresh) {
    ASSERT_TRUE(cache.cacheForProject(folderOf("A")));
    Value::Dictionary old = stored();
    old["Cut.00009.xml"] = Value::Dictionary();
    ASSERT_FALSE(savePropertyList(Value(old), file));
    ASSERT_TRUE(cache.cacheForProject(folderOf("A")));
    EXPECT_TRUE(stored().contains("Cut.00009.xml"));
    setFormat("8");
    const auto made = cache.cacheForProject(folderOf("A"));
    EXPECT_FALSE(made->contains("Cut.00009.xml"));
    EXPECT_EQ(made->at("version"), Value("8"));
    EXPECT_THAT(loggedLines(), Contains("Cache version does not match. Resetting cache..."));
    writeFile(file, "torn <plist>");
    EXPECT_EQ(cache.cacheForProject(folderOf("A")), made);
}

TEST_F(ChangeListCacheTest, NotesAreShownAtOnceAndStoredWithTheNextEntry) {
    ASSERT_TRUE(cache.cacheForProject(folderOf("A")));
    const Value notes = Value::Dictionary{{"Cut.00001.xml", "for the client"}};
    ASSERT_FALSE(savePropertyList(notes, folderOf("A") / "Annotations.plist"));
    const auto shown = cache.cacheForProject(folderOf("A"));
    EXPECT_EQ(*shown->at("Cut.00001.xml").find("annotation"), Value("for the client"));
    EXPECT_EQ(stored().at("Cut.00001.xml").find("annotation"), nullptr);
    addRendition(3, "Other", 1h);
    ASSERT_TRUE(cache.cacheForProject(folderOf("A")));
    EXPECT_NE(stored().at("Cut.00001.xml").find("annotation"), nullptr);
    EXPECT_EQ(ChangeListCache::annotationForFile(versions / "Cut.00002.xml"), std::nullopt);
}

TEST_F(ChangeListCacheTest, ProjectsWithoutRenditionsAreHandedOverWhole) {
    for (const char* name : {"Film.00001.prproj", "Film.00002.prproj"}) {
        writeFile(versionsOf("B") / name, "same");
    }
    const auto made = cache.cacheForProject(folderOf("B"));
    EXPECT_THAT(changesOf(*made, "Film.00001.prproj"), IsEmpty());
    EXPECT_EQ(*made->at("Film.00002.prproj").find("type"), Value("doc"));
}

TEST_F(ChangeListCacheTest, AFolderThatCannotBeMadeIsToldAsItFits) {
    fake.faults.refusePath(*storelayout::cacheFolder(), EACCES);
    EXPECT_FALSE(cache.cacheForProject(folderOf("A")));
    EXPECT_THAT(loggedLines(), Contains(::testing::StartsWith("Unable to create cache folder ")));
    const auto interface = std::make_shared<RecordingInterface>();
    driver.userInterface = interface;
    EXPECT_FALSE(cache.cacheForProject(folderOf("A")));
    EXPECT_THAT(interface->alerts,
                ElementsAre("Unable to create cache folder: Please check permissions for the "
                            "folder " +
                            storelayout::cacheFolder()->deletingLastPathComponent().str()));
}

TEST_F(ChangeListCacheTest, DamagedCachesAreMadeAfresh) {
    const auto good = cache.cacheForProject(folderOf("A"));
    const std::string written = contentOf(file);
    const auto plist = [](const std::string& value) { return "<plist>" + value + "</plist>"; };
    Value::Dictionary mixed = *good;
    mixed["Cut.00001.xml"] = Value::Array{"text"};
    mixed["Cut.00002.xml"] = "text";
    const std::vector<std::string> damaged{
        "",
        "bplist00",
        "\xFF\xFE",
        plist("<array/>"),
        plist("<string>7</string>"),
        plist("<dict/>"),
        plist("<dict><key>version</key><integer>7</integer></dict>"),
        plist("<dict><key>version</key><string>6</string></dict>"),
        serializePropertyList(Value(mixed))};
    for (const std::string& content : damaged) {
        writeFile(file, content);
        EXPECT_EQ(cache.cacheForProject(folderOf("A")), good) << content;
        EXPECT_EQ(contentOf(file), written) << content;
    }
    for (size_t size = 0; size < written.size(); size += 37) {
        writeFile(file, written.substr(0, size));
        EXPECT_EQ(cache.cacheForProject(folderOf("A")), good) << size;
    }
}

// What the fuzzer begins with, and found: whole and torn, both versions get their entries.
TEST_F(ChangeListCacheTest, FuzzerSeedsGiveEntries) {
    constexpr std::string_view middleMark = "<!-- notes -->";
    setFormat("1");
    int seeds = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(LARKSPAN_SOURCE_DIR "/fuzz/seeds/change-list-cache")) {
        const std::string seed = content(entry.path());
        const size_t middle = std::min(seed.find(middleMark), seed.size());
        const size_t behind = std::min(middle + middleMark.size(), seed.size());
        for (size_t size = 0; size <= middle; size += size + 9 < middle ? 9 : 1) {
            writeFile(file, seed.substr(0, size));
            writeFile(folderOf("A") / "Annotations.plist", seed.substr(behind, size));
            const auto made = cache.cacheForProject(folderOf("A"));
            ASSERT_TRUE(made);
            for (const char* name : {"Cut.00001.xml", "Cut.00002.xml"}) {
                ASSERT_TRUE(made->contains(name) && made->at(name).dictionary()) << entry.path();
            }
            EXPECT_EQ(made->at("version"), Value("1"));
        }
        ++seeds;
    }
    EXPECT_GE(seeds, 5);
}

TEST_F(ChangeListCacheTest, DamagedNotesAreNone) {
    const auto good = cache.cacheForProject(folderOf("A"));
    for (const std::string& content :
         {std::string(), std::string("<plist><dict><key>Cut.0"), std::string("bplist00"),
          std::string("<plist><array/></plist>"), std::string("<plist><dict/></plist>")}) {
        writeFile(folderOf("A") / "Annotations.plist", content);
        EXPECT_EQ(cache.cacheForProject(folderOf("A")), good) << content;
        EXPECT_EQ(ChangeListCache::annotationForFile(versions / "Cut.00001.xml"), std::nullopt);
    }
}

TEST_F(ChangeListCacheTest, AVersionMayGoWhileItIsLookedAt) {
    addRendition(2, "Other");
    addRendition(3, "Third", 1h);
    const auto removed = versions / "Cut.00002.xml";
    const auto removeIt = [&](const Path& path) {
        if (path == removed) (void)fake.files.removeItem(removed);
    };
    for (const bool hasCache : {false, true}) {
        SCOPED_TRACE(hasCache);
        ChangeListCache::invalidateAllCaches();
        if (hasCache) {
            ASSERT_TRUE(cache.cacheForProject(folderOf("A")));
            Value::Dictionary first = stored();
            std::erase_if(first, [](const auto& entry) {
                return entry.first > "Cut.00001.xml" && entry.first.ends_with(".xml");
            });
            ASSERT_FALSE(savePropertyList(Value(first), file));
        }
        fake.faults.beforeCall(platform::FileOperation::info, removeIt);
        const auto without = cache.cacheForProject(folderOf("A"));
        ASSERT_TRUE(without);
        EXPECT_THAT(changesOf(*without, "Cut.00001.xml"), ElementsAre("(Base version)"));
        EXPECT_THAT(changesOf(*without, "Cut.00002.xml"), ElementsAre("(missing)"));
        // The next look finds what stands before it now.
        const auto later = cache.cacheForProject(folderOf("A"));
        EXPECT_THAT(changesOf(*later, "Cut.00003.xml"),
                    ElementsAre("Sequence name changed to Third"));
        fake.faults.beforeCall(platform::FileOperation::info, {});
        addRendition(2, "Other");
    }
}

TEST_F(ChangeListCacheTest, CancellingAtAnyStepLosesNothing) {
    addRendition(2, "Other");
    addRendition(3, "Third", 1h);
    const auto whole = cache.cacheForProject(folderOf("A"));
    const auto interface = std::make_shared<RecordingInterface>();
    driver.userInterface = interface;
    bool wasCancelled = true;
    for (int step = 1; wasCancelled; ++step) {
        ASSERT_LT(step, 1'000);
        ChangeListCache::invalidateAllCaches();
        std::atomic<int> calls{0};  // the two documents are read on two threads
        for (const auto operation :
             {platform::FileOperation::info, platform::FileOperation::readFile,
              platform::FileOperation::writeFileAtomically}) {
            fake.faults.beforeCall(operation, [&](const Path&) {
                if (++calls == step) driver.processingCancelled = true;
            });
        }
        const auto made = cache.cacheForProject(folderOf("A"));
        wasCancelled = calls >= step;
        for (const auto& [name, entry] : made.value_or(stored())) EXPECT_EQ(entry, whole->at(name));
        calls = -1'000'000;
        EXPECT_EQ(cache.cacheForProject(folderOf("A")), whole) << step;
    }
    EXPECT_THAT(interface->alerts, IsEmpty());
}

// Each with a cache of its own, as after a new start.
TEST_F(ChangeListCacheTest, OneVersionAtATimeGivesTheListsOfTheWholeProject) {
    long number = 0;
    const auto add = [&](const std::string& content) {
        writeFile(versionsOf("B") / ("Cut." + padNumber({++number}) + ".xml"), content);
        ChangeListDriver started{surroundings()};
        return ChangeListCache(started).cacheForProject(folderOf("B"));
    };
    for (const char* document :
         {"project-to-sequence.old.xml.gz", "rewrapped.old.xml.gz", "rewrapped.new.xml.gz",
          "rewrapped.new.xml.gz", "added-audio-track.new.xml", "changed-rate.old.xml",
          "changed-rate.new.xml", "renamed.old.xml.gz", "renamed.new.xml.gz"}) {
        (void)add(content(golden(document)));
    }
    const std::string longName(4'000'000, 'x');
    (void)add("<xmeml><sequence><uuid>U</uuid><name>A</name></sequence></xmeml>");
    const auto oneByOne =
        add("<xmeml><sequence><uuid>U</uuid><name>\x01\xEF\xBF\xBE\xC3\xA9]]&gt;&#13;" + longName +
            "</name></sequence></xmeml>");
    EXPECT_THAT(changesOf(*oneByOne, "Cut.00004.xml"), ElementsAre("No change"));
    EXPECT_THAT(changesOf(*oneByOne, "Cut.00011.xml"),
                ElementsAre("Sequence name changed to \x01\xEF\xBF\xBE\xC3\xA9]]>\r" + longName));
    ChangeListCache::invalidateAllCaches();
    EXPECT_EQ(cache.cacheForProject(folderOf("B")), oneByOne);
    EXPECT_EQ(cache.cacheForProject(folderOf("B")), oneByOne);
}

TEST_F(ChangeListCacheTest, AllCachesGoAndNothingElse) {
    ASSERT_TRUE(cache.cacheForProject(folderOf("A")));
    writeFile(*storelayout::cacheFolder() / "notes.txt", "mine");
    ChangeListCache::invalidateAllCaches();
    EXPECT_THAT(namesIn(*storelayout::cacheFolder()), ElementsAre("notes.txt"));
    EXPECT_THAT(loggedLines(), Contains("Invalidating all caches..."));
    (void)fake.files.removeItem(*storelayout::cacheFolder());
    ChangeListCache::invalidateAllCaches();
}

}  // namespace
}  // namespace larkspan
