#include "host/FCPRequest.h"

#include "foundation/Text.h"
#include "host/FinalCutPro.h"

#include <utility>

namespace larkspan::fcprequest {

using platform::AppleEvent;
using platform::AppleEventDescriptor;
using platform::FourCharCode;
using platform::fourCharCode;

namespace {

constexpr FourCharCode fileReferenceType = fourCharCode("fsrf");
constexpr FourCharCode textType = fourCharCode("utf8");
constexpr FourCharCode listType = fourCharCode("list");
constexpr FourCharCode recordType = fourCharCode("reco");
constexpr FourCharCode xmlKeyword = fourCharCode("xmlD");
constexpr size_t fileReferenceLength = 80;

AppleEvent request(FourCharCode eventID, std::vector<AppleEventDescriptor> parameters) {
    return {.target = {.type = fourCharCode("sign"), .data = platform::bytesOf(finalCutSignature)},
            .eventClass = finalCutSignature,
            .eventID = eventID,
            .parameters = std::move(parameters)};
}

AppleEventDescriptor projectParameter(const std::string& reference) {
    return {.type = fileReferenceType, .data = reference, .keyword = fourCharCode("fcpP")};
}

AppleEventDescriptor textParameter(FourCharCode keyword, const std::string& text) {
    return {.type = textType, .data = text, .keyword = keyword};
}

AppleEventDescriptor itemParameter(const std::string& item) {
    return textParameter(fourCharCode("fcIU"), item);
}

AppleEventDescriptor targetParameter(const Path& target) {
    return {.type = fourCharCode("furl"), .data = fileURL(target), .keyword = fourCharCode("fcpU")};
}

}  // namespace

AppleEvent listOfOpenProjects() {
    return request(fourCharCode("fcLP"), {});
}

AppleEvent projectXML(const std::string& project) {
    return request(fourCharCode("eXML"), {projectParameter(project)});
}

AppleEvent itemXML(const std::string& project, const std::string& item) {
    return request(fourCharCode("gXML"), {projectParameter(project), itemParameter(item)});
}

AppleEvent tableOfContents(const std::string& project) {
    return request(fourCharCode("eTCX"), {projectParameter(project)});
}

AppleEvent importXML(const std::string& project, const std::string& xml) {
    return request(fourCharCode("iXML"),
                   {projectParameter(project), textParameter(xmlKeyword, xml)});
}

AppleEvent openItem(const std::string& project, const std::string& item) {
    return request(fourCharCode("fcOI"), {projectParameter(project), itemParameter(item)});
}

AppleEvent saveProject(const std::string& project, const Path& target, bool overwrite) {
    const std::string flag(1, overwrite ? '\1' : '\0');
    return request(fourCharCode("sfcP"),
                   {projectParameter(project),
                    targetParameter(target),
                    {.type = fourCharCode("bool"), .data = flag, .keyword = fourCharCode("fsOF")}});
}

AppleEvent closeProject(const std::string& project, const Path& target, bool saveChanges) {
    const std::string number = platform::bigEndianBytes(saveChanges ? 1 : 0);
    return request(
        fourCharCode("cfcP"),
        {projectParameter(project),
         targetParameter(target),
         {.type = fourCharCode("long"), .data = number, .keyword = fourCharCode("fcCF")}});
}

std::optional<std::vector<std::string>> openProjects(const Reply& reply) {
    const AppleEventDescriptor* list = platform::findKeyword(reply, fourCharCode("fcOP"));
    if (!list || list->type != listType) return std::nullopt;
    std::vector<std::string> references;
    for (const AppleEventDescriptor& record : list->items) {
        if (record.type != recordType) continue;
        const AppleEventDescriptor* file =
            platform::findKeyword(record.items, fourCharCode("fcPf"));
        const bool isReference =
            file && file->type == fileReferenceType && file->data.size() == fileReferenceLength;
        if (isReference) references.push_back(file->data);
    }
    return references;
}

std::variant<Data, NoXML> xml(const Reply& reply) {
    const AppleEventDescriptor* text = platform::findKeyword(reply, xmlKeyword);
    if (!text) return NoXML::missing;
    if (text->type != textType) return NoXML::notText;
    return Data{text->data};
}

std::string fileURL(const Path& path) {
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/-._~!$&'()*+,;=:@";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char c : path.str()) {
        if (plain.find(c) != std::string_view::npos) {
            url.push_back(c);
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        url.append({'%', digits[byte >> 4U], digits[byte & 0xFU]});
    }
    return url;
}

}  // namespace larkspan::fcprequest
