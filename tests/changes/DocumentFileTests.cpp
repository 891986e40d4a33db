#include "changes/DocumentFile.h"
#include "changes/NodeTableText.h"
#include "changes/XMLFixture.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using platform::StreamFault;

// Long enough to be read in pieces.
std::string largeDocument(const std::string& inside) {
    std::string text = "<?xml version=\"1.0\"?>\n<xmeml>\n";
    for (int number = 0; number < 50'000; ++number) {
        text += "\t<clip id=\"c" + std::to_string(number) +
                "\">\n\t\t<name>R&amp;B</name>\n\t</clip>\n";
    }
    return text + inside + "</xmeml>\n";
}

class DocumentFileTest : public testing::FakePlatformTest {
  protected:
    DocumentFileTest() { ZBLog::createNewLog("Test"); }

    // What is read of a file with that content.
    LoadedDocument loaded(const std::string& content) {
        fake.files.addFile(file, content);
        return loadDocument(file);
    }

    const Path file{"/Versions/00001.xml"};
};

TEST_F(DocumentFileTest, ReadsLargeFilesAsItReadsTheirText) {
    for (const char* inside :
         {"", "<b>1</b>", "<![CDATA[1]]>", "<b>\xC3\xA9</b><?and an instruction?>"}) {
        const std::string text = largeDocument(inside);
        const auto document = loaded(text);
        ASSERT_TRUE(document) << inside;
        const auto expected = testing::parsed(text);
        EXPECT_TRUE(testing::textOf((*document)->top().table()) ==
                    testing::textOf(expected->top().table()))
            << inside;
        EXPECT_EQ((*document)->identifiers().ids.size(), 50'000U);
        EXPECT_EQ((*document)->identifiers().ids, expected->identifiers().ids);
    }
}

TEST_F(DocumentFileTest, SaysWhyALargeFileIsNoDocument) {
    const std::vector<std::pair<std::string, std::string>> table{
        {largeDocument("</b>"), "at byte"},
        {largeDocument("&nope;"), "unknown entity"},
        {largeDocument("\xE9"), "encoding"},
        {largeDocument("") + "<b/>", "more than one root"},
        {largeDocument("").substr(0, 1'500'000), "at byte"},
    };
    for (const auto& [text, expected] : table) {
        const auto document = loaded(text);
        ASSERT_FALSE(document) << expected;
        EXPECT_EQ(document.error().domain, xmlDocumentErrorDomain);
        EXPECT_THAT(document.error().description, ::testing::HasSubstr(expected));
        EXPECT_EQ(document.error().description, XMLDocument::read(text).error().description);
    }
}

TEST_F(DocumentFileTest, ReadsAFileWholeWhenItsPiecesCannotBeRead) {
    for (const int read : {1, 2, 5}) {
        fake.streams.plan(StreamFault::failedRead, file, read);
        const auto document = loaded(largeDocument(""));
        ASSERT_TRUE(document) << read;
        EXPECT_EQ((*document)->identifiers().ids.size(), 50'000U);
    }
}

TEST_F(DocumentFileTest, ReadsTwoAtOnce) {
    const Path other("/Versions/00002.xml");
    fake.files.addFile(file, largeDocument(""));
    fake.files.addFile(other, largeDocument("<clip id=\"more\"/>"));
    const LoadedPair pair = loadDocuments(other, file);
    ASSERT_TRUE(pair.newDoc && pair.oldDoc);
    EXPECT_EQ((*pair.newDoc)->identifiers().ids.size(), 50'001U);
    EXPECT_EQ((*pair.oldDoc)->identifiers().ids.size(), 50'000U);
}

TEST_F(DocumentFileTest, AMissingFileIsNoFaultOfTheDocument) {
    const auto document = loadDocument(Path("/Versions/none.xml"));
    ASSERT_FALSE(document);
    EXPECT_NE(document.error().domain, xmlDocumentErrorDomain);
}

}  // namespace
}  // namespace larkspan
