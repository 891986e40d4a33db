#include "discovery/FolderScan.h"
#include "platform/Platform.h"
#include "platform/linux/LinuxPlatform.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace larkspan {
namespace {

namespace fs = std::filesystem;

// Lets the process open few files more than it has open.
class FewDescriptors {
  public:
    FewDescriptors() {
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
        rlimit few = before_;
        few.rlim_cur = 200;
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;
    ~FewDescriptors() { (void)setrlimit(RLIMIT_NOFILE, &before_); }

  private:
    rlimit before_{};
};

class FolderScanOnDiskTest : public ::testing::Test {
  protected:
    static void file(const fs::path& path) {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << "x";
    }
    std::vector<Path> found(const fs::path& folder) {
        return scanForProjects({{Path(folder.string()), {"fcp"}}}, {}).projects;
    }

    testing::TemporaryFolder temporary;
    const fs::path root = temporary.path().str();
    platform::LinuxPlatform system;
    platform::ScopedPlatform installed{system.platform()};
};

TEST_F(FolderScanOnDiskTest, WideAndDeepTreesAreDoneWithFewDescriptors) {
    constexpr size_t chains = 2;
    constexpr int depth = 250;
    for (size_t chain = 0; chain < chains; ++chain) {
        fs::path folder = root / std::to_string(chain);
        for (int level = 0; level < depth; ++level) folder /= "deep";
        file(folder / "Cut.fcp");
        for (int i = 0; i < 20; ++i) {
            file(root / "wide" / std::to_string(chain) / std::to_string(i) / "Cut.fcp");
        }
    }
    const FewDescriptors few;
    const auto projects = found(root);
    EXPECT_EQ(projects.size(), chains * 21);
    EXPECT_EQ(std::unordered_set<Path>(projects.begin(), projects.end()).size(), chains * 21);
}

TEST_F(FolderScanOnDiskTest, LinksThatLeadUpAreNotFollowed) {
    file(root / "outside" / "Other.fcp");
    file(root / "watched" / "prefix" / "Cut.fcp");
    fs::create_directory_symlink("/", root / "watched" / "prefix" / "z:");
    fs::create_directory_symlink(root, root / "watched" / "up");
    EXPECT_THAT(found(root / "watched"),
                ::testing::ElementsAre(Path((root / "watched" / "prefix" / "Cut.fcp").string())));
}

TEST_F(FolderScanOnDiskTest, LinksGiveNoSecondProject) {
    file(root / "real" / "Cut.fcp");
    fs::create_directory_symlink("real", root / "a");
    fs::create_directory_symlink("..", root / "real" / "up");
    fs::create_symlink("real/Cut.fcp", root / "a.fcp");
    EXPECT_THAT(found(root), ::testing::ElementsAre(Path((root / "real" / "Cut.fcp").string())));
    fs::create_hard_link(root / "real" / "Cut.fcp", root / "hard.fcp");
    EXPECT_EQ(found(root).size(), 2U);
}

}  // namespace
}  // namespace larkspan
