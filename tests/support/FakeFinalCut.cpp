#include "support/FakeFinalCut.h"

#include "foundation/Text.h"

#include <algorithm>
#include <stdexcept>

namespace larkspan::testing {

using platform::AppleEvent;
using platform::AppleEventDescriptor;
using platform::fourCharCode;

namespace {

constexpr const char* identifier = "com.apple.FinalCutPro";

struct WrongRequest : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string decodedURL(std::string_view url) {
    constexpr std::string_view scheme = "file://";
    if (!url.starts_with(scheme)) throw WrongRequest("no file URL");
    std::string path;
    for (size_t at = scheme.size(); at < url.size(); ++at) {
        const auto byte = static_cast<unsigned char>(url[at]);
        if (byte <= ' ' || byte > '~') throw WrongRequest("a bare character in a URL");
        if (byte == '%') {
            path.push_back(
                static_cast<char>(std::stoi(std::string(url.substr(at + 1, 2)), {}, 16)));
            at += 2;
        } else {
            path.push_back(url[at]);
        }
    }
    return path;
}

bool isOneOf(std::string_view value, std::string_view no, std::string_view yes) {
    return value == no || value == yes;
}

}  // namespace

FakeFinalCut::FakeFinalCut(platform::FakeApplications& applications,
                           platform::FakeAppleEvents& appleEvents)
    : applications_(applications), appleEvents_(appleEvents) {
    applications_.install(identifier, Path("/Applications/Final Cut Pro.app"));
    applications_.setFileOpener(identifier, [this](const Path& file) {
        launch();
        if (!opensSlowly && !isOpen(file)) open(file, {});
    });
}

void FakeFinalCut::launch() {
    if (applications_.runningApplications(identifier).empty()) {
        (void)applications_.start(identifier);
    }
    appleEvents_.setApplication("KeyG", [this](const AppleEvent& event) { return handle(event); });
}

void FakeFinalCut::open(const Path& path, const Project& project) {
    launch();
    projects_.try_emplace(path, project);
    open_.push_back(path);
}

bool FakeFinalCut::isOpen(const Path& path) const {
    return std::ranges::find(open_, path) != open_.end();
}

void FakeFinalCut::check(bool isRight, const std::string& complaint) {
    if (!isRight) throw WrongRequest(complaint);
}

platform::FakeAppleEvents::Answer FakeFinalCut::handle(const AppleEvent& event) {
    try {
        check(event.target.items.empty() && event.eventClass == fourCharCode("KeyG"),
              "not of this application's class");
        return answer(event);
    } catch (const WrongRequest& wrong) {
        complaints.push_back(platform::bytesOf(event.eventID) + ": " + wrong.what());
    }
    return Error{platform::appleEventErrorDomain, platform::eventNotSent, complaints.back()};
}

// A form is "KEYW TYPE" for each parameter.
FakeFinalCut::Request FakeFinalCut::takeApart(const AppleEvent& event, std::string_view form) {
    std::vector<std::string> got;
    for (const AppleEventDescriptor& parameter : event.parameters) {
        got.push_back(platform::bytesOf(parameter.keyword) + " " +
                      platform::bytesOf(parameter.type));
    }
    check(joined(got, ", ") == form, "parameters " + joined(got, ", "));
    Request request;
    for (const AppleEventDescriptor& parameter : event.parameters) {
        request.values.push_back(valueOf(parameter));
    }
    if (request.values.empty()) return request;
    request.project = Path(request.values.front());
    request.values.erase(request.values.begin());
    check(isOpen(request.project), "a project that is not open: " + request.project.str());
    return request;
}

std::string FakeFinalCut::valueOf(const AppleEventDescriptor& parameter) {
    const std::string& data = parameter.data;
    if (parameter.type == fourCharCode("fsrf")) {
        check(data.size() == 80, "a reference of another length");
        const auto path = appleEvents_.pathOfFileReference(data);
        check(path.has_value(), "a reference to nothing");
        return path->str();
    }
    if (parameter.type == fourCharCode("furl")) return decodedURL(data);
    if (parameter.type == fourCharCode("utf8")) {
        check(isValidUtf8(data), "text that is not UTF-8");
    } else if (parameter.type == fourCharCode("bool")) {
        check(isOneOf(data, {"\0", 1}, "\1"), "no truth value");
        return data[0] ? "yes" : "no";
    } else if (parameter.type == fourCharCode("long")) {
        check(isOneOf(data, {"\0\0\0\0", 4}, {"\0\0\0\1", 4}), "no 0 or 1 in four bytes");
        return data[3] ? "yes" : "no";
    }
    return data;
}

FakeFinalCut::Reply FakeFinalCut::answer(const AppleEvent& event) {
    if (event.eventID == fourCharCode("fcLP")) {
        (void)takeApart(event, "");
        return listOfOpenProjects();
    }
    if (event.eventID == fourCharCode("eXML")) {
        return xmlReply(projects_.at(takeApart(event, "fcpP fsrf").project).xml);
    }
    if (event.eventID == fourCharCode("eTCX")) {
        return xmlReply(projects_.at(takeApart(event, "fcpP fsrf").project).contents);
    }
    if (event.eventID == fourCharCode("gXML")) {
        const Request request = takeApart(event, "fcpP fsrf, fcIU utf8");
        const auto& items = projects_.at(request.project).items;
        const auto found = items.find(request.values.at(0));
        return found == items.end() ? Reply() : xmlReply(found->second);
    }
    return perform(event);
}

// Requests without an answer of their own.
FakeFinalCut::Reply FakeFinalCut::perform(const AppleEvent& event) {
    if (event.eventID == fourCharCode("iXML")) {
        const Request request = takeApart(event, "fcpP fsrf, xmlD utf8");
        projects_.at(request.project).imported.push_back(request.values.at(0));
    } else if (event.eventID == fourCharCode("fcOI")) {
        const Request request = takeApart(event, "fcpP fsrf, fcIU utf8");
        projects_.at(request.project).openedItems.push_back(request.values.at(0));
    } else if (event.eventID == fourCharCode("sfcP")) {
        const Request request = takeApart(event, "fcpP fsrf, fcpU furl, fsOF bool");
        check(request.values == std::vector<std::string>{request.project.str(), "yes"},
              "another file, or none to be replaced");
        ++projects_.at(request.project).timesSaved;
    } else if (event.eventID == fourCharCode("cfcP")) {
        close(takeApart(event, "fcpP fsrf, fcpU furl, fcCF long"));
    } else {
        throw WrongRequest("unknown");
    }
    return {};
}

void FakeFinalCut::close(const Request& request) {
    check(request.values.at(0) == request.project.str(), "another file");
    projects_.at(request.project).closedWithSaving = request.values.at(1) == "yes";
    std::erase(open_, request.project);
}

FakeFinalCut::Reply FakeFinalCut::listOfOpenProjects() {
    if (answers == Answers::withoutList) return {};
    AppleEventDescriptor list{
        .type = fourCharCode("list"), .items = strangeListItems, .keyword = fourCharCode("fcOP")};
    for (const Path& path : open_) {
        const AppleEventDescriptor file{.type = fourCharCode("fsrf"),
                                        .data = appleEvents_.fileReference(path).value_or(""),
                                        .keyword = fourCharCode("fcPf")};
        const AppleEventDescriptor name{.type = fourCharCode("utf8"),
                                        .data = path.lastPathComponent(),
                                        .keyword = fourCharCode("fcPn")};
        list.items.push_back({.type = fourCharCode("reco"), .items = {name, file}});
    }
    return {list};
}

FakeFinalCut::Reply FakeFinalCut::xmlReply(const std::string& xml) const {
    if (answers == Answers::withoutXML) return {};
    const auto type =
        answers == Answers::withXMLOfAnotherType ? fourCharCode("long") : fourCharCode("utf8");
    return {{.type = type, .data = xml, .keyword = fourCharCode("xmlD")}};
}

}  // namespace larkspan::testing
