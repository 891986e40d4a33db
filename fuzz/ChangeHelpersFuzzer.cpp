#include "changes/CharacterReference.h"
#include "changes/PercentEscapes.h"
#include "changes/Timecode.h"
#include "changes/XMLDocument.h"
#include "changes/ZBXMLParser.h"
#include "foundation/Text.h"
#include "kit/ZBLog.h"
#include "platform/fake/FakePlatform.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

void prepare() {
    static larkspan::platform::FakePlatform fake;
    static const larkspan::platform::ScopedPlatform installed(fake.platform());
    static const bool isQuiet = (larkspan::ZBLog::disableLogging(), true);
    (void)isQuiet;
}

}  // namespace

// Lines: a query, a number of frames, a timebase, the first frame.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    using namespace larkspan;
    prepare();
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto lines = split(input, '\n');
    const auto line = [&](size_t number) { return number < lines.size() ? lines[number] : ""; };

    // What was escaped reads back, but for what is dropped, and needs no more escaping.
    const std::string escaped = ZBXMLParser::escapeQueryString(line(0));
    if (!resolvingReferences(escaped)) std::abort();
    (void)withPercentEscapesResolved(line(0));
    static const auto document =
        XMLDocument::read("<a id='1'><name>n</name><b><uuid>u</uuid>text</b></a>");
    (void)ZBXMLParser::nodesForQuery(line(0), (*document)->top());

    const FrameCounting counting{
        .timebase = integerValue(line(2)) == 0 ? 30 : integerValue(line(2)),
        .firstFrame = integerValue(line(3)),
        .isDropFrame = size % 2 == 0};
    if (timecodeFromFrames(line(1), counting).size() < std::string_view("00:00:00:00").size()) {
        std::abort();
    }
    return 0;
}
