#include "platform/Connections.h"
#include "platform/linux/SocketFolder.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace larkspan::platform {
namespace {

namespace fs = std::filesystem;

struct SocketFolderTest : ::testing::Test {
    std::string chosen(const SocketFacts& facts) {
        return chooseSocketFolder(facts, "Helper").str();
    }
    Path made(const std::string& name, mode_t mode) {
        Path path = folder.path() / name;
        ::mkdir(path.c_str(), 0700);
        ::chmod(path.c_str(), mode);
        return path;
    }

    larkspan::testing::TemporaryFolder folder;
    const std::string runtime = folder.path().str();
    const std::string tmp = "/tmp/larkspan-7";
};

TEST_F(SocketFolderTest, liesInTheRuntimeFolderOfThisUser) {
    EXPECT_EQ(chosen({.home = "/home/a/", .accountHome = "/home/a", .runtimeFolders = {runtime}}),
              runtime + "/larkspan");
    EXPECT_EQ(chosen({.home = "", .accountHome = "/home/a", .runtimeFolders = {"", runtime}}),
              runtime + "/larkspan");
    const std::string missing = runtime + "/missing";
    EXPECT_EQ(chosen({.home = "/home/a",
                      .accountHome = "/home/a",
                      .runtimeFolders = {missing, "relative"},
                      .userID = 7}),
              tmp);
    const std::string link = runtime + "/link";
    fs::create_symlink(runtime, link);
    EXPECT_EQ(chosen({.runtimeFolders = {link}, .userID = 7}), tmp);
    const Path longFolder = made(std::string(100, 'r'), 0700);
    EXPECT_EQ(chosen({.runtimeFolders = {longFolder.str()}, .userID = 7}), tmp);
    if (::geteuid() == 0) {
        const Path foreign = made("foreign", 0700);
        ASSERT_EQ(::chown(foreign.c_str(), 65534, 65534), 0);
        EXPECT_EQ(chosen({.runtimeFolders = {foreign.str()}, .userID = 7}), tmp);
    }
}

TEST_F(SocketFolderTest, anotherHomeMeansAnotherFolder) {
    SocketFacts facts{.home = "/other", .accountHome = "/home/a", .runtimeFolders = {runtime}};
    EXPECT_EQ(chosen(facts), "/other/.local/share/larkspan/run");
    for (const char* same : {"/other/", "//other", "/./other/."}) {
        facts.home = same;
        EXPECT_EQ(chosen(facts), "/other/.local/share/larkspan/run") << same;
    }
    facts.home = "//home/./a/";
    EXPECT_EQ(chosen(facts), runtime + "/larkspan") << "the account's";
    facts.home = "/" + std::string(100, 'h');
    const std::string first = chosen(facts);
    EXPECT_EQ(first.find(runtime + "/larkspan-"), 0U) << first;
    EXPECT_EQ(chosen(facts), first);
    facts.home.back() = 'x';
    EXPECT_NE(chosen(facts), first);
    EXPECT_LT(first.size() + sizeof "/Helper.socket", 108U);
}

TEST_F(SocketFolderTest, isMadeForThisUserAlone) {
    const mode_t before = ::umask(0);
    Path path = folder.path() / "a/b/run";
    EXPECT_EQ(prepareSocketFolder(path), std::nullopt);
    EXPECT_EQ(prepareSocketFolder(path), std::nullopt) << "again";
    for (const Path& each : {path, path.deletingLastPathComponent()}) {
        struct stat status {};
        ASSERT_EQ(::stat(each.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0700U) << each;
    }
    const auto listener = listenInFolder(path, "Helper", Seconds(0));
    ::umask(before);
    ASSERT_TRUE(listener);
    for (const char* name : {"Helper.socket", "Helper.lock"}) {
        struct stat status {};
        ASSERT_EQ(::stat((path / name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0600U) << name;
    }
}

TEST_F(SocketFolderTest, isRefusedWhenOthersCouldReachIt) {
    const Path good = made("good", 0700);
    fs::create_symlink(good.str(), (folder.path() / "link").str());
    std::ofstream((folder.path() / "file").str()) << "text";
    std::vector<Path> bad = {made("group", 0710), made("others", 0701), folder.path() / "link",
                             folder.path() / "file"};
    if (::geteuid() == 0) {
        bad.push_back(made("foreign", 0700));
        ASSERT_EQ(::chown(bad.back().c_str(), 65534, 65534), 0);
    }
    for (const Path& path : bad) {
        const auto listener = listenInFolder(path, "Helper", Seconds(0));
        ASSERT_FALSE(listener) << path;
        EXPECT_TRUE(listener.error().is(connectionErrorDomain, ConnectionErrorCode::refused));
        const auto client = connectInFolder(path, "Helper", Seconds(1));
        ASSERT_FALSE(client) << path;
        EXPECT_TRUE(client.error().is(connectionErrorDomain, ConnectionErrorCode::refused));
    }
    EXPECT_TRUE(listenInFolder(good, "Helper", Seconds(0)));
}

TEST_F(SocketFolderTest, pathsThatWouldBeCutAreRefused) {
    Path path = folder.path() / std::string(90, 'p');
    for (const auto& error : {listenInFolder(path, "Helper", Seconds(0)).error(),
                              connectInFolder(path, "Helper", Seconds(0)).error()}) {
        EXPECT_TRUE(error.is(posixErrorDomain, ENAMETOOLONG)) << error.description;
    }
}

}  // namespace
}  // namespace larkspan::platform
