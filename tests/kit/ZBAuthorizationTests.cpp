#include "kit/ZBAuthorization.h"
#include "kit/ZBLocalPaths.h"
#include "support/FakePlatformTest.h"

#include <functional>
#include <future>
#include <thread>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using platform::PrivilegedRun;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

class ZBAuthorizationTest : public testing::FakePlatformTest {
  protected:
    ZBAuthorizationTest() {
        ZBLog::createNewLog();
        ZBLog::finishWriting();
        for (const char* tool : {"/bin/rm", "/bin/mv", "/bin/cp", "/bin/mkdir"}) {
            fake.files.addFile(Path(tool), "");
            EXPECT_FALSE(fake.files.setPermissions(Path(tool), 0755));
            fake.processes.setProgram(Path(tool), {});
        }
        writeFile(Path("/W/notes.txt"), "x");
        fake.privileges.personAgrees = true;
    }
    ZBAuthorization& shared(WithGUI withGUI = WithGUI::yes,
                            Question question = Question::waitedFor) {
        return ZBAuthorization::sharedController(withGUI, question);
    }
    static bool eventually(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!condition() && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return condition();
    }
    std::vector<std::vector<std::string>> launched() const {
        std::vector<std::vector<std::string>> commands;
        for (const auto& launch : fake.processes.launches()) {
            commands.push_back({launch.launchPath.str()});
            commands.back().insert(commands.back().end(), launch.arguments.begin(),
                                   launch.arguments.end());
        }
        return commands;
    }

    const Path notes{"/W/notes.txt"};
    const Path trash = fake.places.homeDirectory() / fake.places.trashFolderInHome();
};

TEST_F(ZBAuthorizationTest, RunsTheToolsWithTheirArgumentsAndAsksOnce) {
    EXPECT_TRUE(shared().authRemoveFile(notes));
    EXPECT_TRUE(shared().authMoveFile(notes, Path("/W/b;$(c)")));
    EXPECT_TRUE(shared().authCopyFile(notes, Path("/W/c")));
    EXPECT_TRUE(shared().authCreateDir(Path("/W/d e/f")));
    EXPECT_TRUE(shared().authTrashFile(notes));
    EXPECT_THAT(
        fake.privileges.runs(),
        ElementsAre(
            PrivilegedRun{Path("/bin/rm"), {"-Rdf", "/W/notes.txt"}},
            PrivilegedRun{Path("/bin/mv"), {"-f", "/W/notes.txt", "/W/b;$(c)"}},
            PrivilegedRun{Path("/bin/cp"), {"-f", "-p", "-R", "/W/notes.txt", "/W/c"}},
            PrivilegedRun{Path("/bin/mkdir"), {"-p", "/W/d e/f"}},
            PrivilegedRun{Path("/bin/mv"), {"-n", "/W/notes.txt", (trash / "notes.txt").str()}}));
    EXPECT_EQ(fake.privileges.timesAsked(), 1);
    EXPECT_THAT(launched(), IsEmpty());
    shared().authEnd();
    EXPECT_EQ(fake.privileges.authorizationsInForce(), 0);
}

TEST_F(ZBAuthorizationTest, ProtectedFoldersStartNothing) {
    fake.places.protectedOnes = {Path("/etc")};
    const std::vector<Path> folders{Path("/"), *ZBLocalPaths::libraryDirectory(UserDomain::yes),
                                    Path("/etc"), Path("/etc/../etc/"), Path("//")};
    const std::vector<std::function<bool(const Path&)>> operations{
        [&](const Path& path) { return shared().authRemoveFile(path); },
        [&](const Path& path) { return shared().authTrashFile(path); },
        [&](const Path& path) { return shared().authTrashFolderContents(path); },
        [&](const Path& path) { return shared().authMoveFolderContents(path, Path("/W/to")); },
        [&](const Path& path) { return shared().authMoveFile(path, Path("/W/to")); },
    };
    for (const Path& folder : folders) {
        for (const auto& operation : operations) EXPECT_FALSE(operation(folder)) << folder.str();
    }
    EXPECT_THAT(fake.console.reported(), SizeIs(folders.size() * operations.size()));
    EXPECT_THAT(fake.console.reported(),
                Contains("Unable to delete path / because it is a system directory."));
    EXPECT_THAT(fake.privileges.runs(), IsEmpty());
    EXPECT_EQ(fake.privileges.timesAsked(), 0);
    // What lies in them is not protected.
    const Path inside = *ZBLocalPaths::libraryDirectory(UserDomain::yes) / "old";
    writeFile(inside, "x");
    EXPECT_TRUE(shared().authRemoveFile(inside));
}

TEST_F(ZBAuthorizationTest, NamesTakenInTheTrashGetTheDate) {
    writeFile(trash / "notes.txt", "older");
    writeFile(trash / "plain", "older");
    writeFile(Path("/W/plain"), "x");
    EXPECT_TRUE(shared().authTrashFile(notes));
    EXPECT_TRUE(shared().authTrashFile(Path("/W/plain")));
    const auto runs = fake.privileges.runs();
    ASSERT_THAT(runs, SizeIs(2));
    EXPECT_THAT(runs[0].arguments.back(),
                MatchesRegex(".*/notes_[0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9]"
                             "[0-9][0-9]\\.txt"));
    EXPECT_THAT(runs[1].arguments.back(), MatchesRegex(".*/plain_[0-9]+\\."));
}

TEST_F(ZBAuthorizationTest, WhatIsNotMovedKeepsNoNameInTheTrash) {
    fake.privileges.personAgrees = false;
    EXPECT_FALSE(shared().authTrashFile(notes));
    EXPECT_FALSE(shared().authTrashFile(Path("/W/missing")));
    EXPECT_EQ(*fake.trash.reserve(notes, [](int) { return "notes.txt"; }), trash / "notes.txt");
}

TEST_F(ZBAuthorizationTest, EveryEntryIsTried) {
    writeFile(Path("/W/folder/a"), "1");
    writeFile(Path("/W/folder/b"), "2");
    EXPECT_TRUE(shared().authMoveFolderContents(Path("/W/folder"), Path("/W/to")));
    EXPECT_THAT(fake.privileges.runs(), SizeIs(2));
    fake.privileges.status = 5;
    EXPECT_FALSE(shared().authTrashFolderContents(Path("/W/folder")));
    ASSERT_FALSE(fake.files.createFolder(Path("/W/none")));
    EXPECT_TRUE(shared().authTrashFolderContents(Path("/W/none")));
}

TEST_F(ZBAuthorizationTest, RefusalsAndMissingThingsHaveTheirStatus) {
    EXPECT_EQ(shared().authExecTask(Path("/bin/none")), ZBAuthorization::toolMissing);
    EXPECT_EQ(fake.privileges.timesAsked(), 0);
    fake.privileges.personAgrees = false;
    EXPECT_EQ(shared().authExecTask(Path("/bin/rm")), ZBAuthorization::notAuthorized);
    EXPECT_FALSE(shared().authMoveFile(std::nullopt, notes));
    EXPECT_FALSE(shared().authMoveFile(notes, std::nullopt));
    EXPECT_FALSE(shared().authCopyFile(std::nullopt, notes));
    EXPECT_FALSE(shared().authRemoveFile(Path("-rf")));
    EXPECT_THAT(fake.console.reported(),
                ElementsAre("Unable to execute task: path /bin/none doesn't exist",
                            "Error in authMoveFile: old path is null",
                            "Error in authMoveFile: new path is null",
                            "Error in authCopyFile: old path is null",
                            "Unable to use path -rf with administrator rights."));
}

TEST_F(ZBAuthorizationTest, WithoutAUserInterfaceNobodyIsAsked) {
    EXPECT_FALSE(shared(WithGUI::no).authRemoveFile(notes));
    EXPECT_FALSE(shared().canAuthorize());
    EXPECT_EQ(fake.privileges.timesAsked(), 0);
    EXPECT_THAT(fake.console.reported(), ElementsAre("Unable to authorize"));
}

TEST_F(ZBAuthorizationTest, ANoIsNotAskedForAgain) {
    fake.privileges.personAgrees = false;
    for (int run = 0; run < 3; ++run) EXPECT_FALSE(shared().authRemoveFile(notes));
    EXPECT_EQ(fake.privileges.timesAsked(), 1);
    fake.privileges.passwords["admin"] = "swordfish";
    EXPECT_TRUE(shared().authStartWithUser("admin", Secret("swordfish")));
    EXPECT_TRUE(shared().authRemoveFile(notes));
}

TEST_F(ZBAuthorizationTest, AskedApartNobodyWaitsAndItWorksOnceGranted) {
    std::promise<void> click;
    fake.privileges.sitsAtDesktop = false;
    fake.privileges.answer = [&](const auto&) { click.get_future().wait(); };
    ZBAuthorization& authorization = shared(WithGUI::yes, Question::apart);
    EXPECT_FALSE(authorization.authRemoveFile(notes));
    EXPECT_EQ(fake.privileges.timesAsked(), 0);
    fake.privileges.sitsAtDesktop = true;
    for (int run = 0; run < 3; ++run) EXPECT_FALSE(authorization.authRemoveFile(notes));
    click.set_value();
    EXPECT_TRUE(eventually([&] { return authorization.isAuthorized(); }));
    EXPECT_TRUE(authorization.authRemoveFile(notes));
    EXPECT_EQ(fake.privileges.timesAsked(), 1);
}

TEST_F(ZBAuthorizationTest, AnOpenQuestionEndsWithTheProcess) {
    fake.privileges.answer = [&](const auto& givenUp) {
        EXPECT_TRUE(eventually([&] { return givenUp(); }));
    };
    EXPECT_FALSE(shared(WithGUI::yes, Question::apart).authStart());
    ZBAuthorization::discardSharedController();
    EXPECT_EQ(fake.privileges.timesAsked(), 1);
    EXPECT_EQ(fake.privileges.authorizationsInForce(), 0);
}

TEST_F(ZBAuthorizationTest, APasswordIsCheckedAndKeptNowhere) {
    fake.privileges.passwords["admin"] = "swordfish";
    EXPECT_FALSE(shared().authStartWithUser(std::nullopt, Secret("swordfish")));
    EXPECT_FALSE(shared().authStartWithUser("admin", Secret("wrong")));
    EXPECT_THAT(loggedLines(), Contains("Authorization failed. Invalid username or password"));
    EXPECT_TRUE(shared().authStartWithUser("admin", Secret("swordfish")));
    EXPECT_TRUE(shared().isAuthorized());
    fake.privileges.authorizationFailure = Error{posixErrorDomain, 2, "no such program"};
    EXPECT_FALSE(shared().authStartWithUser("admin", Secret("swordfish")));
    EXPECT_FALSE(shared().isAuthorized());
    EXPECT_THAT(fake.console.reported(), Contains("Unable to create authRef - error 2"));
    for (const std::string& line : loggedLines()) {
        EXPECT_EQ(line.find("swordfish"), std::string::npos);
    }
}

TEST_F(ZBAuthorizationTest, RootRunsTheToolsItself) {
    fake.places.id = 0;
    EXPECT_TRUE(shared().isAuthorized());
    EXPECT_TRUE(shared().authMoveFile(notes, Path("/W/to")));
    EXPECT_EQ(shared().authExecTask(Path("/bin/rm"), {"a"}), 0);
    EXPECT_THAT(launched(), ElementsAre(ElementsAre("/bin/mv", "-f", "/W/notes.txt", "/W/to"),
                                        ElementsAre("/bin/rm", "a")));
    EXPECT_EQ(fake.privileges.timesAsked(), 0);
}

}  // namespace
}  // namespace larkspan
