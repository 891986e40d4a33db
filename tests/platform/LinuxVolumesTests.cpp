#include "platform/fake/FakeStandardPlaces.h"
#include "platform/linux/LinuxVolumes.h"
#include "support/Pump.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

namespace larkspan::platform {
namespace {

using Paths = std::vector<Path>;

class LinuxVolumesTests : public ::testing::Test {
  protected:
    void writeMounts(const std::string& content) const {
        std::ofstream(tables.mounts.str()) << content;
    }
    void writeConfiguration(const std::string& content) const {
        std::ofstream(tables.configuration.str()) << content;
    }

    testing::TemporaryFolder folder;
    LinuxMainThread mainThread;
    FakeStandardPlaces places;
    const VolumesTables tables{folder.path() / "mountinfo", folder.path() / "fstab"};
    LinuxVolumes volumes{mainThread, places, tables};
};

TEST_F(LinuxVolumesTests, LocalVolumesAreListedSortedAndOnce) {
    writeMounts(
        "26 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
        "21 26 0:20 / /proc rw - proc proc rw\n"
        "23 26 0:6 / /dev rw - devtmpfs /dev/none rw\n"
        "30 26 0:27 / /tmp rw - tmpfs tmpfs rw\n"
        "31 26 8:17 / /mnt/My\\040Disk rw,nosuid shared:5 master:6 - exfat /dev/sdb1 rw\n"
        "32 26 8:18 / /media/editor/Back\\134slash rw - fuseblk /dev/sdb2 rw\n"
        "33 26 0:40 / /mnt/ram rw - tmpfs tmpfs rw\n"
        "34 26 0:41 / /mnt/nas rw - nfs4 nas:/export rw\n"
        "35 26 0:42 / /mnt/far rw - fuse.sshfs me@far: rw\n"
        "36 26 7:0 / /snap/core/1 ro - squashfs /dev/loop0 ro\n"
        "37 26 8:1 /etc/hosts /etc/hosts rw - ext4 /dev/sda1 rw\n"
        "38 26 0:43 /@home /home rw - btrfs /dev/sdc1 rw\n"
        "39 26 0:44 / /tank rw - zfs tank rw\n"
        "40 26 8:17 / /mnt/My\\040Disk rw - exfat /dev/sdb1 rw\n"
        "41 26 0:45 / /mnt rw - tmpfs tmpfs rw\n"
        "nonsense\n42 26 8:3 / /short rw\n43 26 8:3 / /mnt/bare rw - ext4\n");
    EXPECT_EQ(volumes.mountedLocalVolumes(),
              (Paths{Path("/"), Path("/home"), Path("/media/editor/Back\\slash"),
                     Path("/mnt/My Disk"), Path("/mnt/ram"), Path("/tank")}));
}

TEST_F(LinuxVolumesTests, TellsTheFactsOfAMountPoint) {
    const Path point = folder.path();
    writeMounts("26 1 8:1 / " + point.str() + " rw - below /dev/none rw\n" +  //
                "27 26 8:2 / " + point.str() + " rw - ext4 /dev/none rw\n");
    const auto facts = volumes.factsOfVolume(point);
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->fileSystemType, "ext4");
    EXPECT_EQ(facts->device, "/dev/none");
    EXPECT_EQ(facts->name, point.lastPathComponent());
    EXPECT_GT(facts->totalSize, 0U);
    EXPECT_LE(facts->freeSpace, facts->totalSize);
    EXPECT_TRUE(facts->isWritable);
    EXPECT_FALSE(facts->isRemovable);
    EXPECT_FALSE(volumes.factsOfVolume(point / "below"));
}

TEST_F(LinuxVolumesTests, WithoutTablesNothingIsMountedAndNothingMissing) {
    EXPECT_TRUE(volumes.mountedLocalVolumes().empty());
    EXPECT_FALSE(volumes.isOnUnmountedVolume(Path("/mnt/raid/Film")));
}

TEST_F(LinuxVolumesTests, AConfiguredVolumeThatIsNotMountedIsNoticed) {
    writeConfiguration(
        "# /dev/x /commented ext4\n"
        "UUID=1 / ext4 defaults 0 1\n"
        "UUID=2 none swap sw 0 0\n"
        "\n"
        "/dev/sdb1\t/mnt/raid/   ext4 defaults 0 2\n"
        "nas:/x /mnt/raid/deep nfs defaults 0 0\n"
        "/dev/sdc1 /mnt/My\\040Disk exfat noauto 0 0\n"
        "lonely\n");
    writeMounts("26 1 8:1 / / rw - ext4 /dev/sda1 rw\n");
    const std::pair<const char*, bool> nothingMounted[] = {
        {"/mnt/raid", true},          {"/mnt/raid/Film/a.fcp", true},
        {"/mnt/raider/a.fcp", false}, {"/mnt/My Disk/a.fcp", true},
        {"/commented/a.fcp", false},  {"/home/a.fcp", false},
        {"none/a.fcp", false},        {"", false},
    };
    for (const auto& [path, unmounted] : nothingMounted) {
        EXPECT_EQ(volumes.isOnUnmountedVolume(Path(path)), unmounted) << path;
    }

    writeMounts(
        "26 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
        "31 26 8:17 / /mnt/raid rw - ext4 /dev/sdb1 rw\n"
        "32 26 8:19 / /mnt/My\\040Disk/inner rw - ext4 /dev/sdd1 rw\n");
    const std::pair<const char*, bool> someMounted[] = {
        {"/mnt/raid/Film/a.fcp", false},
        {"/mnt/raid/deep/a.fcp", true},
        {"/mnt/My Disk/a.fcp", true},
        {"/mnt/My Disk/inner/a.fcp", false},
    };
    for (const auto& [path, unmounted] : someMounted) {
        EXPECT_EQ(volumes.isOnUnmountedVolume(Path(path)), unmounted) << path;
    }
}

TEST_F(LinuxVolumesTests, ALinkToAVolumeThatIsNotMountedIsSeenThrough) {
    const Path point = folder.path() / "raid";
    const Path link = folder.path() / "link";
    std::filesystem::create_directory(point.str());
    std::filesystem::create_symlink(point.str(), link.str());
    writeConfiguration("/dev/sdb1 " + point.str() + " ext4 defaults 0 2\n");
    EXPECT_TRUE(volumes.isOnUnmountedVolume(link / "Film/a.fcp"));
    EXPECT_FALSE(volumes.isOnUnmountedVolume(folder.path() / "Film/a.fcp"));
}

TEST_F(LinuxVolumesTests, AVolumeIsFoundMountedThroughLinksOnBothSides) {
    const Path media = folder.path() / "media";
    const Path link = folder.path() / "link";
    std::filesystem::create_directories((media / "raid/Film").str());
    std::filesystem::create_symlink(media.str(), link.str());
    std::filesystem::create_symlink((media / "raid").str(), (folder.path() / "disk").str());
    for (const Path& configured : {media / "raid", link / "raid", folder.path() / "disk"}) {
        writeConfiguration("/dev/sdb1 " + configured.str() + " ext4 defaults 0 2\n");
        for (const bool mounted : {true, false}) {
            const std::string point = mounted ? (media / "raid").str() : "/elsewhere";
            writeMounts("31 26 8:17 / " + point + " rw - ext4 /dev/sdb1 rw\n");
            for (const Path& path :
                 {media / "raid/Film", link / "raid/new", folder.path() / "disk/a"}) {
                EXPECT_NE(volumes.isOnUnmountedVolume(path), mounted) << configured << ' ' << path;
            }
        }
    }
}

TEST_F(LinuxVolumesTests, VolumesFoldersAreTheUsersOrThoseOfWhomRootActsFor) {
    EXPECT_EQ(volumes.volumesFolders(), (Paths{Path("/Volumes"), Path("/media/editor"),
                                               Path("/run/media/editor"), Path("/mnt")}));
    places.user = "root";
    places.id = 0;
    places.console = "kim";
    EXPECT_EQ(volumes.volumesFolders()[1], Path("/media/kim"));
    places.console = std::nullopt;
    EXPECT_EQ(volumes.volumesFolders()[1], Path("/media/root"));
}

// Mounts of its own for the test's thread, given back at the end.
class PrivateMounts {
  public:
    PrivateMounts() : before_(::open("/proc/self/ns/mnt", O_RDONLY | O_CLOEXEC)) {
        granted_ = before_ && ::unshare(CLONE_NEWNS) == 0 &&
                   ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }
    PrivateMounts(const PrivateMounts&) = delete;
    PrivateMounts& operator=(const PrivateMounts&) = delete;
    ~PrivateMounts() {
        if (granted_) (void)::setns(before_.get(), CLONE_NEWNS);
    }
    bool granted() const { return granted_; }

  private:
    const FileDescriptor before_;
    bool granted_ = false;
};

TEST(LinuxVolumesMounts, ObserversHearOfVolumesMountedFromNowOn) {
    const testing::TemporaryFolder folder;
    const PrivateMounts own;
    // /mnt is covered for this thread, so that there are volumes below a volumes folder.
    if (!own.granted() || ::mount("cover", "/mnt", "tmpfs", 0, nullptr) != 0) {
        GTEST_SKIP() << "mounting needs privileges";
    }
    const Path points[] = {Path("/mnt/before"), Path("/mnt/first"), Path("/mnt/second"),
                           folder.path() / "elsewhere"};
    for (const Path& point : points) std::filesystem::create_directory(point.str());
    const auto mount = [](const Path& point) {
        EXPECT_EQ(::mount("volume", point.c_str(), "tmpfs", 0, nullptr), 0);
    };
    mount(points[0]);

    LinuxMainThread mainThread;
    FakeStandardPlaces places;
    LinuxVolumes volumes(mainThread, places);
    Paths heard;
    auto observation = volumes.observeMounts([&](const Path& point) { heard.push_back(point); });
    mount(points[3]);
    mount(points[1]);
    EXPECT_TRUE(testing::pumpUntil(mainThread, [&] { return !heard.empty(); }));
    ::umount(points[0].c_str());
    mount(points[2]);
    EXPECT_TRUE(testing::pumpUntil(mainThread, [&] { return heard.size() > 1; }));
    EXPECT_EQ(heard, (Paths{points[1], points[2]}));
    const Paths mounted = volumes.mountedLocalVolumes();
    EXPECT_EQ(std::ranges::count(mounted, points[1]), 1);
    EXPECT_EQ(std::ranges::count(mounted, points[0]), 0);

    observation.reset();
    mount(points[0]);
    testing::pumpFor(mainThread, std::chrono::milliseconds(10));
    EXPECT_EQ(heard.size(), 2U);
    for (const Path& point : {points[0], points[1], points[2], points[3], Path("/mnt")}) {
        ::umount(point.c_str());
    }
}

}  // namespace
}  // namespace larkspan::platform
