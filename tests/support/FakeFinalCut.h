#pragma once

#include "foundation/Path.h"
#include "platform/fake/FakeAppleEvents.h"
#include "platform/fake/FakeApplications.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan::testing {

// A Final Cut Pro that takes requests apart as the application does, and answers them. A request
// with a wrong code, order, type or value gets an error and a line in `complaints`. One thread.
class FakeFinalCut {
  public:
    struct Project {
        std::string xml = "<xmeml/>";
        std::string contents = "<contents/>";
        std::map<std::string, std::string> items = {};  // XML by identifier
        std::vector<std::string> imported = {};
        std::vector<std::string> openedItems = {};
        int timesSaved = 0;
        std::optional<bool> closedWithSaving = {};
    };
    // What is left out of its answers, or put in place of them.
    enum class Answers { asTheyShould, withoutXML, withXMLOfAnotherType, withoutList };

    FakeFinalCut(platform::FakeApplications& applications, platform::FakeAppleEvents& appleEvents);

    void launch();
    // It runs, with that project open.
    void open(const Path& path, const Project& project);
    Project& project(const Path& path) { return projects_.at(path); }
    bool isOpen(const Path& path) const;

    std::vector<std::string> complaints;
    Answers answers = Answers::asTheyShould;
    // It takes longer to open a project than anybody waits.
    bool opensSlowly = false;
    // Entries put before the list of open projects.
    std::vector<platform::AppleEventDescriptor> strangeListItems;

  private:
    using Reply = std::vector<platform::AppleEventDescriptor>;
    // A request taken apart: the project, and the data of what follows it.
    struct Request {
        Path project;
        std::vector<std::string> values;
    };

    platform::FakeAppleEvents::Answer handle(const platform::AppleEvent& event);
    Reply answer(const platform::AppleEvent& event);
    Request takeApart(const platform::AppleEvent& event, std::string_view form);
    std::string valueOf(const platform::AppleEventDescriptor& parameter);
    void check(bool isRight, const std::string& complaint);
    Reply listOfOpenProjects();
    Reply xmlReply(const std::string& xml) const;
    Reply perform(const platform::AppleEvent& event);
    void close(const Request& request);

    platform::FakeApplications& applications_;
    platform::FakeAppleEvents& appleEvents_;
    std::map<Path, Project> projects_;
    std::vector<Path> open_;
};

}  // namespace larkspan::testing
