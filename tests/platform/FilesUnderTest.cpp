#include "platform/FilesUnderTest.h"

#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFiles.h"
#include "platform/linux/LinuxFiles.h"
#include "support/TemporaryFolder.h"

#include <sys/stat.h>
#include <unistd.h>

namespace larkspan::testing {
namespace {

class FakeUnderTest final : public FilesUnderTest {
  public:
    FakeUnderTest() { files_.addFolder(root()); }
    platform::Files& files() override { return files_; }
    Path root() const override { return Path("/Work/folder"); }
    void makeLink(const Path& path, const std::string& target) override {
        files_.addLink(path, target);
    }
    void makePipe(const Path& path) override { files_.addPipe(path); }

  private:
    platform::FakeClock clock_;
    platform::FakeFiles files_{clock_};
};

template <class Implementation>
class RealUnderTest final : public FilesUnderTest {
  public:
    RealUnderTest() { ::umask(022); }
    platform::Files& files() override { return files_; }
    Path root() const override { return folder_.path(); }
    void makeLink(const Path& path, const std::string& target) override {
        ASSERT_EQ(::symlink(target.c_str(), path.c_str()), 0);
    }
    void makePipe(const Path& path) override { ASSERT_EQ(::mkfifo(path.c_str(), 0644), 0); }

  private:
    TemporaryFolder folder_;
    Implementation files_;
};

class BarePosixFiles final : public platform::PosixFiles {
  public:
    BarePosixFiles() : PosixFiles(calls()) {}

  private:
    static const platform::FileCalls& calls() {
        static const platform::FileCalls only;
        return only;
    }
};

}  // namespace

std::unique_ptr<FilesUnderTest> makeFakeFilesUnderTest() {
    return std::make_unique<FakeUnderTest>();
}
std::unique_ptr<FilesUnderTest> makePosixFilesUnderTest() {
    return std::make_unique<RealUnderTest<BarePosixFiles>>();
}
std::unique_ptr<FilesUnderTest> makeLinuxFilesUnderTest() {
    return std::make_unique<RealUnderTest<platform::LinuxFiles>>();
}

INSTANTIATE_TEST_SUITE_P(On, FilesContract,
                         ::testing::Values(FilesKind{"Fake", makeFakeFilesUnderTest},
                                           FilesKind{"Posix", makePosixFilesUnderTest},
                                           FilesKind{"Linux", makeLinuxFilesUnderTest}),
                         [](const auto& kind) { return kind.param.name; });

}  // namespace larkspan::testing
