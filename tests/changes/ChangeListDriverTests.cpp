#include "changes/DriverFixture.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using testing::Sentences;
using ::testing::StartsWith;

class ChangeListDriverTest : public testing::DriverTest {};

std::string bytes(size_t size) {
    std::string content;
    content.resize(size, 'x');
    return content;
}

const Sentences tooLarge{
    "Project file size exceeds 80 MB and will not be processed. To reduce file sizes, go to the "
    "Projects tab and change Backup from \"Entire Project\" to a specific sequence."};

TEST_F(ChangeListDriverTest, AnEntrySaysWhatAVersionIs) {
    addVersion("Scene.12.xml", project("1"));
    const auto entry = driver->changelistForFile(versionFile("Scene.12.xml"), std::nullopt);
    ASSERT_TRUE(entry);
    const Value::Dictionary expected{{"changelist", Value::Array{"(Base version)"}},
                                     {"version", "12"},
                                     {"date", dateFromUnixTime(1'600'000'000)},
                                     {"size", "113 B"},
                                     {"file", "/P/Versions/Scene.12.xml"},
                                     {"type", "xml"},
                                     {"host", "fcp"}};
    EXPECT_EQ(Value(*entry), Value(expected)) << describe(Value(*entry));
}

TEST_F(ChangeListDriverTest, ARenditionReportsSizeAndDateOfItsProject) {
    addVersion("Cut.00001.xml", project("1"));
    writeFile(versionFile("Cut.00001.fcp"), std::string(2'048, 'x'), dateFromUnixTime(5));
    const auto entry = driver->changelistForFile(versionFile("Cut.00001.xml"), std::nullopt);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->at("size"), Value("2.00 KB"));
    EXPECT_EQ(entry->at("date"), Value(dateFromUnixTime(5)));
}

TEST_F(ChangeListDriverTest, MissingAttributesAreLoggedAndReplaced) {
    const auto entry = driver->changelistForFile(versionFile("a.1.doc"), versionFile("a.0.doc"));
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->at("date"), Value(fake.clock.now()));
    EXPECT_EQ(entry->at("size"), Value("0 B"));
    EXPECT_THAT(loggedLines(),
                ElementsAre(StartsWith("Unable to get attributes for file /P/Versions/a.1.doc: "),
                            StartsWith("Unable to get attributes for file /P/Versions/a.0.doc: ")));
}

TEST_F(ChangeListDriverTest, OtherFilesAreOnlyComparedAsBytes) {
    struct Case {
        const char* name;
        const char* content;
        long generateFCPXML;
        const char* type;
        Sentences expected;
    };
    addVersion("old", "same");
    const std::vector<Case> table{
        {"Cut.12.fcp", "other", 1, "fcp", {"XML copy 12 not generated"}},
        {"Cut.12.FCP", "same", 1, "fcp", {"No change"}},
        {"Cut.12.fcp", "other", 0, "doc", {}},
        {"Cut.12.prproj", "same", 1, "doc", {"No change"}},
        {"Cut.12.prproj", "other", 1, "doc", {}},
        {"Cut", "same", 0, "doc", {"No change"}},
    };
    for (const auto& [name, content, generate, type, expected] : table) {
        setPreferences({{"generateFCPXML", generate}});
        addVersion(name, content);
        const auto entry = driver->changelistForFile(versionFile(name), versionFile("old"));
        EXPECT_EQ(changelist(entry), expected) << name;
        EXPECT_EQ(entry->at("type"), Value(type)) << name;
        EXPECT_FALSE(entry->contains("host")) << name;
    }
}

TEST_F(ChangeListDriverTest, OnlyRenditionsAreCompared) {
    addVersion("a.1.xml", project("1"));
    addVersion("a.2.xml", project("2"));
    addVersion("a.1.fcp", "x");
    addVersion("typed", "x");
    fake.files.setAttribute(versionFile("typed"), "user.com.apple.FinderInfo",
                            "FCPF" + std::string(28, '\0'));
    EXPECT_EQ(changelist(driver->changelistForFile(versionFile("a.2.xml"), versionFile("a.1.fcp"))),
              Sentences{"(Base version)"});
    EXPECT_EQ(changelist(driver->changelistForFile(versionFile("a.2.xml"), versionFile("typed"))),
              Sentences{"(Base version)"});
    EXPECT_EQ(changelist(driver->changelistForFile(versionFile("a.2.xml"), versionFile("a.1.xml"))),
              (Sentences{"Shot1 clip name changed to Shot2", "Clip Shot1 removed"}));
}

TEST_F(ChangeListDriverTest, TheLimitOfSizeIsThatOfTheReportedFile) {
    addVersion("a.1.xml", project("1"));
    addVersion("a.2.xml", project("2"));
    writeFile(versionFile("a.2.fcp"), bytes(83'886'080));
    const auto refused = driver->changelistForFile(versionFile("a.2.xml"), versionFile("a.1.xml"));
    EXPECT_EQ(changelist(refused), tooLarge);
    EXPECT_EQ(refused->at("noProcess"), Value(true));
    writeFile(versionFile("a.2.fcp"), bytes(83'886'079));
    const auto compared = driver->changelistForFile(versionFile("a.2.xml"), versionFile("a.1.xml"));
    EXPECT_EQ(changelist(compared).size(), 2U);
    EXPECT_FALSE(compared->contains("noProcess"));
}

TEST_F(ChangeListDriverTest, WhatCannotBeReadGivesNoEntry) {
    struct Case {
        std::optional<std::string> newContent;
        std::optional<std::string> oldContent;
        const char* logged;
    };
    const std::vector<Case> table{
        {std::nullopt, project("1"), "Unable to load data: "},
        {"<torn>", project("1"), "Unable to load XML document"},
        {"", project("1"), "Unable to load XML document"},
        {project("1"), std::nullopt, "Unable to load prev data: "},
        {project("1"), "<torn>", "Unable to load prev XML document"},
        {"<torn>", "<also torn>", "Unable to load XML document"},
    };
    for (const auto& [newContent, oldContent, logged] : table) {
        ZBLog::createNewLog();
        driver->memory().forget();
        (void)fake.files.removeItem(Path("/P"));
        if (newContent) addVersion("2.xml", *newContent);
        if (oldContent) addVersion("1.xml", *oldContent);
        EXPECT_FALSE(driver->changelistForFile(versionFile("2.xml"), versionFile("1.xml")));
        EXPECT_THAT(loggedLines(), Contains(StartsWith(logged)));
    }
}

TEST_F(ChangeListDriverTest, RemembersTheNewestDocumentUnderTheOlderPath) {
    addVersion("1.xml", project("1"));
    addVersion("2.xml", project("2"));
    addVersion("3.xml", project("3"));
    ChangeListMemory& memory = driver->memory();
    (void)driver->changelistForFile(versionFile("2.xml"), versionFile("1.xml"));
    EXPECT_EQ(memory.lastXMLDocPath(), versionFile("1.xml"));
    EXPECT_THAT(memory.lastIDArray(), ElementsAre("c2"));
    // Against the same older version again the remembered document stands for it.
    EXPECT_EQ(changelist(driver->changelistForFile(versionFile("3.xml"), versionFile("1.xml"))),
              (Sentences{"Shot2 clip name changed to Shot3", "Clip Shot2 removed"}));
    // The lists are those of the newest version, whatever the older one is.
    addVersion("4.xml",
               "<xmeml><project><name>P</name><children><a/><clip id=\"c3\"/></children>"
               "</project></xmeml>");
    addVersion("0.xml",
               "<xmeml><project><name>P</name><children><a/></children></project></xmeml>");
    EXPECT_EQ(changelist(driver->changelistForFile(versionFile("4.xml"), versionFile("0.xml"))),
              Sentences{"No notable changes"});
    memory.forget();
    EXPECT_THAT(memory.lastIDArray(), IsEmpty());
    EXPECT_EQ(changelist(driver->changelistForFile(versionFile("4.xml"), versionFile("0.xml"))),
              Sentences{"New clip added"});
}

TEST_F(ChangeListDriverTest, EqualFilesAreNotReadAndStillRemembered) {
    addVersion("1.xml", project("1"));
    addVersion("2.xml", project("1"));
    addVersion("3.xml", project("3"));
    const auto second = driver->changelistForFile(versionFile("2.xml"), versionFile("1.xml"));
    EXPECT_EQ(changelist(second), Sentences{"No change"});
    EXPECT_EQ(second->at("host"), Value("fcp"));
    EXPECT_EQ(changelist(driver->changelistForFile(versionFile("3.xml"), versionFile("2.xml"))),
              (Sentences{"Shot1 clip name changed to Shot3", "Clip Shot1 removed"}));
    driver->memory().forget();
    (void)driver->changelistForFile(versionFile("2.xml"), versionFile("1.xml"));
    EXPECT_EQ(changelist(driver->changelistForFile(versionFile("3.xml"), versionFile("1.xml"))),
              (Sentences{"Shot1 clip name changed to Shot3", "Clip Shot1 removed"}));
    driver->memory().forget();
    (void)driver->changelistForFile(versionFile("2.xml"), versionFile("1.xml"));
    ASSERT_FALSE(fake.files.removeItem(versionFile("2.xml")));
    EXPECT_FALSE(driver->changelistForFile(versionFile("3.xml"), versionFile("1.xml")));
    EXPECT_THAT(loggedLines(), Contains("Unable to load prev XML document"));
}

TEST_F(ChangeListDriverTest, AChangedFileIsReadAgain) {
    addVersion("1.xml", project("1"));
    addVersion("2.xml", project("2"));
    (void)driver->changelistForFile(versionFile("2.xml"), versionFile("1.xml"));
    writeFile(versionFile("2.xml"), project("9"));
    addVersion("3.xml", project("3"));
    EXPECT_EQ(changelist(driver->changelistForFile(versionFile("3.xml"), versionFile("2.xml")))[0],
              "Shot9 clip name changed to Shot3");
}

// ---- with a user interface ----

class Interface : public ChangeListInterface {
  public:
    explicit Interface(platform::MainThread& mainThread) : mainThread_(mainThread) {}
    void startProgress() override { add("start"); }
    void setDeterminateProgress(double steps) override {
        add("steps " + std::to_string(int(steps)));
    }
    void incrementProgressBar() override { add("step"); }
    void endProgress() override { add("end"); }
    void showAlert(const std::string& text, const std::string& informative) override {
        add(text + "|" + informative);
    }
    std::vector<std::string> calls;

  private:
    void add(const std::string& call) {
        EXPECT_TRUE(mainThread_.isCurrent());
        calls.push_back(call);
    }
    platform::MainThread& mainThread_;
};

class Delegate : public ChangeListDelegate {
  public:
    void changeLogReady(const Value::Dictionary& entry) override {
        ready.push_back(*entry.at("version").string());
    }
    std::vector<std::string> ready;
};

class InterfaceTest : public testing::DriverTest {
  protected:
    InterfaceTest() { driver->userInterface = interface; }

    std::shared_ptr<Interface> interface = std::make_shared<Interface>(fake.mainThread);
};

TEST_F(InterfaceTest, FailuresAreShown) {
    addVersion("1.xml", project("1"));
    addVersion("2.xml", "<torn>");
    EXPECT_FALSE(driver->changelistForFile(versionFile("2.xml"), versionFile("1.xml")));
    EXPECT_THAT(interface->calls,
                ElementsAre("end", "Unable to XML document|The file may be corrupt."));
    interface->calls.clear();
    EXPECT_FALSE(driver->changelistForFile(versionFile("3.xml"), versionFile("1.xml")));
    EXPECT_THAT(interface->calls, ElementsAre("end", StartsWith("Unable to load data|")));
    interface->calls.clear();
    EXPECT_FALSE(driver->changelistForFile(versionFile("1.xml"), versionFile("0.xml")));
    EXPECT_THAT(interface->calls, ElementsAre("end"));
}

TEST_F(InterfaceTest, CancellingEndsTheWork) {
    addVersion("1.xml", project("1"));
    addVersion("2.xml", project("2"));
    driver->processingCancelled = true;
    EXPECT_FALSE(driver->changelistForFile(versionFile("2.xml"), versionFile("1.xml")));
    EXPECT_THAT(interface->calls, ElementsAre("end"));
    EXPECT_THAT(loggedLines(), Contains("Unable to create change list"));
    EXPECT_FALSE(driver->changelistForProject(Path("/P")));
    driver->userInterface = nullptr;
    EXPECT_TRUE(driver->changelistForProject(Path("/P")));
}

TEST_F(InterfaceTest, AWalkShowsItsProgress) {
    addVersion("Cut.1.xml", project("1"));
    addVersion("Cut.2.xml", project("2"));
    const auto delegate = std::make_shared<Delegate>();
    EXPECT_TRUE(driver->changelistForProject(Path("/P"), delegate));
    fake.mainThread.runPosted();
    EXPECT_THAT(interface->calls, ElementsAre("start", "steps 2", "step", "step", "end"));
    EXPECT_THAT(delegate->ready, ElementsAre("1", "2"));
}

// ---- whole projects ----

class ProjectWalkTest : public testing::DriverTest {
  protected:
    Value cacheFile(const char* name = "P") {
        const auto loaded =
            loadPropertyList(Path("/Caches") / (std::string(name) + ".cache.plist"));
        return loaded ? *loaded : Value("(none)");
    }
};

TEST_F(ProjectWalkTest, GoesThroughAllVersions) {
    addVersion("Cut.1.fcp", "1");
    addVersion("Cut.1.xml", project("1"));
    addVersion("Cut.2.fcp", "2");
    addVersion("Cut.3.xml", project("3"));
    addVersion("Cut.4.xml", project("3"));
    addVersion("Cut.5.xml", "<torn>");
    addVersion("Cut.6.xml", project("6"));
    addVersion(".hidden.xml", project("7"));
    annotations["Cut.3.xml"] = "Good one";
    const auto cache = driver->changelistForProject(Path("/P"));
    const std::map<std::string, Sentences> expected{
        {"Cut.1.xml", {"(Base version)"}},
        {"Cut.2.fcp", {}},
        {"Cut.3.xml", {"Shot1 clip name changed to Shot3", "Clip Shot1 removed"}},
        {"Cut.4.xml", {"No change"}},
    };
    EXPECT_EQ(lists(cache), expected);
    EXPECT_EQ(cache->at("Cut.3.xml").find("annotation")->string()[0], "Good one");
    EXPECT_EQ(cache->at("version"), Value("0"));
    EXPECT_EQ(cacheFile(), Value(*cache));
    // One at a time gives the same lists.
    driver->memory().forget();
    EXPECT_EQ(
        changelist(driver->changelistForFile(versionFile("Cut.4.xml"), versionFile("Cut.3.xml"))),
        expected.at("Cut.4.xml"));
    driver->memory().forget();
    EXPECT_EQ(
        changelist(driver->changelistForFile(versionFile("Cut.3.xml"), versionFile("Cut.1.xml"))),
        expected.at("Cut.3.xml"));
}

TEST_F(ProjectWalkTest, AVersionThatIsTooLargeBreaksTheChain) {
    addVersion("1.xml", project("1"));
    addVersion("2.xml", project("2"));
    writeFile(versionFile("2.fcp"), bytes(83'886'080));
    addVersion("3.xml", project("3"));
    addVersion("4.xml", project("4"));
    const auto all = lists(driver->changelistForProject(Path("/P")));
    EXPECT_THAT(all, Contains(Pair("2.xml", tooLarge)));
    EXPECT_THAT(all, Contains(Pair("3.xml", Sentences{"(Base version)"})));
    EXPECT_EQ(all.at("4.xml").size(), 2U);
}

TEST_F(ProjectWalkTest, CarriesTheFormatVersionOfTheBundle) {
    bundle = Path("/Larkspan.app");
    EXPECT_EQ(driver->changelistForProject(Path("/P"))->at("version"), Value("0"));
    const Path info("/Larkspan.app/Contents/Info.plist");
    ASSERT_FALSE(savePropertyList(Value::Dictionary{{"ZBCacheVersion", "7"}}, info));
    EXPECT_EQ(driver->changelistForProject(Path("/P"))->at("version"), Value("7"));
    writeFile(info, "torn");
    EXPECT_FALSE(driver->changelistForProject(Path("/P"))->contains("version"));
}

TEST_F(ProjectWalkTest, UpdatesOneVersionAndTheOneBehindIt) {
    for (const char* number : {"1", "2", "3"}) {
        addVersion(std::string("Cut.") + number + ".xml", project(number));
    }
    addVersion("notes.txt", "x");
    ASSERT_FALSE(savePropertyList(Value::Dictionary{{"version", "1"}, {"kept", "x"}},
                                  Path("/Caches/Versions.cache.plist")));
    driver->updateChangelistForItem(versionFile("Cut.2.xml"));
    const Value cache = cacheFile("Versions");
    EXPECT_EQ(changelist(*cache.find("Cut.2.xml"))[0], "Shot1 clip name changed to Shot2");
    EXPECT_EQ(changelist(*cache.find("Cut.3.xml"))[0], "Shot2 clip name changed to Shot3");
    EXPECT_FALSE(cache.find("Cut.1.xml"));
    EXPECT_TRUE(cache.find("kept"));
    driver->updateChangelistForItem(versionFile("Cut.1.xml"));
    EXPECT_EQ(changelist(*cacheFile("Versions").find("Cut.1.xml")), Sentences{"(Base version)"});
    driver->updateChangelistForItem(versionFile("Cut.3.xml"));
    EXPECT_EQ(changelist(*cacheFile("Versions").find("Cut.3.xml")), Sentences{"(Base version)"});
    driver->updateChangelistForItem(versionFile("gone.xml"));
    EXPECT_EQ(changelist(*cacheFile("Versions").find("gone.xml")), Sentences{"(Base version)"});
}

TEST_F(ProjectWalkTest, ACacheFolderThatCannotBeMadeIsReported) {
    writeFile(Path("/Caches"), "in the way");
    driver->updateChangelistForItem(versionFile("Cut.2.xml"));
    EXPECT_THAT(loggedLines(), Contains("Unable to create cache folder /Caches"));
}

}  // namespace
}  // namespace larkspan
