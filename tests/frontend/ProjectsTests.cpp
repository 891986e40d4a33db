#include "frontend/FrontEndTest.h"
#include "frontend/ProjectSearch.h"
#include "frontend/StoreNews.h"

#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr Date firstSave = dateFromUnixTime(1'600'000'000);
constexpr Date secondSave = dateFromUnixTime(1'600'000'100);

TEST(ProjectSearchTest, TheFirstRuleThatFindsAnyDecides) {
    const std::vector<StoredProject> projects{
        {{"ABCD-1"}, Path("/Work/Cut.fcp")},
        {{"ABCE-2"}, Path("/Work/cut.prproj")},
        {{"CUT"}, Path("/Work/Film/CurrentVersion.fcpproject")},
        {{"FFFF-4"}, Path("/Old/Cut.fcp")},
    };
    const std::vector<std::pair<std::string, std::vector<std::string>>> table{
        {"abcd-1", {"ABCD-1"}},
        {"cut", {"CUT"}},
        {"Cut.fcp", {"ABCD-1"}},  // the path in the current folder
        {"/Old/Cut.fcp", {"FFFF-4"}},
        {"Cut", {"CUT"}},
        {"CUT.PRPROJ", {"ABCE-2"}},
        {"film", {"CUT"}},
        {"abc", {"ABCD-1", "ABCE-2"}},
        {"f", {"FFFF-4"}},
        {"zzz", {}},
        {"", {}},
    };
    for (const auto& [typed, expected] : table) {
        std::vector<std::string> found;
        for (const auto& project : projectsMeantBy(typed, projects, Path("/Work"))) {
            found.push_back(project.id.text);
        }
        EXPECT_EQ(found, expected) << typed;
    }
}

class ProjectsTest : public testing::FrontEndTest {
  protected:
    ProjectsTest() {
        addProject("AAAA", "/Work/Film/Cut.fcp");
        addVersion("AAAA", "Cut.00001.fcp", firstSave);
        addVersion("AAAA", "Cut.00002.fcp", secondSave, std::string(1500, 'x'));
        addVersion("AAAA", "Cut.00002.xml", secondSave);
        addVersion("AAAA", ".Cut.00003.fcp.copy", secondSave);
        addVersion("AAAA", "notes.txt", secondSave);
        addProject("BBBB", "/Work/Other.prproj");
    }
};

TEST_F(ProjectsTest, ListsNamesCountsAndDates) {
    EXPECT_FALSE(fake.files.removeItem(Path("/Work/Other.prproj")));
    const auto text = run({"projects"});
    EXPECT_EQ(text.status, ExitStatus::done);
    EXPECT_THAT(text.output,
                AllOf(HasSubstr("Cut.fcp "), HasSubstr("/Work/Other.prproj (missing)")));
    EXPECT_EQ(run({"projects", "--json"}).output, R"([
  {
    "exists": true,
    "id": "AAAA",
    "name": "Cut.fcp",
    "newest": "2020-09-13T12:28:20Z",
    "path": "/Work/Film/Cut.fcp",
    "versions": 2
  },
  {
    "exists": false,
    "id": "BBBB",
    "name": "Other.prproj",
    "path": "/Work/Other.prproj",
    "versions": 0
  }
]
)");
}

TEST_F(ProjectsTest, VersionsAreNumberedFilesAndNothingElse) {
    EXPECT_EQ(run({"versions", "aa", "--json"}).output, R"([
  {
    "date": "2020-09-13T12:26:40Z",
    "file": "/Store/AAAA.localized/Versions/Cut.00001.fcp",
    "number": 1,
    "size": 7
  },
  {
    "date": "2020-09-13T12:28:20Z",
    "file": "/Store/AAAA.localized/Versions/Cut.00002.fcp",
    "number": 2,
    "rendition": "/Store/AAAA.localized/Versions/Cut.00002.xml",
    "size": 1500
  }
]
)");
    EXPECT_THAT(run({"versions", "Film/Cut.fcp"}).output, HasSubstr("1.5 kB  /Store/AAAA"));
    EXPECT_THAT(run({"versions", "Other"}).messages, HasSubstr("has no version yet"));
}

TEST_F(ProjectsTest, VersionsThatCannotBeReadAreNotNone) {
    fake.faults.refusePath(Path("/Store/AAAA.localized/Versions"), EACCES);
    const auto versions = run({"versions", "aa"});
    EXPECT_EQ(versions.status, ExitStatus::failed);
    EXPECT_THAT(versions.messages, HasSubstr("The versions of Cut.fcp cannot be read: "));
    const auto projects = run({"projects"});
    EXPECT_THAT(projects.output, HasSubstr("Cut.fcp"));
    EXPECT_THAT(projects.output, HasSubstr(" ?  "));
    EXPECT_THAT(projects.messages, HasSubstr("The versions of Cut.fcp cannot be read: "));
    EXPECT_THAT(run({"status"}).output, HasSubstr("The versions of a project cannot be read"));
}

TEST_F(ProjectsTest, AVersionOfAFolderIsAsLargeAsItsFiles) {
    addProject("CCCC", "/Work/Lib.fcpbundle");
    addVersion("CCCC", "Lib.00001.fcpbundle/a", firstSave, "12345");
    addVersion("CCCC", "Lib.00001.fcpbundle/b/c", firstSave, "678");
    fake.files.addLink(Path("/Store/CCCC.localized/Versions/Lib.00001.fcpbundle/loop"), ".");
    EXPECT_THAT(run({"versions", "Lib", "--json"}).output, HasSubstr("\"size\": 8"));
}

TEST_F(ProjectsTest, AmbiguousAndUnknownProjectsNameCandidates) {
    addProject("CCCC", "/Work/Cut.fcp");
    const auto ambiguous = run({"versions", "Cut"});
    EXPECT_EQ(ambiguous.status, ExitStatus::failed);
    EXPECT_THAT(ambiguous.messages,
                AllOf(HasSubstr("AAAA  /Work/Film/Cut.fcp"), HasSubstr("CCCC  /Work/Cut.fcp")));
    const auto unknown = run({"versions", "Othr.prproj"});
    EXPECT_EQ(unknown.status, ExitStatus::failed);
    EXPECT_THAT(unknown.messages, HasSubstr("Did you mean \"Other.prproj\"?"));
}

TEST_F(ProjectsTest, UnreadableSettingsAreToldAndTheRestIsListed) {
    fake.files.addFile(Path("/Store/DDDD.localized/Settings.plist"), "torn");
    const auto outcome = run({"projects"});
    EXPECT_THAT(outcome.output, HasSubstr("Cut.fcp"));
    EXPECT_THAT(outcome.messages, HasSubstr("/Store/DDDD.localized"));
}

TEST_F(ProjectsTest, NewsAreWhatCameSinceTheLastLook) {
    StoreNews news(Path("/Store"));
    EXPECT_EQ(news.projectCount(), 2U);
    EXPECT_EQ(news.versionCount(), 2U);
    fake.clock.advance(Seconds(10));
    addVersion("AAAA", "Cut.00003.fcp", secondSave);
    addVersion("BBBB", "Other.00001.prproj", secondSave);
    addProject("CCCC", "/Work/New.fcp");
    addVersion("CCCC", "New.00001.fcp", secondSave);
    const auto numbers = [](const StoreNews::News& found) {
        std::vector<std::string> names;
        for (const auto& version : found.versions) {
            names.push_back(version.project.id.text + std::to_string(version.version.number.value));
        }
        return names;
    };
    const auto first = news.lookAt({"AAAA.localized"});
    ASSERT_EQ(first.projects.size(), 1U);
    EXPECT_EQ(first.projects[0].id.text, "CCCC");
    EXPECT_THAT(numbers(first), ElementsAre("AAAA3", "CCCC1"));
    EXPECT_THAT(numbers(news.lookAtAll()), ElementsAre("BBBB1"));
    EXPECT_THAT(numbers(news.lookAtAll()), IsEmpty());
}

}  // namespace
}  // namespace larkspan
