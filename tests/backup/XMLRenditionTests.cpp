#include "support/FakeFinalCut.h"
#include "support/StoreTest.h"

#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class XMLRenditionTest : public testing::StoreTest {
  protected:
    XMLRenditionTest() { finalCut.open(project, {.xml = "<xmeml><project/></xmeml>"}); }
    ~XMLRenditionTest() override { EXPECT_THAT(finalCut.complaints, IsEmpty()); }

    void setPolicy(long policy) {
        setPreferences({{"storagePath", "/Store"}, {"generateFCPXML", 1}, {"xmlLimit", policy}});
    }
    // Saves something new and takes a version of it.
    void take(long number, const BackupOptions& options = {}) {
        save(project, "content " + std::to_string(number));
        engine.backupProject(project, versions, {number}, options);
    }

    testing::FakeFinalCut finalCut{fake.applications, fake.appleEvents};
    const Path project = addProject("A", "Cut.fcp");
    const Path versions = versionsOf("A");
    ZBLarkspanBackup engine;
};

TEST_F(XMLRenditionTest, StandsBesideItsVersionWithItsDate) {
    setPolicy(5);
    take(1);
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp", "Cut.00001.xml"));
    const Path rendition = versions / "Cut.00001.xml";
    EXPECT_EQ(contentOf(rendition),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xmeml>\n\t<project />\n</xmeml>\n");
    EXPECT_EQ(fake.files.info(rendition)->modificationDate,
              fake.files.info(project)->modificationDate);
    EXPECT_EQ(fake.files.typeCode(rendition), "XML ");
}

TEST_F(XMLRenditionTest, TheGapDecidesWhichVersionsGetOne) {
    setPolicy(1);
    for (long number = 1; number <= 6; ++number) take(number);
    EXPECT_THAT(versionNames("A"),
                ElementsAre("Cut.00001.fcp", "Cut.00002.fcp", "Cut.00003.fcp", "Cut.00003.xml",
                            "Cut.00004.fcp", "Cut.00005.fcp", "Cut.00006.fcp", "Cut.00006.xml"));
    EXPECT_THAT(loggedLines(), Contains("Skipping XML backup - backup gap set to 2."));
    EXPECT_EQ(ZBLarkspanBackup::backupGapForProject(project, versions, {1}), 0U);
    EXPECT_EQ(ZBLarkspanBackup::backupGapForProject(project, versions, {6}), 2U);
    EXPECT_EQ(ZBLarkspanBackup::backupGapForProject(project, versions, {9}), 2U);
}

TEST_F(XMLRenditionTest, LargeProjectsGetOneOnlyForASequenceOrOnDemand) {
    finalCut.project(project).items = {{"uuid", "<sequence/>"}};
    setPolicy(5);
    save(project, std::string(15UL * 1048576, 'x'));
    engine.backupProject(project, versions, {1});
    EXPECT_THAT(loggedLines(), Contains("Skipping XML backup - file size limit met."));
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp"));
    save(project, std::string(15UL * 1048576, 'y'));
    engine.backupProject(project, versions, {2}, {.uuid = "uuid"});
    EXPECT_THAT(contentOf(versions / "Cut.00002.xml"), ::testing::HasSubstr("<sequence />"));
    engine.backupProject(project, versions, {3}, {.force = true});
    EXPECT_THAT(contentOf(versions / "Cut.00003.xml"), ::testing::HasSubstr("<project />"));
}

TEST_F(XMLRenditionTest, ForceWritesOneWhateverThePolicySays) {
    setPolicy(0);
    take(1);
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp"));
    take(2, {.force = true});
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp", "Cut.00002.fcp", "Cut.00002.xml"));
    const auto lines = loggedLines();
    EXPECT_EQ(std::ranges::count(lines, "XML backups disabled - skipping..."), 2);
}

TEST_F(XMLRenditionTest, KeepsTheNumberThatWasAskedFor) {
    setPolicy(5);
    addVersion("A", "Cut.00004.fcp", std::chrono::hours(1));
    take(4);
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00004.fcp", "Cut.00004.xml", "Cut.00005.fcp"));
}

TEST_F(XMLRenditionTest, OnlyFinalCutProjectsHaveOne) {
    setPolicy(5);
    const Path premiere = addProject("B", "Film.prproj");
    const Path typed = addProject("C", "No extension");
    fake.files.setAttribute(typed, "user.com.apple.FinderInfo", "FCPF" + std::string(28, ' '));
    finalCut.open(typed, {.xml = "<xmeml/>"});
    engine.backupProject(premiere, versionsOf("B"), {1});
    engine.backupProject(typed, versionsOf("C"), {1});
    EXPECT_THAT(versionNames("B"), ElementsAre("Film.00001.prproj"));
    EXPECT_THAT(versionNames("C"), Contains("No extension.00001.xml"));
}

TEST_F(XMLRenditionTest, WhatTheApplicationCannotGiveLeavesTheVersion) {
    setPolicy(5);
    const struct {
        std::string xml;
        const char* logged;
    } cases[] = {
        {"", "Error initializing XML document: "},
        {"<xmeml>", "Error initializing XML document: "},
        {"<xmeml>caf\xe9</xmeml>", "Error initializing XML document: "},
    };
    long number = 0;
    for (const auto& c : cases) {
        finalCut.project(project).xml = c.xml;
        take(++number);
        EXPECT_THAT(loggedLines(), Contains(StartsWith(c.logged))) << c.xml;
    }
    finalCut.project(project).xml = "<xmeml/>";
    finalCut.answers = testing::FakeFinalCut::Answers::withoutXML;
    take(++number);
    EXPECT_THAT(loggedLines(), Contains("Invalid XML data"));
    finalCut.answers = testing::FakeFinalCut::Answers::asTheyShould;
    fake.faults.refusePath(versions / "Cut.00005.xml", ENOSPC);
    take(++number);
    EXPECT_THAT(loggedLines(), Contains(StartsWith("Error writing XML file: ")));
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp", "Cut.00002.fcp", "Cut.00003.fcp",
                                               "Cut.00004.fcp", "Cut.00005.fcp"));
}

TEST_F(XMLRenditionTest, EqualVersionsGoUnlessTheyAreWanted) {
    setPolicy(0);
    for (const long number : {1L, 2L}) engine.backupProject(project, versions, {number});
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp"));
    engine.backupProject(project, versions, {2}, {.force = true});
    EXPECT_THAT(versionNames("A"), Contains("Cut.00002.fcp"));
    setPreferences({{"storagePath", "/Store"}, {"removeDuplicates", 0}});
    engine.backupProject(project, versions, {3});
    EXPECT_THAT(versionNames("A"), Contains("Cut.00003.fcp"));
}

}  // namespace
}  // namespace larkspan
