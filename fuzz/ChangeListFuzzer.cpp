#include "changes/ChangeList.h"
#include "changes/Gzip.h"
#include "kit/ZBLog.h"
#include "platform/fake/FakePlatform.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

// Nothing is logged, and nothing reaches the system.
void prepare() {
    static larkspan::platform::FakePlatform fake;
    static const larkspan::platform::ScopedPlatform installed(fake.platform());
    static const bool isQuiet = (larkspan::ZBLog::disableLogging(), true);
    (void)isQuiet;
}

larkspan::XMLDocument::Pointer documentOf(std::string_view text) {
    const auto document = larkspan::XMLDocument::read(std::string(text));
    return document ? *document : nullptr;
}

}  // namespace

// Two documents with a zero byte between them. A document never differs from itself, and where two
// differ there is something to say.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    using namespace larkspan;
    prepare();
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    (void)gunzipped(input, 1'000'000);
    const size_t middle = input.find('\0');
    if (middle == std::string_view::npos) return 0;
    const auto oldDoc = documentOf(input.substr(0, middle));
    const auto newDoc = documentOf(input.substr(middle + 1));
    if (!oldDoc || !newDoc) return 0;
    for (const auto differ : {changeListForFCPXMLDoc, changeListForPremiereXMLDoc}) {
        const auto same = differ(newDoc.get(), newDoc.get(), listsOf(*newDoc, *newDoc), {});
        if (same != std::vector<std::string>{"No change"}) std::abort();
        const auto sentences = differ(newDoc.get(), oldDoc.get(), listsOf(*newDoc, *oldDoc), {});
        if (!sentences || sentences->empty()) std::abort();
    }
    return 0;
}
