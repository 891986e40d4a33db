#pragma once

#include "platform/StandardPlaces.h"

#include <map>
#include <utility>

namespace larkspan::platform {

// Places below one folder: "home" for the user, "local" and "system" for the other domains. Tests
// change any of it; nothing is created. Change it before other threads look.
class FakeStandardPlaces final : public StandardPlaces {
  public:
    explicit FakeStandardPlaces(const Path& root = Path("/fake"));

    std::vector<Path> searchPaths(DirectoryKind kind, Domain domain) override;
    Path homeDirectory() override { return home; }
    std::optional<Path> homeDirectoryForUser(const std::string& name) override;
    std::string userName() override { return user; }
    unsigned userID() override { return id; }
    std::optional<std::string> consoleUser() override { return console; }
    bool actsAsRoot() override { return startedByRoot; }
    std::string trashFolderInHome() override { return trash; }
    std::vector<Path> protectedFolders() override { return protectedOnes; }
    std::string usersFolderName() override { return "Users"; }
    Path temporaryDirectory() override { return temporary; }
    std::optional<Path> userCacheDirectory() override { return cache; }

    std::map<std::pair<DirectoryKind, Domain>, std::vector<Path>> folders;
    Path home;
    std::map<std::string, Path> otherHomes;
    std::string user = "editor";
    unsigned id = 1000;
    bool startedByRoot = false;
    std::optional<std::string> console = "editor";
    std::string trash = ".Trash";
    std::vector<Path> protectedOnes;
    Path temporary;
    std::optional<Path> cache;
};

}  // namespace larkspan::platform
