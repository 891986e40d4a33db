#include "changes/Dialect.h"
#include "changes/PointRules.h"
#include "changes/PropertyRules.h"

#include <map>

namespace larkspan {

SentenceRule sharedRuleFor(std::string_view elementName) {
    static const std::map<std::string_view, SentenceRule> rules{
        {"name", propertyrules::name},
        {"value", propertyrules::value},
        {"duration", propertyrules::duration},
        {"in", pointrules::in},
        {"out", pointrules::out},
        {"start", pointrules::start},
        {"end", pointrules::end},
        {"startoffset", pointrules::subclipStart},
        {"mediadelay", pointrules::subclipStart},
        {"subclipinfo", pointrules::subclipStart},
        {"endoffset", pointrules::subclipEnd},
        {"codec", propertyrules::codec},
        {"width", propertyrules::width},
        {"height", propertyrules::height},
        {"pixelaspectratio", propertyrules::pixelAspectRatio},
        {"fielddominance", propertyrules::fieldDominance},
        {"timebase", propertyrules::timebase},
        {"ntsc", propertyrules::ntsc},
        {"enabled", propertyrules::enabled},
        {"alphatype", propertyrules::alphaType},
        {"alignment", propertyrules::alignment},
        {"comment", propertyrules::comment}};
    const auto found = rules.find(elementName);
    return found == rules.end() ? nullptr : found->second;
}

namespace {

SentenceRule finalCutRuleFor(std::string_view elementName) {
    if (elementName == "shottake") return propertyrules::shotTake;
    if (elementName == "scene") return propertyrules::scene;
    return sharedRuleFor(elementName);
}

}  // namespace

const Dialect& finalCutDialect() {
    static const Dialect dialect{
        .bookkeeping = {"uuid", "itemhistory", "link", "linkclipref", "trackindex", "file",
                        "mediatype"},
        .ignored = {"children", "project", "video", "audio", "media", "track", "filter", "effectid",
                    "effectcategory", "effecttype", "masterclipid", "ismasterclip", "privatestate",
                    "outputchannelindex", "data"},
        .ruleFor = finalCutRuleFor,
        .otherNameElement = {},
        .hasFraming = true};
    return dialect;
}

}  // namespace larkspan
