#include "changes/ChangeListFixture.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using testing::filled;
using testing::Sentences;

class PremiereSentencesTest : public testing::ChangeListTest {
  protected:
    static Sentences ofLeaf(const std::string& around, const std::string& leaf,
                            const std::string& oldValue, const std::string& newValue) {
        return premiereChanges(filled(around, filled(leaf, oldValue)),
                               filled(around, filled(leaf, newValue)));
    }
};

// Objects beside one another that refer to one another, as the application writes them.
const std::string objects =
    "<PremiereData Version=\"3\">"
    "<SubClip ObjectID=\"7\"><Clip ObjectRef=\"5\"/><Name>Interview</Name></SubClip>"
    "<SubClip ObjectID=\"8\"><Clip ObjectRef=\"6\"/><Name>Street</Name></SubClip>"
    "<SubClip ObjectID=\"9\"><Clip ObjectRef=\"4\"/></SubClip>@</PremiereData>";
const std::string audioClip =
    filled(objects, "<AudioClip ObjectID=\"5\"><Clip Version=\"1\"><a/>@</Clip><b/></AudioClip>");
const std::string videoClip =
    filled(objects, "<VideoClip ObjectID=\"6\"><Clip Version=\"1\"><a/>@</Clip><b/></VideoClip>");
const std::string namelessClip =
    filled(objects, "<VideoClip ObjectID=\"4\"><Clip Version=\"1\"><a/>@</Clip><b/></VideoClip>");
const std::string lostClip =
    filled(objects, "<VideoClip ObjectID=\"1\"><Clip Version=\"1\"><a/>@</Clip><b/></VideoClip>");
const std::string bareClip = filled(objects, "<Clip ObjectID=\"6\"><a/>@</Clip>");
const std::string audioItem =
    filled(objects,
           "<AudioClipTrackItem ObjectID=\"20\"><ClipTrackItem><TrackItem><a/>@</TrackItem>"
           "<SubClip ObjectRef=\"7\"/></ClipTrackItem><b/></AudioClipTrackItem>");
const std::string videoItem =
    filled(objects,
           "<VideoClipTrackItem ObjectID=\"21\"><ClipTrackItem><TrackItem><a/>@</TrackItem>"
           "<SubClip ObjectRef=\"8\"/></ClipTrackItem><b/></VideoClipTrackItem>");
const std::string lostItem =
    filled(objects,
           "<ClipTrackItem><TrackItem><a/>@</TrackItem><SubClip ObjectRef=\"x\"/></ClipTrackItem>");
const std::string sequence =
    filled(objects, "<Sequence ObjectUID=\"u\"><Name>Cut</Name>@</Sequence>");

TEST_F(PremiereSentencesTest, PointsAndBounds) {
    struct Case {
        std::string around;
        const char* leaf;
        const char* oldValue;
        const char* newValue;
        const char* expected;
    };
    const std::vector<Case> table{
        {sequence, "<InPoint>@</InPoint>", "0", "30",
         "In Point of sequence Cut changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {sequence, "<OutPoint>@</OutPoint>", "0", "-1", "Out Point of sequence Cut removed"},
        {sequence, "<Start>@</Start>", "30", "0",
         "Cut sequence Start changed from 00:00:01;00 to 00:00:00;00 (-30)"},
        {sequence, "<End>@</End>", "0", "30",
         "Cut sequence End changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {audioClip, "<InPoint>@</InPoint>", "0", "30",
         "In Point of audio clip Interview changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {audioClip, "<OutPoint>@</OutPoint>", "0", "-1",
         "Out Point of audio clip Interview removed"},
        {videoClip, "<InPoint>@</InPoint>", "0", "-1", "In Point of video clip Street removed"},
        {videoClip, "<OutPoint>@</OutPoint>", "254016000000", "254016000030",
         "Out Point of video clip Street changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {bareClip, "<InPoint>@</InPoint>", "0", "-1", "In Point of clip Street removed"},
        {namelessClip, "<InPoint>@</InPoint>", "0", "30", "No notable changes"},
        {lostClip, "<InPoint>@</InPoint>", "0", "30", "No notable changes"},
        {audioItem, "<Start>@</Start>", "0", "30",
         "Start of audio clip Interview changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {audioItem, "<End>@</End>", "0", "30",
         "End of audio clip Interview changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {audioItem, "<End>@</End>", "0", "-1", "Transition added at end of audio clip Interview"},
        {videoItem, "<Start>@</Start>", "0", "30",
         "Start point of video clip Street changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {videoItem, "<Start>@</Start>", "0", "-1",
         "Transition added at beginning of video clip Street"},
        {videoItem, "<End>@</End>", "0", "30",
         "End point of video clip Street changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {videoItem, "<End>@</End>", "0", "-1", "Transition added at end of video clip Street"},
        {lostItem, "<Start>@</Start>", "0", "30", "No notable changes"},
        {objects, "<InPoint>@</InPoint>", "0", "30", "InPoint changed to 30"},
        {objects, "<MZ.WorkInPoint>@</MZ.WorkInPoint>", "0", "254016000000",
         "Work Area in point set to 254016000000"},
        {objects, "<MZ.WorkOutPoint>@</MZ.WorkOutPoint>", "0", "1", "Work Area out point set to 1"},
    };
    for (const auto& [around, leaf, oldValue, newValue, expected] : table) {
        EXPECT_EQ(ofLeaf(around, leaf, oldValue, newValue), Sentences{expected}) << around << leaf;
    }
}

TEST_F(PremiereSentencesTest, TheInterchangeFormatsElementsCountToo) {
    const std::string track =
        "<xmeml><sequence><Name>Cut</Name><rate><timebase>25</timebase></rate><timecode><frame>0"
        "</frame><displayformat>NDF</displayformat></timecode><media><b/>@</media></sequence></"
        "xmeml>";
    const std::string clip = "<track><b/><clipitem><name>Shot</name>@</clipitem></track>";
    const std::string video = filled(track, filled("<video><b/>@</video>", clip));
    const std::string audio = filled(track, filled("<audio><b/>@</audio>", clip));
    EXPECT_EQ(ofLeaf(video, "<end>@</end>", "0", "25"),
              Sentences{"End point of video clip Shot changed from 00:00:00:00 to 00:00:01:00 "
                        "(+25)"});
    EXPECT_EQ(ofLeaf(video, "<end>@</end>", "0", "-1"),
              Sentences{"Transition added at end of video clip Shot"});
    EXPECT_EQ(ofLeaf(audio, "<end>@</end>", "0", "25"),
              Sentences{"End of audio clip Shot changed from 00:00:00:00 to 00:00:01:00 (+25)"});
    EXPECT_EQ(ofLeaf(video, "<start>@</start>", "0", "25"),
              Sentences{"Start point of video clip Shot changed from 00:00:00:00 to 00:00:01:00 "
                        "(+25)"});
    EXPECT_EQ(ofLeaf(video, "<scene>@</scene>", "0", "25"), Sentences{"Scene changed to 25"});
    EXPECT_EQ(ofLeaf(video, "<shottake>@</shottake>", "0", "25"),
              Sentences{"Shottake changed to 25"});
    EXPECT_EQ(ofLeaf(filled(video, "<b/>@"), "<masterclipid>@</masterclipid>", "0", "25"),
              Sentences{"Masterclipid changed to 25"});
}

TEST_F(PremiereSentencesTest, IgnoredAndBookkeepingElementsSayNothing) {
    for (const char* name :
         {"Node", "Timestamp", "CompilerFourCC", "CompilerClassIDFourCC", "AutomationMode",
          "MZ.BuildVersion", "itemhistory", "link", "LinkRefCount", "trackindex", "file",
          "mediatype", "ProjectViewState", "Properties"}) {
        const std::string leaf = std::string("<") + name + ">@</" + name + ">";
        EXPECT_EQ(ofLeaf(objects, leaf, "1", "2"), Sentences{"No notable changes"}) << name;
    }
}

TEST_F(PremiereSentencesTest, NothingIsFramed) {
    EXPECT_EQ(premiereChanges("<P><project><a>1</a></project></P>",
                              "<P><sequence><a>2</a></sequence></P>"),
              Sentences{"No notable changes"});
    EXPECT_EQ(premiereChanges("<P><sequence><uuid>A</uuid><name>1</name></sequence></P>",
                              "<P><sequence><uuid>B</uuid><name>2</name></sequence></P>"),
              (Sentences{"New sequence added: 2", "Sequence 1 removed"}));
    EXPECT_EQ(premiereChanges("<P/>", "<P> </P>"), Sentences{"No change"});
}

TEST_F(PremiereSentencesTest, SaysOnTheConsoleWhichSubclipWasFound) {
    fake.console.showDetails();
    (void)ofLeaf(audioClip, "<InPoint>@</InPoint>", "0", "30");
    (void)ofLeaf(videoItem, "<Start>@</Start>", "0", "30");
    EXPECT_THAT(fake.console.reported(), ElementsAre("parenttype: AudioClip", "subclip: Interview",
                                                     "subclip id: 8", "subclip: Street"));
}

}  // namespace
}  // namespace larkspan
