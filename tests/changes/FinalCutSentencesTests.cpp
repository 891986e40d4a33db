#include "changes/ChangeListFixture.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using testing::filled;
using testing::Sentences;

// One changed leaf in its surroundings. Timecodes count from 0 with 25 frames, without drops.
class FinalCutSentencesTest : public testing::ChangeListTest {
  protected:
    // What a change of `leaf`, in which "@" is the value, gives inside of `around`, in which "@" is
    // the leaf.
    static Sentences ofLeaf(const std::string& around, const std::string& leaf,
                            const std::string& oldValue, const std::string& newValue) {
        return changes(document(filled(around, filled(leaf, oldValue))),
                       document(filled(around, filled(leaf, newValue))));
    }
    static std::string document(const std::string& inside) {
        return "<xmeml version=\"4\">" + inside + "</xmeml>";
    }
};

const std::string inSequence =
    "<sequence "
    "id=\"s\"><uuid>S</uuid><name>Cut</name><rate><timebase>25</timebase></rate><timecode>"
    "<frame>0</frame><displayformat>NDF</displayformat></timecode>@</sequence>";
const std::string inVideo = filled(inSequence, "<media><video><track>@</track></video></media>");
const std::string inAudio = filled(inSequence, "<media><audio><track>@</track></audio></media>");
const std::string item = "<clipitem id=\"c\"><name>Shot</name>@</clipitem>";
const std::string freeze =
    "<clipitem><name>Shot</name><stillframeoffset>1</stillframeoffset>@</clipitem>";
const std::string subclip = "<clip><name>Shot</name><subclipinfo/>@</clip>";
const std::string videoItem = filled(inVideo, item);
const std::string audioItem = filled(inAudio, item);
const std::string bareItem = filled(inSequence, item);
const std::string clip = "<clip><name>Shot</name>@</clip>";
const std::string generator = filled(inVideo, "<generatoritem><name>Text</name>@</generatoritem>");
const std::string transition =
    filled(inVideo, "<transitionitem>@<effect><name>Dissolve</name></effect></transitionitem>");
const std::string filter =
    filled(videoItem, "<filter>@<effect><name>Blur</name></effect></filter>");
const std::string effect =
    filled(videoItem, "<filter><effect><name>Blur</name>@</effect></filter>");
const std::string marker = filled(inSequence, "<marker><name>Here</name>@</marker>");

struct LeafCase {
    std::string around;
    const char* leaf;
    const char* oldValue;
    const char* newValue;
    const char* expected;
};

TEST_F(FinalCutSentencesTest, InAndOut) {
    const std::vector<LeafCase> table{
        {inSequence, "<in>@</in>", "0", "50",
         "In Point of sequence Cut changed from 00:00:00:00 to 00:00:02:00 (+50)"},
        {inSequence, "<in>@</in>", "0", "-1", "In Point of sequence Cut removed"},
        {inSequence, "<out>@</out>", "50", "25",
         "Out Point of sequence Cut changed from 00:00:02:00 to 00:00:01:00 (-25)"},
        {inSequence, "<out>@</out>", "50", "-1", "Out Point of sequence Cut removed"},
        {clip, "<in>@</in>", "0", "30",
         "In Point of clip Shot changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {clip, "<in>@</in>", "0", "-1", "In Point of clip Shot removed"},
        {subclip, "<in>@</in>", "0", "-1", "In Point of subclip Shot removed"},
        {clip, "<out>@</out>", "0", "30",
         "Out Point of clip Shot changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {clip, "<out>@</out>", "0", "-1", "Out Point of clip Shot removed"},
        {bareItem, "<in>@</in>", "0", "25",
         "In Point of clip Shot changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {filled(inSequence, freeze), "<in>@</in>", "0", "-1",
         "In Point of freeze frame Shot removed"},
        {videoItem, "<in>@</in>", "0", "25",
         "In Point of video clip Shot changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {videoItem, "<in>@</in>", "0", "-1", "In Point of video clip Shot removed"},
        {videoItem, "<out>@</out>", "10273.0", "10273",
         "Out Point of video clip Shot changed from 00:06:50:23 to 00:06:50:23 (0)"},
        {videoItem, "<out>@</out>", "5", "-1", "Out Point of video clip Shot removed"},
        {audioItem, "<in>@</in>", "0", "25",
         "In Point of audio clip Shot changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {audioItem, "<out>@</out>", "0", "25",
         "Out Point of audio clip Shot changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {audioItem, "<out>@</out>", "0", "-1", "Out Point of audio clip Shot removed"},
        {inVideo, "<in>@</in>", "0", "25",
         "In Point of video track in sequence Cut changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {inVideo, "<in>@</in>", "0", "-1", "In Point of video track in sequence Cut removed"},
        {inAudio, "<out>@</out>", "0", "25",
         "Out Point of audio track in sequence Cut changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {inAudio, "<out>@</out>", "0", "-1", "Out Point of audio track in sequence Cut removed"},
        {generator, "<in>@</in>", "0", "25", "In Point of generator Text changed to 00:00:01:00"},
        {generator, "<in>@</in>", "0", "-1", "In Point of generator Text removed"},
        {generator, "<out>@</out>", "0", "25",
         "Out Point of generator Text changed to 00:00:01:00"},
        {transition, "<in>@</in>", "0", "25",
         "In Point of transition Dissolve changed to 00:00:01:00"},
        {transition, "<out>@</out>", "0", "-1", "Out Point of transition Dissolve removed"},
        {filter, "<in>@</in>", "0", "25", "In Point of filter Blur changed to 00:00:01:00"},
        {effect, "<in>@</in>", "0", "-1", "In Point of filter Blur removed"},
        {effect, "<out>@</out>", "0", "25", "Out Point of filter Blur changed to 00:00:01:00"},
        {marker, "<in>@</in>", "0", "25", "In Point of marker Here changed to 00:00:01:00"},
        {marker, "<out>@</out>", "5", "-1", "Out Point of marker Here removed"},
    };
    for (const auto& [around, leaf, oldValue, newValue, expected] : table) {
        EXPECT_EQ(ofLeaf(around, leaf, oldValue, newValue), Sentences{expected}) << leaf;
    }
}

TEST_F(FinalCutSentencesTest, StartAndEnd) {
    const std::vector<LeafCase> table{
        {inSequence, "<start>@</start>", "0", "25",
         "Cut sequence Start changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {inSequence, "<end>@</end>", "25", "0",
         "Cut sequence End changed from 00:00:01:00 to 00:00:00:00 (-25)"},
        {generator, "<start>@</start>", "0", "25",
         "Start point of generator Text changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {generator, "<end>@</end>", "0", "25",
         "End point of generator Text changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {generator, "<start>@</start>", "0", "-1",
         "Transition added at beginning of generator Text"},
        {generator, "<end>@</end>", "0", "-1", "Transition added at end of generator Text"},
        {videoItem, "<start>@</start>", "0", "25",
         "Start point of video clip Shot changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {videoItem, "<end>@</end>", "0", "25",
         "End point of video clip Shot changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {videoItem, "<start>@</start>", "0", "-1",
         "Transition added at beginning of video clip Shot"},
        {videoItem, "<end>@</end>", "0", "-1", "Transition added at end of video clip Shot"},
        {filled(inVideo, freeze), "<end>@</end>", "0", "-1",
         "Transition added at end of video freeze frame Shot"},
        {bareItem, "<start>@</start>", "0", "25",
         "Start point of clip Shot changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {subclip, "<end>@</end>", "0", "30",
         "End point of subclip Shot changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {audioItem, "<start>@</start>", "0", "25",
         "Start of audio clip Shot changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {audioItem, "<end>@</end>", "0", "25",
         "End of audio clip Shot changed from 00:00:00:00 to 00:00:01:00 (+25)"},
        {audioItem, "<start>@</start>", "0", "-1",
         "Transition added at beginning of audio clip Shot"},
        {audioItem, "<end>@</end>", "0", "-1", "Transition added at end of audio clip Shot"},
        {transition, "<start>@</start>", "0", "25",
         "Start point of transition Dissolve changed to 00:00:01:00"},
        {transition, "<end>@</end>", "0", "-1", "End point of transition Dissolve removed"},
        {filter, "<start>@</start>", "0", "25",
         "Start point of filter Blur changed to 00:00:01:00"},
        {filter, "<end>@</end>", "0", "25", "End point of filter Blur changed to 00:00:01:00"},
        {marker, "<start>@</start>", "0", "25", "Start changed to 25"},
        {filled(clip, "<subclipinfo>@</subclipinfo>"), "<startoffset>@</startoffset><x/>", "0",
         "30", "Start point of subclip Shot changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {clip, "<mediadelay>@</mediadelay>", "30", "0",
         "Start point of subclip Shot changed from 00:00:01;00 to 00:00:00;00 (-30)"},
        {clip, "<subclipinfo>@</subclipinfo>", "30", "0",
         "Start point of subclip Shot changed from 00:00:01;00 to 00:00:00;00 (-30)"},
        {filled(clip, "<subclipinfo><a/>@</subclipinfo>"), "<endoffset>@</endoffset>", "0", "30",
         "End point of subclip Shot changed to 00:00:01;00"},
    };
    for (const auto& [around, leaf, oldValue, newValue, expected] : table) {
        EXPECT_EQ(ofLeaf(around, leaf, oldValue, newValue), Sentences{expected}) << leaf;
    }
}

TEST_F(FinalCutSentencesTest, Names) {
    const std::string secondMarker = "<marker><name>@</name></marker>";
    const std::vector<LeafCase> table{
        {"<project>@<children/></project>", "<name>@</name>", "A", "B",
         "Project name changed to B"},
        {"<sequence>@<media/></sequence>", "<name>@</name>", "A", "B",
         "Sequence name changed to B"},
        {"<sequence><uuid>S</uuid>@</sequence>", "<name>@</name>", "A", "B",
         "Sequence name changed to B"},
        {"<clip>@<in/></clip>", "<name>@</name>", "A", "B", "A clip name changed to B"},
        {filled(inVideo, "<clipitem>@<stillframeoffset/></clipitem>"), "<name>@</name>", "A%20A",
         "B", "A A freeze frame name changed to B"},
        {"<clip>@<subclipinfo/></clip>", "<name>@</name>", "A", "", "A subclip name changed to "},
        {"<bin>@<children/></bin>", "<name>@</name>", "A", "B %@", "A bin name changed to B %@"},
        {filled(inSequence, "<marker>@<in/></marker>"), "<name>@</name>", "A", "B",
         "Marker A name changed to B in sequence Cut"},
        {filled(videoItem, "<marker>@<in/></marker>"), "<name>@</name>", "A", "B",
         "Marker A name changed to B for clip Shot"},
        {"<bin><name>X</name><marker>@<in/></marker></bin>", "<name>@</name>", "A", "B",
         "Marker A name changed to B"},
        {filled(inVideo, "<generatoritem><in/><effect>@<in/></effect></generatoritem>"),
         "<name>@</name>", "A", "B", "New generator added: B"},
        {filled(inVideo, "<generatoritem><name>G</name><effect>@<in/></effect></generatoritem>"),
         "<name>@</name>", "A", "Crop", "New generator added: G"},
        {filled(videoItem, "<filter><effect>@<in/></effect></filter>"), "<name>@</name>", "A", "B",
         "New filter added: B"},
        {filled(videoItem, "<filter><effect>@<in/></effect></filter>"), "<name>@</name>", "A",
         "Basic Motion", "No notable changes"},
        {filled(inVideo, "<generatoritem>@<in/></generatoritem>"), "<name>@</name>", "A", "B",
         "Name changed to B"},
    };
    for (const auto& [around, leaf, oldValue, newValue, expected] : table) {
        EXPECT_EQ(ofLeaf(around, leaf, oldValue, newValue), Sentences{expected}) << around;
    }
}

TEST_F(FinalCutSentencesTest, Settings) {
    const std::string parameter = filled(effect, "<parameter><name>radius</name>@</parameter>");
    const std::string keyframe = filled(parameter, "<keyframe><when>25</when>@</keyframe>");
    const std::string sequenceKeyframe =
        filled(inSequence, "<keyframe><when>50</when>@</keyframe>");
    const std::vector<LeafCase> table{
        {parameter, "<value>@</value>", "1", "2", "Radius set to 2 for Blur Filter"},
        {keyframe, "<value>@</value>", "1", "2",
         "Keyframe at 00:00:01:00 set to 2 for filter Blur on clip Shot"},
        {sequenceKeyframe, "<value>@</value>", "1", "2", "Keyframe at 00:00:02:00 set to 2"},
        {inSequence, "<duration>@</duration>", "100", "88",
         "Cut sequence duration changed from 00:00:04:00 to 00:00:03:13 (-12)"},
        {videoItem, "<duration>@</duration>", "100", "88",
         "Shot clip duration changed from 00:00:04:00 to 00:00:03:13 (-12)"},
        {videoItem, "<duration>@</duration>", "88", "88.0",
         "Shot clip duration changed from 00:00:03:13 to 00:00:03:13 (0)"},
        {subclip, "<duration>@</duration>", "0", "30",
         "Shot subclip duration changed from 00:00:00;00 to 00:00:01;00 (+30)"},
        {generator, "<duration>@</duration>", "0", "25",
         "Duration changed to 00:00:01:00 for Text generator"},
        {transition, "<duration>@</duration>", "0", "25", "Duration changed to 25"},
        {filled(inSequence, "<media><codec>@<b/></codec></media>"), "<codec>@</codec>", "A", "B",
         "Sequence codec changed to B"},
        {clip, "<codec>@</codec>", "A", "B", "Clip codec changed to B"},
        {inSequence, "<width>@</width>", "1", "2", "Cut sequence width changed to 2"},
        {clip, "<width>@</width>", "1", "2", "Clip Shot width changed to 2"},
        {inSequence, "<height>@</height>", "1", "2", "Cut sequence height changed to 2"},
        {filled(inVideo, freeze), "<height>@</height>", "1", "2",
         "Freeze frame Shot height changed to 2"},
        {inSequence, "<pixelaspectratio>@</pixelaspectratio>", "square", "NTSC-601",
         "Cut sequence pixel aspect ratio changed to NTSC-601"},
        {subclip, "<pixelaspectratio>@</pixelaspectratio>", "square", "NTSC-601",
         "Subclip Shot pixel aspect ratio changed to NTSC-601"},
        {inSequence, "<fielddominance>@</fielddominance>", "none", "lower",
         "Cut sequence field dominance changed to lower"},
        {clip, "<fielddominance>@</fielddominance>", "none", "lower",
         "Clip Shot field dominance changed to lower"},
        {filled(inSequence, "<format>@<b/></format>"), "<timebase>@</timebase>", "25", "30",
         "Cut sequence timebase changed to 30"},
        {clip, "<timebase>@</timebase>", "25", "30", "Clip Shot timebase changed to 30"},
        {inSequence, "<ntsc>@</ntsc>", "FALSE", "TRUE", "Cut sequence is NTSC"},
        {clip, "<ntsc>@</ntsc>", "TRUE", "False", "Clip Shot is not NTSC"},
        {inSequence, "<enabled>@</enabled>", "TRUE", "FALSE", "Cut sequence disabled"},
        {videoItem, "<enabled>@</enabled>", "TRUE", "FALSE", "Clip Shot disabled"},
        {videoItem, "<enabled>@</enabled>", "FALSE", "TRUE", "Clip Shot enabled"},
        {videoItem, "<enabled>@</enabled>", "TRUE", "False", "No notable changes"},
        {filter, "<enabled>@</enabled>", "TRUE", "FALSE", "Blur filter for clip Shot disabled"},
        {effect, "<enabled>@</enabled>", "FALSE", "TRUE", "Blur filter for clip Shot enabled"},
        {generator, "<enabled>@</enabled>", "FALSE", "TRUE", "Enabled changed to TRUE"},
        {generator, "<alphatype>@</alphatype>", "none", "black",
         "Alpha type for generator Text set to black"},
        {effect, "<alphatype>@</alphatype>", "none", "black",
         "Alpha type for filter Blur set to black"},
        {videoItem, "<alphatype>@</alphatype>", "none", "black",
         "Alpha type for clip Shot set to black"},
        {transition, "<alignment>@</alignment>", "center", "end",
         "Transition aligment set to end for Dissolve"},
        {marker, "<comment>@</comment>", "a", "b", "Here marker description changed to b"},
        {filled(clip, "<logginginfo>@<a/></logginginfo>"), "<shottake>@</shottake>", "1", "2",
         "Shot changed to 2 for clip Shot"},
        {filled(clip, "<logginginfo>@<a/></logginginfo>"), "<scene>@</scene>", "1", "2",
         "Scene changed to 2 for clip Shot"},
        {inSequence, "<scene>@</scene>", "1", "2", "No notable changes"},
        {inSequence, "<colour>@</colour>", "1", "100%@", "Colour changed to 100%@"},
    };
    for (const auto& [around, leaf, oldValue, newValue, expected] : table) {
        EXPECT_EQ(ofLeaf(around, leaf, oldValue, newValue), Sentences{expected}) << leaf;
    }
}

TEST_F(FinalCutSentencesTest, IgnoredAndBookkeepingElementsSayNothing) {
    for (const char* name : {"children",       "project",
                             "video",          "audio",
                             "media",          "track",
                             "filter",         "effectid",
                             "effectcategory", "effecttype",
                             "masterclipid",   "ismasterclip",
                             "privatestate",   "outputchannelindex",
                             "data",           "itemhistory",
                             "link",           "linkclipref",
                             "trackindex",     "file",
                             "mediatype"}) {
        const std::string leaf = std::string("<") + name + ">@</" + name + ">";
        EXPECT_EQ(ofLeaf("<bin><name>B</name>@</bin>", leaf, "1", "2"),
                  Sentences{"No notable changes"})
            << name;
    }
    EXPECT_EQ(ofLeaf(inSequence, "<timecode><string>@</string><a/></timecode>", "1", "2"),
              Sentences{"No notable changes"});
    EXPECT_EQ(ofLeaf("<multiclip><angle>@</angle><b/></multiclip>", "<clip><name>@</name></clip>",
                     "1", "2"),
              Sentences{"No notable changes"});
}

TEST_F(FinalCutSentencesTest, AContainerOfOneLeafIsALeafItself) {
    EXPECT_EQ(ofLeaf(inSequence, "<rate><timebase>@</timebase></rate>", "25", "30"),
              (Sentences{"Rate changed to 30", "Cut sequence timebase changed to 30"}));
    EXPECT_EQ(ofLeaf(inSequence, "<a><b><c>@</c></b></a>", "1", "2"),
              (Sentences{"A changed to 2", "B changed to 2", "C changed to 2"}));
}

TEST_F(FinalCutSentencesTest, UnknownChangesAreLoggedWithTheirPlace) {
    (void)ofLeaf(filled(inSequence, "<a/><a><x/>@</a>"), "<colour>@</colour>", "1", "2");
    EXPECT_THAT(loggedLines(), ::testing::ElementsAre("Getting changelist from XML doc...",
                                                      "Unknown change: Colour changed to 2. XPath: "
                                                      "/xmeml[1]/sequence[1]/a[2]/colour[1]"));
}

TEST_F(FinalCutSentencesTest, ASequenceThatTheNewListsDoNotKnowIsAdded) {
    const auto document = testing::parsed("<sequence><uuid>S</uuid><name>B</name></sequence>");
    const auto node = testing::firstNamed(document, "name");
    const ChangedLeaf leaf{.node = node,
                           .nodeName = "name",
                           .nodeValue = "B",
                           .nodeParent = node.parent(),
                           .nodeParentName = "sequence",
                           .oldNode = node,
                           .oldValue = "A"};
    const std::vector<std::string_view> uuids{"S"};
    EXPECT_EQ(changeStringFromFCPNode(leaf, {}), "Sequence added: B");
    EXPECT_EQ(changeStringFromFCPNode(leaf, uuids), "Sequence name changed to B");
    bool ended = false;
    const Cancellation cancelled{[] { return true; }, [&] { ended = true; }};
    EXPECT_EQ(changeStringFromFCPNode(leaf, {}, cancelled), std::nullopt);
    EXPECT_TRUE(ended);
}

}  // namespace
}  // namespace larkspan
