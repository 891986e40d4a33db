#include "foundation/PropertyList.h"
#include "platform/Archives.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/posix/ZipArchives.h"
#include "support/CloudServer.h"
#include "support/Programs.h"
#include "support/RawServer.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <mutex>
#include <numeric>
#include <random>

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

namespace larkspan {
namespace {

namespace fs = std::filesystem;
using testing::CloudServer;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::readWhole;
using testing::waitFor;
using testing::writeWhole;

// The built programs with a linked account.
class MirrorTest : public ::testing::Test {
  protected:
    MirrorTest() {
        prefer("syncService", "1");
        for (const char* key : {"syncAPIAddress", "syncContentAddress", "syncWebAddress"}) {
            prefer(key, server.address());
        }
        const Path account =
            programs.library() / "Application Support/Corvane/Larkspan/CloudAccount.plist";
        writeWhole(account, serializePropertyList(
                                Value::Dictionary{{"userId", CloudServer::userId},
                                                  {"refreshToken", CloudServer::refreshToken}}));
    }
    void prefer(const std::string& key, const std::string& value) {
        const auto set = programs.larkspan({"prefs", key, value});
        ASSERT_EQ(set.status, 0) << set.error;
    }
    // A version in the store without a helper.
    Path version(const std::string& name, const std::string& content) {
        Path file = programs.store() / "ABCD.localized/Versions" / name;
        writeWhole(file, content);
        return file;
    }
    // Archives, and the folders that uploads make for them.
    std::vector<fs::path> temporaryArchives() const {
        std::vector<fs::path> found;
        for (const auto& entry : fs::recursive_directory_iterator(programs.temporary().str())) {
            const std::string name = entry.path().filename().string();
            if (name.ends_with(".zip") || name.starts_with(".larkspan-")) {
                found.push_back(entry.path());
            }
        }
        std::ranges::sort(found);
        return found;
    }
    static size_t peakMemory(int process) {
        const std::string status = readWhole(Path("/proc/" + std::to_string(process) + "/status"));
        const size_t at = status.find("VmHWM:");
        return at == std::string::npos ? 0 : std::stoul(status.substr(at + 6)) * 1024;
    }
    static std::string noise(size_t size) {
        std::mt19937_64 generator(7);
        std::string bytes(size, '\0');
        for (size_t i = 0; i + 8 <= size; i += 8) {
            const std::uint64_t word = generator();
            bytes.replace(i, 8, reinterpret_cast<const char*>(&word), 8);
        }
        return bytes;
    }

    platform::LinuxPlatform system{{}, platform::ZipArchives::make};
    testing::Programs programs{system.platform().processes};
    CloudServer server;
};

TEST_F(MirrorTest, TakingAVersionUploadsItAndItComesBackTheSame) {
    ASSERT_EQ(programs.larkspan({"watch", "add", programs.work().str()}).status, 0);
    const Path project = programs.work() / "My Cut, 100% \xc3\xbc.fcp";
    writeWhole(project, noise(100'000));
    fs::last_write_time(project.str(), fs::file_time_type::clock::now() - std::chrono::minutes(10));
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    ASSERT_TRUE(waitFor([&] { return !server.paths().empty(); })) << programs.log();
    const std::string remote = server.paths().at(0);
    EXPECT_THAT(remote, ::testing::EndsWith("/My Cut, 100% \xc3\xbc.00001.fcp.zip"));

    const Path archive = programs.work() / "fetched.zip";
    writeWhole(archive, *server.content(remote));
    ASSERT_FALSE(system.platform().archives.unpack(archive, programs.work() / "fetched"));
    EXPECT_EQ(readWhole(programs.work() / "fetched/My Cut, 100% \xc3\xbc.00001.fcp"),
              readWhole(project));

    const auto fetched = programs.larkspan(
        {"sync", "download", project.str(), "1", "--to", (programs.work() / "back.fcp").str()});
    EXPECT_EQ(fetched.status, 0) << fetched.error;
    EXPECT_EQ(readWhole(programs.work() / "back.fcp"), readWhole(project));
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(::stat(project.c_str(), &before), 0);
    ASSERT_EQ(::stat((programs.work() / "back.fcp").c_str(), &after), 0);
    EXPECT_EQ(before.st_mtime, after.st_mtime);

    ASSERT_TRUE(waitFor([&] { return temporaryArchives().empty(); }));
    for (const std::string& token : server.tokensSeen()) {
        EXPECT_THAT(programs.log(), Not(HasSubstr(token)));
        EXPECT_THAT(readWhole(programs.library() / "Logs/Corvane/Larkspan.1.log"),
                    Not(HasSubstr(token)));
    }
}

// The numbers of a project begin anew when its versions are gone from the store.
TEST_F(MirrorTest, NeitherAnUploadNorARemovalTouchesAnEarlierVersionOfTheSameName) {
    ASSERT_EQ(programs.larkspan({"watch", "add", programs.work().str()}).status, 0);
    const Path project = programs.work() / "Cut.fcp";
    const auto take = [&](const char* content, std::chrono::minutes age,
                          const std::vector<std::string>& expected) {
        writeWhole(project, content);
        fs::last_write_time(project.str(), fs::file_time_type::clock::now() - age);
        EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
        const auto names = [&] {
            std::vector<std::string> all;
            for (const std::string& path : server.paths()) {
                all.push_back(path.substr(path.rfind('/') + 1));
            }
            return all;
        };
        EXPECT_TRUE(waitFor([&] { return names() == expected; }))
            << ::testing::PrintToString(names()) << programs.log();
    };
    take("one", std::chrono::minutes(30), {"Cut.00001.fcp.zip"});
    const std::string first = server.paths().at(0);
    const auto content = server.content(first);
    fs::remove(programs.versionsOf("Cut").at(0).str());
    take("two", std::chrono::minutes(20), {"Cut (2).00001.fcp.zip", "Cut.00001.fcp.zip"});
    for (const auto& [key, value] : {std::pair{"backupManagementMinLimit", "1"},
                                     {"currentBackupLimitSet", "1"},
                                     {"currentBackupLimit", "1"},
                                     {"removalType", "1"}}) {
        prefer(key, value);
    }
    take("three", std::chrono::minutes(10), {"Cut.00001.fcp.zip", "Cut.00002.fcp.zip"});
    EXPECT_EQ(server.content(first), content);
}

TEST_F(MirrorTest, AKilledUploadLeavesNothingBeyondTheNextStartOfTheHelper) {
    testing::RawServer silent({.readBytes = 100, .holds = true});
    prefer("syncContentAddress", "http://" + silent.host());
    const auto upload = programs.launchFrontEnd({"-upload", version("Cut.00001.fcp", "v").str()});
    silent.waitUntilHeld();
    const auto archives = temporaryArchives();
    ASSERT_EQ(archives.size(), 2U) << "its folder and itself";
    EXPECT_EQ(archives[1].filename(), "Cut.00001.fcp.zip");
    EXPECT_EQ(fs::status(archives[0]).permissions(), fs::perms(0700));
    EXPECT_EQ(fs::status(archives[1]).permissions(), fs::perms(0600));
    // A helper that starts meanwhile leaves it alone.
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_EQ(temporaryArchives(), archives);
    ::kill(upload->processID(), SIGKILL);
    (void)upload->waitUntilExit();
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_THAT(temporaryArchives(), IsEmpty());
}

TEST_F(MirrorTest, AnUploadThatIsAskedToEndCleansUp) {
    testing::RawServer silent({.readBytes = 100, .holds = true});
    prefer("syncContentAddress", "http://" + silent.host());
    const auto upload = programs.launchFrontEnd({"-upload", version("Cut.00001.fcp", "v").str()});
    silent.waitUntilHeld();
    upload->terminate();
    EXPECT_EQ(upload->waitUntilExit(), 1);
    EXPECT_THAT(temporaryArchives(), IsEmpty());
}

// Noise, so that the archive is as large as the version. LARKSPAN_MIRROR_MEGABYTES makes it larger.
TEST_F(MirrorTest, ALargeVersionGoesInChunksInLittleMemory) {
    constexpr size_t megabyte = 1'000'000;
    const char* wished = getenv("LARKSPAN_MIRROR_MEGABYTES");
    const size_t size = (wished ? std::stoul(wished) : 155) * megabyte;
    const Path large = version("Large.00001.fcp", noise(size));
    const Path small = version("Small.00001.fcp", "small");
    server.discardContents();
    std::mutex mutex;
    std::map<std::string, size_t> peaks;
    std::shared_ptr<platform::Process> upload;
    const auto measure = [&](const std::string& what) {
        return [&, what] {
            const std::lock_guard lock(mutex);
            peaks[what] = peakMemory(upload->processID());
        };
    };
    server.beforeAnswer("files/upload", measure("small"));
    server.beforeAnswer("files/upload_session/finish", measure("large"));
    for (const Path& file : {small, large}) {
        {
            const std::lock_guard lock(mutex);
            upload = programs.launchFrontEnd({"-upload", file.str()});
        }
        EXPECT_EQ(upload->waitUntilExit(), 0);
    }
    const auto pieces = server.pieceSizes();
    EXPECT_GT(pieces.size(), size / (40 * megabyte));
    EXPECT_GE(std::accumulate(pieces.begin(), pieces.end(), std::uint64_t{0}), size);
    ASSERT_GT(peaks["small"], 0U);
    std::cout << "Peak memory: small " << peaks["small"] << ", large " << peaks["large"] << '\n';
    EXPECT_LT(peaks["large"], peaks["small"] + (16U << 20U));
}

}  // namespace
}  // namespace larkspan
