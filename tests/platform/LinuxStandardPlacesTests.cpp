#include "platform/linux/LinuxStandardPlaces.h"
#include "support/TemporaryFolder.h"

#include <fstream>

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

Path first(LinuxStandardPlaces& places, DirectoryKind kind, Domain domain) {
    const std::vector<Path> paths = places.searchPaths(kind, domain);
    return paths.empty() ? Path() : paths.front();
}

class LinuxStandardPlacesTests : public ::testing::Test {
  protected:
    LinuxStandardPlacesTests() {
        environment.home = "/home/kim";
        environment.userID = ::geteuid();
        environment.seat = folder.path() / "seat0";
    }
    void write(const std::string& name, const std::string& content) const {
        std::ofstream((folder.path() / name).str()) << content;
    }
    Path user(DirectoryKind kind) const {
        LinuxStandardPlaces places(environment);
        return first(places, kind, Domain::user);
    }
    std::optional<std::string> consoleUser() const {
        return LinuxStandardPlaces(environment).consoleUser();
    }
    void liveAtHome() { environment.home = ::getpwuid(::geteuid())->pw_dir; }

    testing::TemporaryFolder folder;
    PlacesEnvironment environment;
    const std::string ownName = ::getpwuid(::geteuid())->pw_name;
};

TEST_F(LinuxStandardPlacesTests, FollowsHomeWhenNothingElseIsSet) {
    const std::pair<DirectoryKind, const char*> expected[] = {
        {DirectoryKind::library, "/home/kim/.local/share/larkspan"},
        {DirectoryKind::applicationSupport, "/home/kim/.local/share/larkspan/Application Support"},
        {DirectoryKind::caches, "/home/kim/.cache/larkspan"},
        {DirectoryKind::applications, "/home/kim/Applications"},
        {DirectoryKind::documents, "/home/kim/Documents"},
        {DirectoryKind::desktop, "/home/kim/Desktop"},
        {DirectoryKind::movies, "/home/kim/Videos"},
    };
    for (const auto& [kind, path] : expected) EXPECT_EQ(user(kind), Path(path));

    LinuxStandardPlaces places(environment);
    EXPECT_EQ(places.homeDirectory(), Path("/home/kim"));
    EXPECT_EQ(places.temporaryDirectory(), Path("/tmp"));
    EXPECT_EQ(places.userCacheDirectory(), Path("/home/kim/.cache"));
    EXPECT_EQ(first(places, DirectoryKind::library, Domain::local), Path("/var/lib/larkspan"));
    EXPECT_EQ(first(places, DirectoryKind::library, Domain::system), Path("/usr/share/larkspan"));
    EXPECT_EQ(first(places, DirectoryKind::documentation, Domain::local), Path("/usr/share/doc"));
}

TEST_F(LinuxStandardPlacesTests, OneHomeIsOneHoweverItIsWritten) {
    for (const char* same : {"/home/kim/", "//home//kim", "/home/./kim/."}) {
        environment.home = same;
        EXPECT_EQ(LinuxStandardPlaces(environment).homeDirectory(), Path("/home/kim")) << same;
        EXPECT_EQ(user(DirectoryKind::caches), Path("/home/kim/.cache/larkspan")) << same;
    }
    environment.dataHome = "//data/./mine/";
    EXPECT_EQ(user(DirectoryKind::library), Path("/data/mine/larkspan"));
}

TEST_F(LinuxStandardPlacesTests, BaseFoldersCountOnlyWhenTheyAreAbsolute) {
    environment.dataHome = "/data";
    environment.cacheHome = "caches";
    environment.temporaryFolder = "/scratch";
    EXPECT_EQ(user(DirectoryKind::library), Path("/data/larkspan"));
    EXPECT_EQ(user(DirectoryKind::caches), Path("/home/kim/.cache/larkspan"));
    EXPECT_EQ(LinuxStandardPlaces(environment).temporaryDirectory(), Path("/scratch"));
}

TEST_F(LinuxStandardPlacesTests, UserFoldersComeFromTheDesktopsFile) {
    environment.configHome = folder.path().str();
    write("user-dirs.dirs",
          "# XDG_VIDEOS_DIR=\"/commented\"\n"
          "XDG_DOCUMENTS_DIR=\"$HOME/Schrift\\\"st\\\\ücke\"\n"
          "  XDG_DESKTOP_DIR=\"/srv/old\"\n"
          "XDG_DESKTOP_DIR=\"/srv/desk\"\n"
          "XDG_VIDEOS_DIR=\"relative\"\n");
    EXPECT_EQ(user(DirectoryKind::documents), Path("/home/kim/Schrift\"st\\ücke"));
    EXPECT_EQ(user(DirectoryKind::desktop), Path("/srv/desk"));
    EXPECT_EQ(user(DirectoryKind::movies), Path("/home/kim/Videos"));

    write("user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/\"\nXDG_VIDEOS_DIR=\"$HOMEWARD\"\n");
    EXPECT_EQ(user(DirectoryKind::desktop), Path("/home/kim"));
    EXPECT_EQ(user(DirectoryKind::movies), Path("/home/kim/Videos"));
}

TEST_F(LinuxStandardPlacesTests, TheTrashLiesBelowTheHome) {
    const auto trash = [&] { return LinuxStandardPlaces(environment).trashFolderInHome(); };
    EXPECT_EQ(trash(), ".local/share/Trash/files");
    environment.dataHome = "/home/kim/.data";
    EXPECT_EQ(trash(), ".data/Trash/files");
    environment.home = "/";
    EXPECT_EQ(trash(), "home/kim/.data/Trash/files");
    environment.home = "/home/kimberly";
    EXPECT_EQ(trash(), ".local/share/Trash/files");
}

TEST_F(LinuxStandardPlacesTests, AHomeThatSudoKeptIsThatOfTheUserBehindIt) {
    environment.sudoUser = "games";
    environment.home = "/usr/games/";
    EXPECT_EQ(consoleUser(), "games");
    write("seat0", "ACTIVE_UID=0\n");
    EXPECT_EQ(consoleUser(), "games");
    environment.home = "/usr/games/elsewhere";
    EXPECT_EQ(consoleUser(), ownName);
}

TEST_F(LinuxStandardPlacesTests, RootsMarkCountsForItsUserAlone) {
    for (const auto& [userID, mark, expected] : {std::tuple(1001U, "1001", true),
                                                 {1001U, "1002", false},
                                                 {1001U, "", false},
                                                 {0U, "0", false}}) {
        environment.userID = userID;
        environment.actsFor = mark;
        EXPECT_EQ(LinuxStandardPlaces(environment).actsAsRoot(), expected) << userID << mark;
    }
}

TEST_F(LinuxStandardPlacesTests, ARelativeHomeIsNone) {
    environment.home = "kim";
    EXPECT_EQ(LinuxStandardPlaces(environment).homeDirectory(),
              Path(::getpwuid(::geteuid())->pw_dir));
}

TEST_F(LinuxStandardPlacesTests, AUserWhomNobodyKnowsStillHasPlaces) {
    environment.userID = 3'999'999'999;
    environment.home = {};
    LinuxStandardPlaces places(environment);
    EXPECT_EQ(places.userName(), "3999999999");
    EXPECT_EQ(places.homeDirectory(), Path("/"));
    EXPECT_EQ(places.consoleUser(), "3999999999");
}

TEST_F(LinuxStandardPlacesTests, TheConsoleUserIsTheSeatsThenTheOneBehindSudoThenOneself) {
    liveAtHome();
    EXPECT_EQ(consoleUser(), ownName);
    environment.sudoUser = "nobody";
    EXPECT_EQ(consoleUser(), "nobody");
    environment.sudoUser = "no such person";
    EXPECT_EQ(consoleUser(), ownName);

    environment.sudoUser = "nobody";
    write("seat0", "# This is private data.\nACTIVE_UID=0\nUIDS=0\n");
    EXPECT_EQ(consoleUser(), "root");
    write("seat0", "ACTIVE_UID=1\n");  // a login screen
    EXPECT_EQ(consoleUser(), "nobody");
    write("seat0", "IS_SEAT0=1\nACTIVE_UID=\n");
    EXPECT_EQ(consoleUser(), "nobody");
}

TEST_F(LinuxStandardPlacesTests, WhoeverSetsHomeElsewhereActsForOneself) {
    write("seat0", "ACTIVE_UID=65534\n");
    environment.sudoUser = "nobody";
    EXPECT_EQ(consoleUser(), ownName);
    EXPECT_EQ(LinuxStandardPlaces(environment).homeDirectoryForUser(ownName), Path("/home/kim"));
    liveAtHome();
    environment.home += "/";
    EXPECT_EQ(consoleUser(), "nobody");
}

}  // namespace
}  // namespace larkspan::platform
