#include "platform/FilesUnderTest.h"
#include "platform/FinderInfo.h"
#include "platform/HookedFiles.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/posix/FileDescriptor.h"
#include "support/TemporaryFolder.h"

#include <csignal>
#include <filesystem>
#include <fstream>

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>

namespace larkspan::testing {
namespace {

namespace fs = std::filesystem;
using platform::FileDescriptor;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class LinuxFilesTest : public ::testing::Test {
  protected:
    Path at(std::string_view name) const { return folder_.path() / name; }
    void write(std::string_view name, std::string_view bytes) const {
        fs::create_directories(at(name).deletingLastPathComponent().str());
        std::ofstream(at(name).str(), std::ios::binary) << bytes;
    }
    bool setAttribute(const Path& path, const char* name, std::string_view value) const {
        return ::setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
    }
    size_t entryCount(const Path& folder) { return files_.contentsOfFolder(folder)->size(); }

    TemporaryFolder folder_;
    platform::LinuxFiles files_;
};

// Runs a body in a child process; its exit status, or minus the signal that ended it.
template <class Body>
int inChild(Body body) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(body());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST_F(LinuxFilesTest, KilledCopyLeavesOnlyWhatIsCleared) {
    write("tree/file", "text");
    for (const char* source : {"tree", "tree/file"}) {
        int reached[2];
        ASSERT_EQ(::pipe2(reached, O_CLOEXEC), 0);
        const FileDescriptor readEnd(reached[0]);
        FileDescriptor writeEnd(reached[1]);
        const pid_t child = ::fork();
        if (child == 0) {
            HookedFiles files;
            files.beforeCopyRange = [&]() -> std::optional<int> {
                (void)!::write(reached[1], "x", 1);
                for (;;) ::pause();
            };
            (void)files.copyItem(at(source), at("copy"));
            ::_exit(0);
        }
        writeEnd.reset();
        char signal = 0;
        EXPECT_EQ(::read(readEnd.get(), &signal, 1), 1);
        EXPECT_EQ(entryCount(at("")), 2U);
        EXPECT_EQ(files_.removeAbandonedCopies(at("")), 0) << "it is still at work";
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);

        EXPECT_FALSE(files_.linkInfo(at("copy")));
        const auto left = files_.contentsOfFolder(at(""));
        ASSERT_EQ(left->size(), 2U);
        EXPECT_TRUE(platform::isTemporaryItemName(left->front().name)) << left->front().name;
        EXPECT_EQ(files_.removeAbandonedCopies(at("")), 1);
        EXPECT_EQ(entryCount(at("")), 1U);
    }
}

TEST_F(LinuxFilesTest, FullDiskLeavesNothing) {
    constexpr int notPossible = 77;
    const int status = inChild([&] {
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", folder_.path().c_str(), "tmpfs", 0, "size=1m") != 0) {
            return notPossible;
        }
        write("tree/file", std::string(600'000, 'x'));
        for (const char* source : {"tree/file", "tree"}) {
            if (codeOf(files_.copyItem(at(source), at("copy"))) != ENOSPC) return 1;
            if (entryCount(at("")) != 1) return 2;
        }
        if (codeOf(files_.writeFileAtomically(at("f"), std::string(600'000, 'x'))) != ENOSPC)
            return 3;
        return entryCount(at("")) == 1 && !files_.writeFileAtomically(at("f"), "small") ? 0 : 4;
    });
    if (status == notPossible) GTEST_SKIP() << "no file system may be mounted here";
    EXPECT_EQ(status, 0);
}

TEST_F(LinuxFilesTest, CopiesKeepExtendedAttributesAndBothDates) {
    write("tree/file", "text");
    if (!setAttribute(at("tree/file"), "user.note", "a\nb")) GTEST_SKIP() << "no attributes here";
    ASSERT_TRUE(setAttribute(at("tree"), "user.folder", ""));
    const timespec times[2] = {{1'111'111'111, 123'456'789}, {1'222'222'222, 987'654'321}};
    ASSERT_EQ(::utimensat(AT_FDCWD, at("tree/file").c_str(), times, 0), 0);
    ASSERT_EQ(::chmod(at("tree/file").c_str(), 0400), 0);
    ASSERT_EQ(::utimensat(AT_FDCWD, at("tree").c_str(), times, 0), 0);
    ASSERT_FALSE(files_.copyItem(at("tree"), at("copy")));
    for (const char* name : {"copy", "copy/file"}) {
        struct stat status {};
        ASSERT_EQ(::stat(at(name).c_str(), &status), 0);
        EXPECT_EQ(status.st_atim.tv_sec, times[0].tv_sec) << name;
        EXPECT_EQ(status.st_atim.tv_nsec, times[0].tv_nsec) << name;
        EXPECT_EQ(status.st_mtim.tv_nsec, times[1].tv_nsec) << name;
    }
    char value[8] = {};
    EXPECT_EQ(::getxattr(at("copy/file").c_str(), "user.note", value, sizeof value), 3);
    EXPECT_STREQ(value, "a\nb");
    EXPECT_EQ(::getxattr(at("copy").c_str(), "user.folder", value, sizeof value), 0);
}

TEST_F(LinuxFilesTest, TypeCodeStandsInTheAttribute) {
    write("file", "");
    write("._file", "whatever");
    const std::string code("PrPr" + std::string(28, '\0'));
    if (!setAttribute(at("file"), platform::finderInfoAttribute, code))
        GTEST_SKIP() << "no attributes here";
    EXPECT_EQ(files_.typeCode(at("file")), "PrPr");
    ASSERT_TRUE(setAttribute(at("file"), platform::finderInfoAttribute, std::string(32, '\0')));
    EXPECT_EQ(files_.typeCode(at("file")), "");
}

TEST_F(LinuxFilesTest, ReadsFilesThatTellNoSizeAndNoDevices) {
    const auto status = files_.readFile(Path("/proc/self/status"), 1 << 20);
    ASSERT_TRUE(status);
    EXPECT_THAT(*status, ::testing::HasSubstr("Pid:"));
    EXPECT_EQ(codeOf(files_.readFile(Path("/proc/self/status"), 10)), EFBIG);
    EXPECT_EQ(codeOf(files_.readFile(Path("/dev/zero"), 10)), EINVAL);
    EXPECT_FALSE(files_.copyItem(Path("/proc/version"), at("version")));
    EXPECT_THAT(*files_.readFile(at("version"), 1 << 20), Not(IsEmpty()));
}

TEST_F(LinuxFilesTest, RemovesTreesWhoseFoldersLackRights) {
    write("tree/a/b/file", "");
    write("tree/c/file", "");
    ASSERT_EQ(::chmod(at("tree/a/b").c_str(), 0), 0);
    ASSERT_EQ(::chmod(at("tree/a").c_str(), 0500), 0);
    ASSERT_EQ(::chmod(at("tree/c").c_str(), 0300), 0);
    const auto error = files_.removeItem(at("tree"));
    EXPECT_FALSE(error) << error->description;
    EXPECT_EQ(entryCount(at("")), 0U);
}

// Sets or clears the immutable attribute; false where this user or file system cannot.
bool setImmutable(const Path& path, bool immutable) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    int flags = 0;
    if (::ioctl(file.get(), FS_IOC_GETFLAGS, &flags) != 0) return false;
    flags = immutable ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    return ::ioctl(file.get(), FS_IOC_SETFLAGS, &flags) == 0;
}

TEST_F(LinuxFilesTest, TreeThatCannotGoStaysUnderItsName) {
    write("tree/locked", "text");
    if (!setImmutable(at("tree/locked"), true)) GTEST_SKIP() << "nothing can be made immutable";
    EXPECT_FALSE(files_.isDeletable(at("tree/locked")));
    EXPECT_TRUE(files_.isDeletable(at("tree")));
    EXPECT_EQ(codeOf(files_.removeItem(at("tree"))), EPERM);
    EXPECT_EQ(*files_.readFile(at("tree/locked"), 9), "text");
    EXPECT_EQ(entryCount(at("")), 1U);
    // The copy of a locked file is not locked.
    EXPECT_FALSE(files_.copyItem(at("tree"), at("copy")));
    EXPECT_FALSE(files_.removeItem(at("copy")));
    ASSERT_TRUE(setImmutable(at("tree/locked"), false));
    EXPECT_FALSE(files_.removeItem(at("tree")));
}

TEST_F(LinuxFilesTest, KindsAreLookedUpWhereTheSystemDoesNotTell) {
    write("folder/file", "");
    fs::create_symlink("folder", at("link").str());
    const FileDescriptor folder(::open(at("").c_str(), O_RDONLY | O_CLOEXEC));
    std::vector<platform::DirectoryEntry> found;
    for (const char* name : {"folder", "link", "folder/file", "missing", ".", ".."}) {
        platform::addListedEntry(folder.get(), name, DT_UNKNOWN, {}, found);
    }
    using platform::EntryKind;
    EXPECT_THAT(found, ElementsAre(platform::DirectoryEntry{"folder", EntryKind::folder},
                                   platform::DirectoryEntry{"link", EntryKind::symbolicLink},
                                   platform::DirectoryEntry{"folder/file", EntryKind::file},
                                   platform::DirectoryEntry{"missing", EntryKind::other}));
}

}  // namespace
}  // namespace larkspan::testing
