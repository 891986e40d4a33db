#include "host/ZBAppleEvents.h"

#include "foundation/Text.h"
#include "foundation/Uuid.h"
#include "host/FCPRequest.h"
#include "host/FinalCutPro.h"
#include "kit/ConsoleReport.h"
#include "kit/ZBException.h"
#include "platform/Applications.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <utility>

namespace larkspan {

using platform::AppleEvent;
using platform::AppleEventPriority;

namespace {

platform::Platform& current() {
    return platform::Platform::current();
}

// Runs an operation whose exceptions end here, named by its method; then it gives nothing.
template <class Function>
auto guarded(const char* method, const Function& function) -> decltype(function()) {
    try {
        return function();
    } catch (const std::exception& exception) {
        (void)ZBException::logException({.name = "std::exception", .reason = exception.what()},
                                        method);
    }
    return {};
}

void reportFailure(long code) {
    switch (code) {
        case platform::targetNotDescribed:
            return reportToConsole("Error creating app description");
        case platform::eventNotCreated:
            return reportToConsole("Error creating AppleEvent");
        case platform::parameterNotAdded:
            return reportToConsole("Error adding project file to AppleEvent query");
        default:
            return reportToConsole("Error sending AppleEvent");
    }
}

void reportNoAnswer() {
    reportToConsole("Unable to communicate with Final Cut Pro. Please make sure it is running.");
}

std::optional<fcprequest::Reply> send(const AppleEvent& event) {
    auto reply = current().appleEvents.send(event, {.priority = AppleEventPriority::high});
    if (reply) return std::move(reply).value();
    reportFailure(reply.error().code);
    return std::nullopt;
}

// Makes the event for a reference to the project.
using Request = std::function<AppleEvent(const std::string& reference)>;

std::optional<fcprequest::Reply> ask(const Path& project, const Request& request) {
    const auto reference = current().appleEvents.fileReference(project);
    if (reference) return send(request(*reference));
    reportFailure(platform::parameterNotAdded);
    return std::nullopt;
}

bool isOpen(const Path& project) {
    const auto open = ZBAppleEvents::listOfOpenFCPProjects();
    return open && std::ranges::find(*open, project) != open->end();
}

// Sees to it that the project can be asked about. Whether it was opened for that; empty when it is
// not open and may not be.
std::optional<bool> makeReady(const Path& project, LaunchFCP launch) {
    const auto open = [&] {
        auto& applications = current().applications;
        const auto path = applications.bundlePathForIdentifier(finalCutBundleIdentifier);
        if (path) (void)applications.openFile(project, *path);
    };
    if (!ZBAppleEvents::isFCPRunning()) {
        if (launch == LaunchFCP::no) return std::nullopt;
        open();
    }
    if (isOpen(project)) return false;
    if (launch == LaunchFCP::no) {
        reportToConsole("Error: project is not open.");
        return std::nullopt;
    }
    open();
    return true;
}

std::optional<Data> xmlIn(const fcprequest::Reply& reply) {
    auto answer = fcprequest::xml(reply);
    if (auto* data = std::get_if<Data>(&answer)) return ZBAppleEvents::formatData(std::move(*data));
    if (std::get<fcprequest::NoXML>(answer) == fcprequest::NoXML::missing) {
        reportToConsole("Error getting XML information");
    } else {
        reportToConsole("Error retrieving XML data");
    }
    return std::nullopt;
}

std::optional<Data> exportXML(const Path& project, LaunchFCP launch, CloseProject close,
                              const Request& request) {
    const std::optional<bool> wasOpened = makeReady(project, launch);
    if (!wasOpened) return std::nullopt;
    const auto reply = ask(project, request);
    std::optional<Data> data = reply ? xmlIn(*reply) : std::nullopt;
    if (!data) reportNoAnswer();
    if (*wasOpened && close == CloseProject::yes) {
        (void)ZBAppleEvents::closeProject(project, SaveChanges::yes);
    }
    return data;
}

bool perform(const Path& project, LaunchFCP launch, const Request& request) {
    return makeReady(project, launch) && ask(project, request);
}

std::optional<std::string> decoded(std::optional<Data> data) {
    if (!data || !isValidUtf8(data->bytes)) return std::nullopt;
    return std::move(data->bytes);
}

}  // namespace

bool ZBAppleEvents::isFCPRunning() {
    return !current().applications.runningApplications(finalCutBundleIdentifier).empty();
}

std::optional<std::vector<Path>> ZBAppleEvents::listOfOpenFCPProjects() {
    const auto list = []() -> std::optional<std::vector<Path>> {
        if (!isFCPRunning()) {
            reportToConsole("Error: Final Cut Pro is not running.");
            return std::nullopt;
        }
        const auto reply = send(fcprequest::listOfOpenProjects());
        const auto references = reply ? fcprequest::openProjects(*reply) : std::nullopt;
        if (!references) {
            reportNoAnswer();
            return std::nullopt;
        }
        std::vector<Path> projects;
        for (const std::string& reference : *references) {
            auto path = current().appleEvents.pathOfFileReference(reference);
            if (path) projects.push_back(std::move(*path));
        }
        return projects;
    };
    return guarded("+[ZBAppleEvents listOfOpenFCPProjects]", list);
}

std::optional<Data> ZBAppleEvents::getProjectXMLData(const Path& project, LaunchFCP launchFCP,
                                                     CloseProject closeProject) {
    return guarded("+[ZBAppleEvents getProjectXMLData:launchFCP:closeProject:]", [&] {
        return exportXML(project, launchFCP, closeProject, fcprequest::projectXML);
    });
}

std::optional<std::string> ZBAppleEvents::getProjectXML(const Path& project, LaunchFCP launchFCP,
                                                        CloseProject closeProject) {
    return decoded(getProjectXMLData(project, launchFCP, closeProject));
}

std::optional<Data> ZBAppleEvents::getItemXMLData(const std::string& item, const Path& forProject,
                                                  LaunchFCP launchFCP, CloseProject closeProject) {
    return guarded("+[ZBAppleEvents getItemXMLData:forProject:launchFCP:closeProject:]", [&] {
        return exportXML(forProject, launchFCP, closeProject, [&](const std::string& reference) {
            return fcprequest::itemXML(reference, item);
        });
    });
}

std::optional<std::string> ZBAppleEvents::getItemXML(const std::string& item,
                                                     const Path& forProject, LaunchFCP launchFCP,
                                                     CloseProject closeProject) {
    return decoded(getItemXMLData(item, forProject, launchFCP, closeProject));
}

std::optional<Data> ZBAppleEvents::getTOCData(const Path& project, LaunchFCP launchFCP) {
    return guarded("+[ZBAppleEvents getTOCData:launchFCP:]", [&] {
        return exportXML(project, launchFCP, CloseProject::no, fcprequest::tableOfContents);
    });
}

std::optional<std::string> ZBAppleEvents::getTOC(const Path& project, LaunchFCP launchFCP) {
    return decoded(getTOCData(project, launchFCP));
}

bool ZBAppleEvents::sendXMLToFCP(const std::string& xml, const Path& projectPath) {
    return guarded("+[ZBAppleEvents sendXMLToFCP:projectPath:]", [&] {
        return perform(projectPath, LaunchFCP::no, [&](const std::string& reference) {
            return fcprequest::importXML(reference, xml);
        });
    });
}

bool ZBAppleEvents::openItem(const std::string& item, const Path& forProject, LaunchFCP launchFCP) {
    return guarded("+[ZBAppleEvents openItem:forProject:launchFCP:]", [&] {
        return perform(forProject, launchFCP, [&](const std::string& reference) {
            return fcprequest::openItem(reference, item);
        });
    });
}

bool ZBAppleEvents::saveProject(const Path& project) {
    return guarded("+[ZBAppleEvents saveProject:]", [&] {
        return perform(project, LaunchFCP::no, [&](const std::string& reference) {
            return fcprequest::saveProject(reference, project, true);
        });
    });
}

bool ZBAppleEvents::closeProject(const Path& project, SaveChanges saveChanges) {
    return guarded("+[ZBAppleEvents closeProject:saveChanges:]", [&] {
        return perform(project, LaunchFCP::no, [&](const std::string& reference) {
            return fcprequest::closeProject(reference, project, saveChanges == SaveChanges::yes);
        });
    });
}

Data ZBAppleEvents::formatData(Data data) {
    if (data.bytes.ends_with('\0')) data.bytes.pop_back();
    return data;
}

std::string ZBAppleEvents::escapeCharactersInXMLString(std::string_view text) {
    constexpr char16_t firstEscaped = 160;
    constexpr char16_t firstBeyondAscii = 128;
    std::string escaped;
    for (const char16_t unit : utf16CodeUnits(text)) {
        if (unit == u'\r' || unit >= firstEscaped) {
            escaped += messageText("&#%i;", static_cast<int>(unit));
        } else if (unit < firstBeyondAscii) {
            escaped.push_back(static_cast<char>(unit));
        } else {
            // U+0080 to U+009F stay; in UTF-8 their second byte is their own value.
            escaped.append({'\xC2', static_cast<char>(unit)});
        }
    }
    return escaped;
}

std::string ZBAppleEvents::generateUUID() {
    return larkspan::generateUUID();
}

}  // namespace larkspan
