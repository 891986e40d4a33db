#include "foundation/Uuid.h"
#include "host/ZBAppleEvents.h"
#include "support/FakeFinalCut.h"
#include "support/FakePlatformTest.h"

#include <functional>
#include <stdexcept>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using platform::fourCharCode;
using ::testing::ElementsAre;
using testing::FakeFinalCut;
using ::testing::IsEmpty;
using ::testing::Optional;

const Path cut("/Work/My Cut \xC3\xA9.fcp");
const Path other("/Work/Other.fcp");
constexpr const char* noAnswer =
    "Unable to communicate with Final Cut Pro. Please make sure it is running.";
constexpr const char* notRunning = "Error: Final Cut Pro is not running.";
constexpr const char* notOpen = "Error: project is not open.";

class ZBAppleEventsTest : public testing::FakePlatformTest {
  protected:
    ZBAppleEventsTest() { ZBLog::createNewLog(); }
    ~ZBAppleEventsTest() override { EXPECT_THAT(finalCut.complaints, IsEmpty()); }

    std::vector<std::string> events() const {
        std::vector<std::string> identifiers;
        for (const auto& sent : fake.appleEvents.sent()) {
            identifiers.push_back(platform::bytesOf(sent.event.eventID));
        }
        return identifiers;
    }
    std::vector<std::string> reported() const { return fake.console.reported(); }
    std::vector<Path> openedFiles() const {
        std::vector<Path> files;
        for (const auto& [file, application] : fake.applications.opened()) files.push_back(file);
        return files;
    }

    FakeFinalCut finalCut{fake.applications, fake.appleEvents};
};

// Every operation on a project that is refused where nothing may be launched.
const std::vector<std::function<bool()>>& operations() {
    static const std::vector<std::function<bool()>> all = {
        [] { return ZBAppleEvents::getProjectXMLData(cut, LaunchFCP::no).has_value(); },
        [] { return ZBAppleEvents::getProjectXML(cut).has_value(); },
        [] { return ZBAppleEvents::getItemXMLData("item", cut, LaunchFCP::no).has_value(); },
        [] { return ZBAppleEvents::getItemXML("item", cut).has_value(); },
        [] { return ZBAppleEvents::getTOCData(cut, LaunchFCP::no).has_value(); },
        [] { return ZBAppleEvents::getTOC(cut).has_value(); },
        [] { return ZBAppleEvents::sendXMLToFCP("<xmeml/>", cut); },
        [] { return ZBAppleEvents::openItem("item", cut, LaunchFCP::no); },
        [] { return ZBAppleEvents::saveProject(cut); },
        [] { return ZBAppleEvents::closeProject(cut, SaveChanges::yes); },
    };
    return all;
}

TEST_F(ZBAppleEventsTest, NothingIsSentToAnApplicationThatDoesNotRun) {
    EXPECT_FALSE(ZBAppleEvents::isFCPRunning());
    for (const auto& operation : operations()) EXPECT_FALSE(operation());
    EXPECT_THAT(reported(), IsEmpty());
    EXPECT_EQ(ZBAppleEvents::listOfOpenFCPProjects(), std::nullopt);
    EXPECT_THAT(reported(), ElementsAre(notRunning));
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_THAT(openedFiles(), IsEmpty());
}

TEST_F(ZBAppleEventsTest, AProjectThatIsNotOpenIsNotAskedAbout) {
    finalCut.open(other, {});
    EXPECT_TRUE(ZBAppleEvents::isFCPRunning());
    for (const auto& operation : operations()) EXPECT_FALSE(operation());
    EXPECT_EQ(reported(), std::vector<std::string>(operations().size(), notOpen));
    EXPECT_EQ(events(), std::vector<std::string>(operations().size(), "fcLP"));
    EXPECT_THAT(openedFiles(), IsEmpty());
}

TEST_F(ZBAppleEventsTest, ListsTheOpenProjectsInTheirOrder) {
    finalCut.launch();
    EXPECT_THAT(ZBAppleEvents::listOfOpenFCPProjects(), Optional(IsEmpty()));
    finalCut.open(other, {});
    finalCut.open(cut, {});
    EXPECT_THAT(ZBAppleEvents::listOfOpenFCPProjects(), Optional(ElementsAre(other, cut)));
    // What is no reference to a file is left out.
    const auto reference = [](const std::string& data, const char* type = "fsrf") {
        return platform::AppleEventDescriptor{
            .type = std::string(type) == "fsrf" ? fourCharCode("fsrf") : fourCharCode("utf8"),
            .data = data,
            .keyword = fourCharCode("fcPf")};
    };
    const std::string valid = *fake.appleEvents.fileReference(Path("/Work/Strange.fcp"));
    finalCut.strangeListItems = {
        reference(valid),
        {.type = fourCharCode("reco")},
        {.type = fourCharCode("reco"), .items = {reference("short")}},
        {.type = fourCharCode("reco"), .items = {reference(std::string(80, 'x'))}},
        {.type = fourCharCode("reco"), .items = {reference(valid, "utf8")}},
    };
    EXPECT_THAT(ZBAppleEvents::listOfOpenFCPProjects(), Optional(ElementsAre(other, cut)));
    fake.appleEvents.declareMissing(other);
    EXPECT_THAT(ZBAppleEvents::listOfOpenFCPProjects(), Optional(ElementsAre(cut)));
    EXPECT_THAT(reported(), IsEmpty());
    finalCut.answers = FakeFinalCut::Answers::withoutList;
    EXPECT_EQ(ZBAppleEvents::listOfOpenFCPProjects(), std::nullopt);
    EXPECT_THAT(reported(), ElementsAre(noAnswer));
}

TEST_F(ZBAppleEventsTest, GivesTheXMLOfProjectsItemsAndContents) {
    finalCut.open(cut, {.xml = std::string("<xmeml>\xC3\xA9</xmeml>\0", 17),
                        .contents = "<contents/>",
                        .items = {{"it\xC3\xA9m", "<sequence/>"}}});
    EXPECT_EQ(ZBAppleEvents::getProjectXMLData(cut, LaunchFCP::no),
              Data{"<xmeml>\xC3\xA9</xmeml>"});
    EXPECT_EQ(ZBAppleEvents::getProjectXML(cut), "<xmeml>\xC3\xA9</xmeml>");
    EXPECT_EQ(ZBAppleEvents::getItemXMLData("it\xC3\xA9m", cut, LaunchFCP::no),
              Data{"<sequence/>"});
    EXPECT_EQ(ZBAppleEvents::getItemXML("it\xC3\xA9m", cut), "<sequence/>");
    EXPECT_EQ(ZBAppleEvents::getTOCData(cut, LaunchFCP::no), Data{"<contents/>"});
    EXPECT_EQ(ZBAppleEvents::getTOC(cut), "<contents/>");
    EXPECT_THAT(events(), ElementsAre("fcLP", "eXML", "fcLP", "eXML", "fcLP", "gXML", "fcLP",
                                      "gXML", "fcLP", "eTCX", "fcLP", "eTCX"));
    EXPECT_THAT(reported(), IsEmpty());
    for (const auto& sent : fake.appleEvents.sent()) {
        EXPECT_EQ(sent.how.priority, platform::AppleEventPriority::high);
        EXPECT_EQ(sent.how.timeout, std::nullopt);
    }
}

TEST_F(ZBAppleEventsTest, TakesWhateverTheApplicationGives) {
    finalCut.open(cut, {});
    for (const std::string xml : {"", "<xmeml><torn"}) {
        finalCut.project(cut).xml = xml;
        EXPECT_EQ(ZBAppleEvents::getProjectXMLData(cut, LaunchFCP::no), Data{xml});
        EXPECT_EQ(ZBAppleEvents::getProjectXML(cut), xml);
    }
    constexpr size_t large = 100'000'000;
    finalCut.project(cut).xml.assign(large, 'x');
    const auto data = ZBAppleEvents::getProjectXMLData(cut, LaunchFCP::no);
    EXPECT_EQ(data ? data->bytes.size() : 0, large);
    finalCut.project(cut).xml = "not UTF-8: \xFF";
    EXPECT_TRUE(ZBAppleEvents::getProjectXMLData(cut, LaunchFCP::no));
    EXPECT_EQ(ZBAppleEvents::getProjectXML(cut), std::nullopt);
}

TEST_F(ZBAppleEventsTest, ChangesOpenProjects) {
    finalCut.open(cut, {});
    EXPECT_TRUE(ZBAppleEvents::sendXMLToFCP("<xmeml>\xC3\xA9</xmeml>", cut));
    EXPECT_TRUE(ZBAppleEvents::openItem("item", cut, LaunchFCP::no));
    EXPECT_TRUE(ZBAppleEvents::saveProject(cut));
    EXPECT_THAT(finalCut.project(cut).imported, ElementsAre("<xmeml>\xC3\xA9</xmeml>"));
    EXPECT_THAT(finalCut.project(cut).openedItems, ElementsAre("item"));
    EXPECT_EQ(finalCut.project(cut).timesSaved, 1);
    EXPECT_TRUE(ZBAppleEvents::closeProject(cut, SaveChanges::no));
    EXPECT_EQ(finalCut.project(cut).closedWithSaving, false);
    EXPECT_FALSE(finalCut.isOpen(cut));
    EXPECT_THAT(events(),
                ElementsAre("fcLP", "iXML", "fcLP", "fcOI", "fcLP", "sfcP", "fcLP", "cfcP"));
}

TEST_F(ZBAppleEventsTest, LaunchesAndClosesWhatItOpened) {
    EXPECT_EQ(ZBAppleEvents::getProjectXML(cut, LaunchFCP::yes, CloseProject::yes), "<xmeml/>");
    // The application was not running: starting it opened the project already.
    EXPECT_THAT(openedFiles(), ElementsAre(cut));
    EXPECT_TRUE(finalCut.isOpen(cut));

    EXPECT_EQ(ZBAppleEvents::getProjectXML(other, LaunchFCP::yes, CloseProject::yes), "<xmeml/>");
    EXPECT_THAT(openedFiles(), ElementsAre(cut, other));
    EXPECT_FALSE(finalCut.isOpen(other));
    EXPECT_EQ(finalCut.project(other).closedWithSaving, true);

    EXPECT_EQ(ZBAppleEvents::getTOC(other, LaunchFCP::yes), "<contents/>");
    EXPECT_TRUE(finalCut.isOpen(other));
    EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(ZBAppleEventsTest, DoesNotWaitForALaunch) {
    finalCut.opensSlowly = true;
    finalCut.open(other, {});
    EXPECT_EQ(ZBAppleEvents::getProjectXML(cut, LaunchFCP::yes, CloseProject::yes), std::nullopt);
    EXPECT_THAT(reported(), ElementsAre("Error sending AppleEvent", noAnswer, notOpen));
    EXPECT_THAT(finalCut.complaints, ElementsAre("eXML: a project that is not open: " + cut.str()));
    finalCut.complaints.clear();
}

TEST_F(ZBAppleEventsTest, SaysWhereItFailed) {
    struct Case {
        long code;
        const char* message;
    };
    const Case cases[] = {
        {platform::targetNotDescribed, "Error creating app description"},
        {platform::eventNotCreated, "Error creating AppleEvent"},
        {platform::parameterNotAdded, "Error adding project file to AppleEvent query"},
        {platform::eventNotSent, "Error sending AppleEvent"},
    };
    finalCut.open(cut, {});
    for (const Case& c : cases) {
        const size_t before = reported().size();
        fake.appleEvents.failNext(c.code);
        EXPECT_EQ(ZBAppleEvents::listOfOpenFCPProjects(), std::nullopt);
        ASSERT_EQ(reported().size(), before + 2);
        EXPECT_EQ(reported()[before], c.message);
        EXPECT_EQ(reported()[before + 1], noAnswer);
    }
}

TEST_F(ZBAppleEventsTest, SaysWhatIsWrongWithAnAnswer) {
    finalCut.open(cut, {});
    finalCut.answers = FakeFinalCut::Answers::withoutXML;
    EXPECT_EQ(ZBAppleEvents::getProjectXML(cut), std::nullopt);
    finalCut.answers = FakeFinalCut::Answers::withXMLOfAnotherType;
    EXPECT_EQ(ZBAppleEvents::getTOC(cut), std::nullopt);
    EXPECT_THAT(reported(), ElementsAre("Error getting XML information", noAnswer,
                                        "Error retrieving XML data", noAnswer));
}

TEST_F(ZBAppleEventsTest, AProjectFileThatIsGoneCannotBeAskedAbout) {
    finalCut.open(other, {});
    finalCut.opensSlowly = true;
    fake.appleEvents.declareMissing(cut);
    EXPECT_EQ(ZBAppleEvents::getProjectXML(cut, LaunchFCP::yes), std::nullopt);
    EXPECT_THAT(reported(), ElementsAre("Error adding project file to AppleEvent query", noAnswer));
    EXPECT_THAT(events(), ElementsAre("fcLP"));
}

TEST_F(ZBAppleEventsTest, LogsExceptionsUnderTheNameOfItsMethod) {
    finalCut.launch();
    fake.applications.setFileOpener("com.apple.FinalCutPro", {});
    fake.appleEvents.setApplication(
        "KeyG", [](const platform::AppleEvent& event) -> platform::FakeAppleEvents::Answer {
            throw std::runtime_error("no " + platform::bytesOf(event.eventID));
        });
    EXPECT_EQ(ZBAppleEvents::listOfOpenFCPProjects(), std::nullopt);
    EXPECT_FALSE(ZBAppleEvents::openItem("item", cut, LaunchFCP::yes));
    EXPECT_EQ(ZBAppleEvents::getProjectXMLData(cut, LaunchFCP::yes), std::nullopt);
    constexpr const char* listing =
        "Exception in +[ZBAppleEvents listOfOpenFCPProjects]. std::exception - no fcLP.";
    EXPECT_THAT(
        loggedLines(),
        ElementsAre(listing, listing,
                    "Exception in +[ZBAppleEvents openItem:forProject:launchFCP:]. std::exception "
                    "- no fcOI.",
                    listing,
                    "Exception in +[ZBAppleEvents getProjectXMLData:launchFCP:closeProject:]. "
                    "std::exception - no eXML."));
}

TEST_F(ZBAppleEventsTest, FindsTheSequencesThatHaveANameInWhatTheVersionGives) {
    constexpr const char* sequences =
        "<xmeml><bin><sequence id='1'><name>One</name><clip><sequence id='2'><rate/><name>Two"
        "</name><name>Second</name></sequence></clip></sequence></bin><sequence id='3'/></xmeml>";
    const auto identifiers = [] {
        std::vector<std::string> found;
        const auto answer = ZBAppleEvents::sequencesInProject(cut);
        if (!answer) return std::vector<std::string>{"(nothing)"};
        for (const pugi::xml_node& node : answer->nodes)
            found.emplace_back(node.attribute("id").value());
        return found;
    };
    const auto install = [&](const char* version) {
        const Value info = Value::Dictionary{{"CFBundleShortVersionString", version}};
        ASSERT_FALSE(
            savePropertyList(info, Path("/Applications/Final Cut Pro.app/Contents/Info.plist")));
    };
    finalCut.open(cut, {.xml = sequences, .contents = "<contents/>"});
    install("6.0.6");
    EXPECT_THAT(identifiers(), ElementsAre("1", "2"));
    install("7.0.3");
    EXPECT_THAT(identifiers(), IsEmpty());
    EXPECT_THAT(events(), ElementsAre("fcLP", "eXML", "fcLP", "eTCX"));
    EXPECT_THAT(reported(), IsEmpty());

    for (const char* wrong : {"", "<contents", "<a></b>", "<a/><b/>", "text"}) {
        const size_t before = reported().size();
        finalCut.project(cut).contents = wrong;
        EXPECT_THAT(identifiers(), ElementsAre("(nothing)"));
        ASSERT_EQ(reported().size(), before + 1) << wrong;
        EXPECT_THAT(reported().back(), ::testing::MatchesRegex("Error: .+")) << wrong;
    }
}

class ZBAppleEventsWithoutFinalCutTest : public testing::FakePlatformTest {};

// As on a system that does not have it at all.
TEST_F(ZBAppleEventsWithoutFinalCutTest, WhatIsNotInstalledIsNotLaunched) {
    EXPECT_EQ(ZBAppleEvents::getProjectXML(cut, LaunchFCP::yes, CloseProject::yes), std::nullopt);
    EXPECT_FALSE(ZBAppleEvents::openItem("item", cut, LaunchFCP::yes));
    EXPECT_FALSE(ZBAppleEvents::sequencesInProject(cut));
    EXPECT_THAT(
        fake.console.reported(),
        ElementsAre(notRunning, "Error sending AppleEvent", noAnswer, notRunning,
                    "Error sending AppleEvent", notRunning, "Error sending AppleEvent", noAnswer));
    EXPECT_THAT(fake.applications.opened(), IsEmpty());
}

TEST(ZBAppleEventsTextTest, CutsOneZeroByteOff) {
    const auto formatted = [](std::string bytes) {
        return ZBAppleEvents::formatData(Data{std::move(bytes)}).bytes;
    };
    EXPECT_EQ(formatted(""), "");
    EXPECT_EQ(formatted("<a/>"), "<a/>");
    EXPECT_EQ(formatted({"<a/>\0", 5}), "<a/>");
    EXPECT_EQ(formatted({"<a/>\0\0", 6}), std::string("<a/>\0", 5));
    EXPECT_EQ(formatted({"\0", 1}), "");
}

TEST(ZBAppleEventsTextTest, EscapesReturnsAndWhatLiesBeyond159) {
    struct Case {
        const char* text;
        const char* escaped;
    };
    const Case cases[] = {
        {"", ""},
        {"a\tb\nc\rd", "a\tb\nc&#13;d"},
        {"<&>\"'", "<&>\"'"},
        {"caf\xC3\xA9", "caf&#233;"},
        {"\x7F\xC2\x80\xC2\x9F\xC2\xA0", "\x7F\xC2\x80\xC2\x9F&#160;"},
        {"\xE2\x82\xAC", "&#8364;"},
        {"\xF0\x9F\x8E\xAC", "&#55356;&#57260;"},
        {"\xFF", "&#65533;"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ZBAppleEvents::escapeCharactersInXMLString(c.text), c.escaped) << c.text;
    }
}

TEST(ZBAppleEventsTextTest, MakesNewIdentifiers) {
    const std::string one = ZBAppleEvents::generateUUID();
    EXPECT_TRUE(isUUID(one));
    EXPECT_NE(ZBAppleEvents::generateUUID(), one);
}

}  // namespace
}  // namespace larkspan
