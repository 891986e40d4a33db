#pragma once

#include "platform/StandardPlaces.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspan::platform {

// What the places follow from. Variables that are not set are empty.
struct PlacesEnvironment {
    std::string home;             // HOME
    std::string dataHome;         // XDG_DATA_HOME
    std::string cacheHome;        // XDG_CACHE_HOME
    std::string configHome;       // XDG_CONFIG_HOME
    std::string temporaryFolder;  // TMPDIR
    std::string sudoUser;         // SUDO_USER
    std::string actsFor;          // LARKSPAN_ACTS_FOR
    unsigned userID = 0;
    Path seat{"/run/systemd/seats/seat0"};  // what logind says of the console

    static PlacesEnvironment ofThisProcess();
};

// Places after the XDG base folders and user folders. As everywhere with those, a variable that is
// empty or holds a relative path counts as not set.
class LinuxStandardPlaces final : public StandardPlaces {
  public:
    explicit LinuxStandardPlaces(
        PlacesEnvironment environment = PlacesEnvironment::ofThisProcess());

    std::vector<Path> searchPaths(DirectoryKind kind, Domain domain) override;
    Path homeDirectory() override { return home_; }
    std::optional<Path> homeDirectoryForUser(const std::string& name) override;
    std::string userName() override { return userName_; }
    unsigned userID() override { return environment_.userID; }
    // A seat that shows the login screen, which runs as a system account, has nobody.
    std::optional<std::string> consoleUser() override;
    bool actsAsRoot() override;
    // Below XDG_DATA_HOME, as desktops have it, as long as that lies in the home folder.
    std::string trashFolderInHome() override;
    std::vector<Path> protectedFolders() override;
    std::string usersFolderName() override { return "home"; }
    Path temporaryDirectory() override;
    std::optional<Path> userCacheDirectory() override;

  private:
    std::vector<Path> userPaths(DirectoryKind kind) const;
    Path baseFolder(const std::string& variable, const char* inHome) const;
    Path userFolder(const char* key, const char* otherwise) const;
    std::optional<std::string> activeUserOfSeat() const;

    const PlacesEnvironment environment_;
    Path home_;
    std::string userName_;
    bool homeIsElsewhere_ = false;  // HOME names something other than the user's home
};

}  // namespace larkspan::platform
