#include "discovery/EditDocument.h"

#include <string>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

std::string pair(std::string_view first, std::string_view second) {
    std::string both(first);
    return both.append(second);
}

// ASCII as UTF-16 without a byte-order mark.
std::string wide(std::string_view text, bool highFirst) {
    std::string bytes;
    for (const char character : text) {
        bytes += highFirst ? '\0' : character;
        bytes += highFirst ? character : '\0';
    }
    return bytes;
}

TEST(EditDocument, IsToldByItsOutermostElement) {
    const std::string declared = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    const std::string edit = pair(declared, "<!DOCTYPE xmeml>\n<xmeml version=\"5\">");
    struct Case {
        const char* what;
        std::string bytes;
        bool isEdit;
    };
    const Case cases[] = {
        {"Final Cut 7", edit, true},
        {"Final Cut X", pair(declared, "<!DOCTYPE fcpxml>\r\n\r\n<fcpxml version=\"1.8\">"), true},
        {"Kdenlive", "<?xml version='1.0'?>\n<mlt LC_NUMERIC=\"C\" producer=\"main_bin\">", true},
        {"Premiere", pair(declared, "<PremiereData Version=\"3\">"), true},
        {"no declaration", "<mlt>", true},
        {"blank lines first", "\n\n <mlt/>", true},
        {"byte-order mark", pair("\xEF\xBB\xBF", edit), true},
        {"UTF-16, low byte first", pair("\xFF\xFE", wide(edit, false)), true},
        {"UTF-16, high byte first", pair("\xFE\xFF", wide(edit, true)), true},
        {"UTF-16 without a mark", wide(edit, false), true},
        {"the other way round", wide(edit, true), true},
        {"comments", "<!-- <a> --><!----><mlt >", true},
        {"a document type with declarations",
         "<!DOCTYPE mlt [<!ENTITY a \">]\"> <!-- ' ]> -->]><mlt>", true},
        {"a document type by address", "<!DOCTYPE mlt SYSTEM 'a>b'><mlt>", true},

        {"a sidecar", pair(declared, "<NonRealTimeMeta xmlns=\"urn:x\"><mlt/>"), false},
        {"another root than the document type says", "<!DOCTYPE xmeml><plist>", false},
        {"only in a comment", "<!-- <mlt> -->", false},
        {"a longer name", "<mltx>", false},
        {"another case", "<MLT>", false},
        {"a torn name", "<xmeml", false},
        {"a torn comment", "<!-- <mlt>", false},
        {"a torn document type", "<!DOCTYPE mlt [ <mlt>", false},
        {"text", "mlt <mlt>", false},
        {"nothing", "", false},
        {"half a character", std::string("\xFF\xFE<", 3), false},
        {"too far behind", pair(std::string(editDocumentStart, ' '), "<mlt>"), false},
    };
    for (const Case& c : cases) EXPECT_EQ(showsEditDocument(c.bytes), c.isEdit) << c.what;
}

}  // namespace
}  // namespace larkspan
