#include "changes/ChangeListFixture.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using testing::filled;
using ::testing::HasSubstr;
using testing::parsed;
using testing::Sentences;

class ChangeListTests : public testing::ChangeListTest {};

const std::string rate =
    "<rate><timebase>25</timebase></rate><timecode><frame>0</frame><displayformat>NDF"
    "</displayformat></timecode>";
const std::string sequence =
    "<xmeml><sequence><uuid>S</uuid><name>Cut</name>" + rate + "@</sequence></xmeml>";
const std::string videoTrack = filled(sequence, "<media><video><track>@</track></video></media>");
const std::string audioTrack = filled(sequence, "<media><audio><track>@</track></audio></media>");
const std::string project =
    "<xmeml><project><name>P</name><children>@</children></project></xmeml>";

TEST_F(ChangeListTests, AnnouncesNewElements) {
    const std::string file =
        "<file id=\"f\"><pathurl>file://localhost/M/A%20B.mov</pathurl></file>";
    const std::string shot =
        filled(videoTrack, "<clipitem id=\"c\"><name>Shot</name><in/>@</clipitem>");
    const std::string audioShot =
        filled(audioTrack, "<clipitem id=\"c\"><name>Shot</name><in/>@</clipitem>");
    struct Case {
        std::string around;
        std::string added;
        std::vector<std::string> expected;
    };
    const std::vector<Case> table{
        {project,
         "<sequence><uuid>N</uuid><name>Two</name></sequence>",
         {"New sequence added: Two"}},
        {project,
         "<bin><name>Day%201</name><children><clip><name>x</name></clip></children></bin>",
         {"New bin added: Day 1"}},
        {project,
         "<clip id=\"n\">" + file + "<in>30</in></clip>",
         {"New clip A B.mov added at 00:00:01;00"}},
        {project, "<clip id=\"n\"><subclipinfo/></clip>", {"New subclip added"}},
        {videoTrack,
         "<clipitem id=\"n\">" + file + "<start>25</start></clipitem>",
         {"New video clip A B.mov added for sequence Cut at 00:00:01:00"}},
        {audioTrack,
         "<clipitem id=\"n\"><stillframeoffset>1</stillframeoffset></clipitem>",
         {"New audio freeze frame added for sequence Cut"}},
        {project,
         "<multiclip id=\"n\"><name>M</name><angle>" + file + "</angle></multiclip>",
         {"New multiclip added: A B.mov"}},
        {videoTrack,
         "<multiclip id=\"n\"><name>M</name><start>25</start></multiclip>",
         {"New multiclip added at 00:00:01:00 to sequence Cut"}},
        {project,
         "<multiclip id=\"n\"><name>M</name><angle><clip id=\"a\"><in>0</in></clip></angle>"
         "</multiclip>",
         {"New multiclip added at 00:00:00;00", "New clip added to multiclip M at 00:00:00;00"}},
        {project,
         "<clip id=\"n\"><multiclip id=\"m\"><name>M</name></multiclip></clip>",
         {"New clip added to multiclip M", "New multiclip added"}},
        {videoTrack,
         "<generatoritem id=\"n\"><start>25</start><effect><name>Text</name></effect>"
         "</generatoritem>",
         {"New generator Text added to sequence Cut at 00:00:01:00", "New filter added: Text"}},
        {videoTrack,
         "<transitionitem><start>25</start><effect><name>Dissolve</name></effect></transitionitem>",
         {"New transition Dissolve added for sequence Cut at 00:00:01:00",
          "New filter added: Dissolve"}},
        {shot,
         "<transitionitem><effect><name>Crop</name></effect></transitionitem>",
         {"New transition Crop added to clip Shot for sequence Cut"}},
        {shot,
         "<marker><name>Here</name><in>25</in></marker>",
         {"New marker Here added to video clip Shot for sequence Cut at 00:00:01:00"}},
        {audioShot,
         "<marker><name>Here</name></marker>",
         {"New marker Here added to audio clip Shot for sequence Cut"}},
        {sequence,
         "<marker><name>100% %@</name></marker>",
         {"New marker 100% %@ added for sequence Cut"}},
        {sequence, "<marker/>", {"No notable changes"}},
        {shot,
         "<filter><effect><name>Blur</name></effect></filter>",
         {"New filter added for clip Shot: Blur"}},
        {shot, "<filter><effect><name>Opacity</name></effect></filter>", {"No notable changes"}},
        {shot, "<labels><label2>Best</label2></labels>", {"No notable changes"}},
    };
    for (const auto& [around, added, expected] : table) {
        EXPECT_EQ(changes(filled(around, ""), filled(around, added)), expected) << added;
    }
}

TEST_F(ChangeListTests, WhatTheOldDocumentKnewIsNotNew) {
    const auto item = [](const std::string& inside) {
        return "<clip id=\"%23x\"><name>c</name>" + inside + "</clip>";
    };
    const std::string old = filled(
        project, "<x><y><uuid>U1</uuid></y><z id=\"#x\"/><marker><name>Here</name></marker></x>");
    struct Case {
        std::string added;
        bool isNew;
    };
    const std::vector<Case> table{
        {item("<uuid>U1</uuid>"), false},
        {item("<uuid>U2</uuid>"), true},
        {item("<uuid>U2</uuid><itemhistory><uuid>U1</uuid></itemhistory>"), false},
        {item("<uuid>U2</uuid><itemhistory><uuid>U3</uuid></itemhistory>"), true},
        {item("<itemhistory><uuid>U1</uuid></itemhistory>"), false},
        {item(""), false},  // its id with the escape resolved
        {"<clip id=\"other\"><name>c</name></clip>", true},
        {"<clip><name>c</name></clip>", true},
        {"<generatoritem id=\"#x\"><name>c</name></generatoritem>", false},
        {"<generatoritem><name>c</name><uuid>U1</uuid></generatoritem>", true},
        {"<marker><name>Here</name></marker>", false},
        {"<marker id=\"n\"><name>Here</name></marker>", true},
    };
    for (const auto& [added, isNew] : table) {
        const std::string same =
            "<x><y><uuid>U1</uuid></y><z id=\"#x\"/><marker><name>Here</name>"
            "</marker></x>";
        Sentences sentences = changes(old, filled(project, added + same));
        std::erase_if(sentences, [](const std::string& line) { return line.ends_with("removed"); });
        EXPECT_EQ(sentences.front().starts_with("New "), isNew) << added;
    }
}

TEST_F(ChangeListTests, ReportsRemovals) {
    struct Case {
        const char* removed;
        std::vector<std::string> expected;
    };
    const std::vector<Case> table{
        {"<clip><uuid>U</uuid><name>A</name></clip>", {"Clip A removed"}},
        {"<clipitem id=\"i\"><uuid>U</uuid><name>A</name></clipitem>",
         {"Clip A removed", "Clip A removed"}},
        {"<file id=\"i\"/><file id=\"i\"/>", {"File i removed", "File i removed"}},
        {"<clip><itemhistory><uuid>U</uuid></itemhistory></clip>", {"No notable changes"}},
        {"<clip><itemhistory><uuid>U</uuid></itemhistory><uuid>U</uuid></clip>",
         {"No notable changes"}},
        {"<clip><uuid>U</uuid></clip>", {"No notable changes"}},
        {"<generatoritem id=\"a&amp;b\"/>", {"Generatoritem a&b removed"}},
        {"<generatoritem id=\"caf\xC3\xA9 \xF0\x9F\x8E\xAC \"/>",
         {"Generatoritem caf\xC3\xA9 \xF0\x9F\x8E\xAC  removed"}},
        {"<generatoritem id=\"a&#10;b\"/>", {"No notable changes"}},
        {"<x id=\"a&#9;b\"/><y id=\"ab\"/>", {"Y ab removed", "Y ab removed"}},
        {"<x id=\"a&amp;amp;b\"/>", {"No notable changes"}},
        {"<x id=\"%41%zz\"/>", {"X %41%zz removed"}},
        {"<x id=\"it's\"/>", {"X it's removed"}},
    };
    for (const auto& [removed, expected] : table) {
        EXPECT_EQ(changes(filled(project, removed), filled(project, "")), expected) << removed;
    }
}

TEST_F(ChangeListTests, AnIdentifierThatCannotBeAskedForIsReportedOnTheConsole) {
    fake.console.showDetails();
    const std::string removed = "<a id='say \"x\"'><uuid>\"</uuid></a><b id='b'/>";
    EXPECT_EQ(changes(filled(project, removed), filled(project, "")), Sentences{"B b removed"});
    ASSERT_EQ(fake.console.reported().size(), 2U);
    EXPECT_THAT(fake.console.reported()[0], HasSubstr("err: "));
    EXPECT_THAT(fake.console.reported()[1], HasSubstr("err2: "));
}

TEST_F(ChangeListTests, Frames) {
    const auto named = [](const char* uuid, const char* name) {
        return "<xmeml><sequence>" + std::string(uuid) + "<name>" + name +
               "</name><media/></sequence></xmeml>";
    };
    struct Case {
        std::string oldText;
        std::string newText;
        std::vector<std::string> expected;
    };
    const std::vector<Case> table{
        {filled(project, ""), filled(project, " "), {"No change"}},
        {filled(project, ""), named("", "Cut"), {"Backup sequence changed to Cut"}},
        {named("", "Cut"), filled(project, ""), {"Backup type changed to Project"}},
        {named("<uuid>A</uuid>", "One"),
         named("<uuid>B</uuid>", "Two"),
         {"Backup sequence changed to Two"}},
        {named("<uuid>A</uuid>", "One"),
         named("<uuid>A</uuid>", "Two"),
         {"Sequence name changed to Two"}},
        {named("", "One"), named("", "Two"), {"Sequence name changed to Two"}},
        {"<xmeml><bin><name>A</name></bin></xmeml>",
         filled(project, ""),
         {"Backup type changed to Project"}},
        {"<xmeml/>", "<xmeml a=\"1\"/>", {"No notable changes"}},
        {"<xmeml/>", named("<uuid>A</uuid>", "One"), {"New sequence added: One"}},
        {named("<uuid>A</uuid>", "One"), "<xmeml/>", {"Sequence One removed"}},
        {filled(project, "<file>1</file>"),
         filled(project, "<file>2</file>"),
         {"No notable changes"}},
    };
    for (const auto& [oldText, newText, expected] : table) {
        EXPECT_EQ(changes(oldText, newText), expected) << oldText << " " << newText;
    }
    const auto document = parsed("<x/>");
    EXPECT_EQ(changeListForFCPXMLDoc(nullptr, document.get(), {}), Sentences{});
    EXPECT_EQ(changeListForFCPXMLDoc(document.get(), nullptr, {}), Sentences{});
}

TEST_F(ChangeListTests, TheWalkFindsTheOldDocumentAgain) {
    const auto clips = [](const std::vector<std::string>& names) {
        std::string text;
        for (const std::string& name : names) {
            text += "<clipitem id=\"" + name + "\"><name>" + name + "</name><duration>" +
                    (name.ends_with('+') ? "50" : "25") + "</duration></clipitem>";
        }
        return filled(videoTrack, text);
    };
    const auto marker = [](const char* name) {
        return std::string("<marker><name>") + name + "</name></marker>";
    };
    // An item among others of its name takes their place: names are all that the walk compares.
    EXPECT_THAT(changes(clips({"a", "c"}), clips({"a", "b", "c"})),
                ElementsAre("c clip name changed to b"));
    EXPECT_THAT(changes(clips({"a", "b", "c"}), clips({"a", "c"})),
                ElementsAre("b clip name changed to c", "Clip b removed"));
    // One of another name does not, and what stands behind it is compared as before.
    EXPECT_THAT(changes(filled(sequence, "<a>1</a><b>1</b>"),
                        filled(sequence, marker("M") + "<a>1</a><b>2</b>")),
                ElementsAre("New marker M added for sequence Cut", "B changed to 2"));
    EXPECT_THAT(changes(filled(sequence, "<a>1</a><b>1</b>"), filled(sequence, "<b>2</b>")),
                ElementsAre("No notable changes"));
    EXPECT_THAT(changes(filled(sequence, "<x><y/><a>1</a></x><b><c>1</c><d>1</d></b>"),
                        filled(sequence, "<x><y/><e>1</e></x><b><c>2</c><d>2</d></b>")),
                ElementsAre("C changed to 2", "D changed to 2"));
}

TEST_F(ChangeListTests, CancellingGivesNoList) {
    const auto document = parsed(filled(project, "<a>1</a>"));
    const auto other = parsed(filled(project, "<a>2</a>"));
    for (int steps = 0; steps < 5; ++steps) {
        int asked = 0;
        int ended = 0;
        const Cancellation cancellation{[&] { return asked++ == steps; }, [&] { ++ended; }};
        const auto list = changeListForFCPXMLDoc(document.get(), other.get(), {}, cancellation);
        EXPECT_EQ(list.has_value(), steps == 4) << steps;
        EXPECT_EQ(ended, list ? 0 : 1) << steps;
    }
    EXPECT_THAT(loggedLines(), ::testing::Contains("Change log generation was cancelled").Times(4));
}

TEST_F(ChangeListTests, EncodingsAndLineEndsMakeNoDifference) {
    const auto utf16 = [](std::string_view text, bool hasMark) {
        std::string wide = hasMark ? "\xFF\xFE" : "";
        for (const char c : replacingAll(text, "\xC3\xA9", "\xE9")) {
            wide += c;
            wide += '\0';
        }
        return wide;
    };
    const auto document = [](const std::string& head, const std::string& end,
                             const std::string& name) {
        return head + "<xmeml>" + end + "<project>" + end + "<name>" + name + end + "b</name>" +
               end + "<children/></project></xmeml>" + end;
    };
    const std::string plain = document("", "\n", "caf\xC3\xA9");
    for (const std::string& other :
         {document("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>", "\r\n", "caf\xC3\xA9"),
          document("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", "\r", "caf\xE9"),
          document("<!DOCTYPE xmeml>", "\n", "caf&#xE9;"), utf16(plain, true),
          utf16(plain, false)}) {
        EXPECT_EQ(changes(plain, other), Sentences{"No change"}) << other;
        EXPECT_EQ(changes(document("", "", "a"), other),
                  Sentences{"Project name changed to caf\xC3\xA9\nb"});
    }
}

TEST_F(ChangeListTests, DeepAndLargeDocumentsEnd) {
    const auto nested = [](const std::string& inner) {
        std::string text;
        for (size_t level = 0; level < XMLDocument::deepestLevel; ++level) text += "<a>";
        text += inner;
        for (size_t level = 0; level < XMLDocument::deepestLevel; ++level) text += "</a>";
        return text;
    };
    EXPECT_EQ(changes(nested("1"), nested("2")).size(), XMLDocument::deepestLevel - 1);
    const std::string large(4'000'000, 'x');
    const auto list = changes("<x><a>1</a></x>", "<x><a>" + large + "</a></x>");
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].size(), large.size() + std::string_view("A changed to ").size());
    EXPECT_EQ(cutForShowing(list[0]).size(), 2'000 + std::string_view("\u2026").size());
    EXPECT_EQ(cutForShowing("short"), "short");
}

TEST_F(ChangeListTests, RepeatedCostIsBounded) {
    // Every element asks for what stands above, below and behind it.
    std::string insertions;
    std::string comments;
    for (int at = 0; at < 20'000; ++at) {
        insertions += "<clip/>";
        comments += "<!-- c -->";
    }
    const auto list = changes(filled(sequence, "<a/>" + comments + "<b/>"),
                              filled(sequence, insertions + "<b/>"));
    EXPECT_EQ(list.size(), 20'000U);
}

}  // namespace
}  // namespace larkspan
