#include "foundation/XMLCheck.h"

#include <string>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::HasSubstr;

TEST(XMLCheckTest, LetsWellFormedDocumentsPass) {
    for (const char* text : {
             "<a/>",
             "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE xmeml>\n<a />\n",
             "<!-- one - two --><?any thing?><a b='\"' c = \"'>\" ></a >\n<!-- end -->",
             "<a>x &amp; &lt; &#233; &#xE9; ] ]> <![CDATA[ & < ]] ]]></a>",
             "<!DOCTYPE a [<!ENTITY e \"a>b\"> <!-- ' -->]><a>&e;</a>",
             "<ns:é b.c-d='1'><b><c/></b></ns:é>",
         }) {
        const auto error = checkXML(text);
        EXPECT_FALSE(error) << text << ": " << error->description;
    }
}

TEST(XMLCheckTest, SaysWhatIsWrongAndWhere) {
    const struct {
        std::string text;
        const char* problem;
    } cases[] = {
        {"", "no element"},
        {"\n\n<!-- -->", "Line 3: There is no element."},
        {"<a>\n<b>", "Line 2: The document is cut off."},
        {"<a/>\n<b/>", "Line 2: There is a second element"},
        {"x<a/>", "outside"},
        {"<a/>x", "outside"},
        {"<a/><![CDATA[x]]>", "outside"},
        {"<a>\nb & c</a>", "Line 2: There is an \"&\""},
        {"<a>&nbsp;</a>", "&"},
        {"<a>&#0;</a>", "&"},
        {"<a>&#xD800;</a>", "&"},
        {"<a>&#x;</a>", "&"},
        {"<a b='&'/>", "&"},
        {"<a b='<'/>", "\"<\""},
        {"<a b='1' c='2' b='3'/>", "twice"},
        {"<a b/>", "no value"},
        {"<a b=1/>", "not quoted"},
        {"<a b='1'c='2'/>", "broken"},
        {"<a><b></a></b>", "no start tag"},
        {"</a>", "no start tag"},
        {"<a><1/></a>", "name is missing"},
        {"<a>]]></a>", "]]>"},
        {"<a><!-- -- --></a>", "--"},
        {"<a><?xml version='1.0'?></a>", "declaration"},
        {"<a><!DOCTYPE a></a>", "DOCTYPE"},
        {"<!DOCTYPE a", "cut off"},
        {"<a>\x01</a>", "does not allow"},
        {"<a>\xEF\xBF\xBF</a>", "does not allow"},
        {"<a>caf\xe9</a>", "not UTF-8"},
        {std::string("<a>") + '\0' + "</a>", "does not allow"},
        {"\xFF\xFE<", "not UTF-8"},
        {"<", "name is missing"},
        {"<a", "broken"},
        {"<a b='", "cut off"},
        {"<!", "name is missing"},
    };
    for (const auto& c : cases) {
        const auto error = checkXML(c.text);
        ASSERT_TRUE(error) << c.text;
        EXPECT_THAT(error->description, HasSubstr(c.problem)) << c.text;
    }
}

TEST(XMLCheckTest, DepthAndNumberCostNoStack) {
    constexpr int depth = 200'000;
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<a>";
    EXPECT_THAT(checkXML(text)->description, HasSubstr("cut off"));
    for (int i = 0; i < depth; ++i) text += "</a>";
    EXPECT_FALSE(checkXML(text));
}

}  // namespace
}  // namespace larkspan
