#pragma once

#include "foundation/Path.h"
#include "foundation/Value.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace larkspan {

enum class LaunchFCP { no, yes };     // may be started, and the project be opened in it
enum class CloseProject { no, yes };  // afterwards, with its changes saved, if it was opened for it
enum class SaveChanges { no, yes };

// The sequences of a project, in the order of the document that owns them.
struct FCPSequences {
    std::shared_ptr<const pugi::xml_document> document;
    std::vector<pugi::xml_node> nodes;
};

// Asks Final Cut Pro 7 and its predecessors about open projects. Operations without state. Each
// blocks until the application has answered or the system's time-out has passed, so none suits the
// main thread. What fails is said on the system console and gives nothing, or false; nothing is
// raised.
//
// XML data are as the application gives them, without a zero byte at their end; they need be
// neither XML nor UTF-8. As texts they are empty when they are not UTF-8.
//
// A project that may be launched is opened without waiting for it: the first request after it can
// fail, and succeeds when it is made again. Which Final Cut Pro is installed tells FCPVersion.
class ZBAppleEvents {
  public:
    // Empty, too, when it is not running.
    [[nodiscard]] static std::optional<std::vector<Path>> listOfOpenFCPProjects();
    static bool isFCPRunning();

    // The whole project.
    [[nodiscard]] static std::optional<Data> getProjectXMLData(
        const Path& project, LaunchFCP launchFCP, CloseProject closeProject = CloseProject::no);
    [[nodiscard]] static std::optional<std::string> getProjectXML(
        const Path& project, LaunchFCP launchFCP = LaunchFCP::no,
        CloseProject closeProject = CloseProject::no);

    // One item of it, by its identifier.
    [[nodiscard]] static std::optional<Data> getItemXMLData(
        const std::string& item, const Path& forProject, LaunchFCP launchFCP,
        CloseProject closeProject = CloseProject::no);
    [[nodiscard]] static std::optional<std::string> getItemXML(
        const std::string& item, const Path& forProject, LaunchFCP launchFCP = LaunchFCP::no,
        CloseProject closeProject = CloseProject::no);

    // Its table of contents.
    [[nodiscard]] static std::optional<Data> getTOCData(const Path& project, LaunchFCP launchFCP);
    [[nodiscard]] static std::optional<std::string> getTOC(const Path& project,
                                                           LaunchFCP launchFCP = LaunchFCP::no);
    // The elements of its sequences that have a name. May launch the application.
    [[nodiscard]] static std::optional<FCPSequences> sequencesInProject(const Path& project);

    // Imports XML into an open project.
    [[nodiscard]] static bool sendXMLToFCP(const std::string& xml, const Path& projectPath);
    // Opens an item's window.
    [[nodiscard]] static bool openItem(const std::string& item, const Path& forProject,
                                       LaunchFCP launchFCP);
    // Saves an open project to its own file.
    [[nodiscard]] static bool saveProject(const Path& project);
    [[nodiscard]] static bool closeProject(const Path& project, SaveChanges saveChanges);

    // The data without the zero byte at their end, if they have one.
    static Data formatData(Data data);
    // Carriage returns and all from U+00A0 on as decimal references of their UTF-16 code units, so
    // that a character beyond the first plane becomes two, deliberately: the application reads
    // them so. Nothing else is escaped.
    static std::string escapeCharactersInXMLString(std::string_view text);
    // A new universally unique identifier.
    static std::string generateUUID();
};

}  // namespace larkspan
