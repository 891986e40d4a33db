#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFileStreams.h"
#include "platform/linux/LinuxFileCalls.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/posix/PosixFileStreams.h"
#include "support/TemporaryFolder.h"

#include <array>
#include <cerrno>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace larkspan::platform {
namespace {

struct FakeScene {
    FakeClock clock;
    FakeFiles files{clock};
    FakeFileStreams streams{files};
    Path folder{"/T"};

    FakeScene() { EXPECT_FALSE(files.createFolder(folder)); }
};

struct PosixScene {
    testing::TemporaryFolder temporary;
    LinuxFiles files;
    LinuxFileCalls calls;
    PosixFileStreams streams{calls};
    Path folder = temporary.path();
};

template <class Scene>
struct FileStreamsContract : ::testing::Test {
    Path at(const char* name) { return scene.folder / name; }
    long openingProblem(const char* name) {
        const auto stream = scene.streams.openForReading(at(name));
        return stream ? 0 : stream.error().code;
    }
    Scene scene;
};
using Scenes = ::testing::Types<FakeScene, PosixScene>;
TYPED_TEST_SUITE(FileStreamsContract, Scenes);

TYPED_TEST(FileStreamsContract, ReadAndWriteAnywhere) {
    ASSERT_FALSE(this->scene.files.writeFileAtomically(this->at("file"), "old content"));
    const auto stream = this->scene.streams.openEmptied(this->at("file"));
    ASSERT_TRUE(stream);
    EXPECT_EQ((*stream)->writeAt(0, "abcdef").written, 6U);
    EXPECT_EQ((*stream)->writeAt(4, "EFGH").written, 4U);
    std::array<char, 4> buffer{};
    EXPECT_EQ(*(*stream)->readAt(2, buffer), 4U);
    EXPECT_EQ(std::string(buffer.data(), 4), "cdEF");
    EXPECT_EQ(*(*stream)->readAt(6, buffer), 2U);
    EXPECT_EQ(*(*stream)->readAt(100, buffer), 0U);
    EXPECT_EQ(*this->scene.files.readFile(this->at("file"), 99), "abcdEFGH");
}

TYPED_TEST(FileStreamsContract, OpenFilesAlone) {
    ASSERT_FALSE(this->scene.files.createFolder(this->at("folder")));
    EXPECT_EQ(this->openingProblem("folder"), EISDIR);
    EXPECT_EQ(this->openingProblem("missing"), ENOENT);
    EXPECT_FALSE(this->scene.streams.openEmptied(this->at("folder")));
    EXPECT_FALSE(this->scene.streams.openEmptied(this->at("missing/file")));
}

TYPED_TEST(FileStreamsContract, GiveDatesAndPermissions) {
    const Date date = dateFromUnixTime(1'000'000'000, 123'456'789);
    ASSERT_FALSE(this->scene.files.writeFileAtomically(this->at("from"), "x"));
    ASSERT_FALSE(this->scene.files.writeFileAtomically(this->at("to"), "y"));
    ASSERT_FALSE(this->scene.files.setPermissions(this->at("from"), 0640));
    ASSERT_FALSE(this->scene.files.setModificationDate(this->at("from"), date));
    EXPECT_FALSE(this->scene.streams.copyAttributes(this->at("from"), this->at("to")));
    const auto info = this->scene.files.info(this->at("to"));
    EXPECT_EQ(info->modificationDate, date);
    EXPECT_EQ(info->permissions, 0640U);
    EXPECT_TRUE(this->scene.streams.copyAttributes(this->at("missing"), this->at("to")));
    EXPECT_TRUE(this->scene.streams.copyAttributes(this->at("from"), this->at("missing")));
}

using PosixFileStreams = FileStreamsContract<PosixScene>;

TEST_F(PosixFileStreams, NeverWaitForAPipe) {
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    EXPECT_EQ(openingProblem("pipe"), EINVAL);
    EXPECT_FALSE(scene.streams.openEmptied(at("pipe")));
}

TEST_F(PosixFileStreams, SayWhyLessIsWritten) {
    if (::access("/dev/full", F_OK) != 0) GTEST_SKIP() << "no /dev/full";
    EXPECT_FALSE(scene.streams.openEmptied(Path("/dev/full"))) << "a device is no destination";
    const auto stream = scene.streams.openEmptied(at("file"));
    ASSERT_TRUE(stream);
    const WriteResult result = (*stream)->writeAt(std::uint64_t{1} << 62, "x");
    EXPECT_EQ(result.written, 0U);
    EXPECT_EQ(result.errorNumber, EFBIG);
}

}  // namespace
}  // namespace larkspan::platform
