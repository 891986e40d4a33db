#include "foundation/Result.h"
#include "foundation/XMLCheck.h"
#include "host/FCPVersion.h"
#include "host/ZBAppleEvents.h"
#include "kit/ConsoleReport.h"
#include "kit/ZBException.h"

#include <exception>
#include <utility>

namespace larkspan {
namespace {

constexpr const char* namedSequences = ".//sequence/name[1]/..";

Result<FCPSequences> sequencesIn(const Data& xml) {
    if (auto error = checkXML(xml.bytes)) return std::move(*error);
    const auto document = std::make_shared<pugi::xml_document>();
    const auto parsed = document->load_buffer(xml.bytes.data(), xml.bytes.size());
    if (!parsed) return Error{xmlErrorDomain, parsed.status, parsed.description()};
    pugi::xpath_node_set found = document->select_nodes(namedSequences);
    found.sort();
    FCPSequences sequences{.document = document, .nodes = {}};
    for (const pugi::xpath_node& node : found) sequences.nodes.push_back(node.node());
    return sequences;
}

}  // namespace

std::optional<FCPSequences> ZBAppleEvents::sequencesInProject(const Path& project) {
    constexpr int lastWithoutContents = 6;
    const bool asksContents = FCPVersion::finalCutProMajorVersion() > lastWithoutContents;
    const auto xml = asksContents ? getTOCData(project, LaunchFCP::yes)
                                  : getProjectXMLData(project, LaunchFCP::yes);
    if (!xml) return std::nullopt;
    try {
        auto sequences = sequencesIn(*xml);
        if (sequences) return std::move(sequences).value();
        reportToConsole("Error: %@", sequences.error().description);
    } catch (const pugi::xpath_exception& failure) {
        reportToConsole("Error: %@", failure.what());
    } catch (const std::exception& exception) {
        (void)ZBException::logException({.name = "std::exception", .reason = exception.what()},
                                        "+[ZBAppleEvents sequencesInProject:]");
    }
    return std::nullopt;
}

}  // namespace larkspan
