#include "platform/FilesUnderTest.h"
#include "platform/HookedFiles.h"
#include "support/TemporaryFolder.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <latch>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace larkspan::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using namespace std::chrono_literals;

class LinuxCopyTest : public ::testing::Test {
  protected:
    Path at(std::string_view name) const { return folder_.path() / name; }
    void write(std::string_view name, std::string_view bytes) const {
        fs::create_directories(at(name).deletingLastPathComponent().str());
        std::ofstream(at(name).str(), std::ios::binary) << bytes;
    }
    std::string read(std::string_view name) { return *files_.readFile(at(name), 1 << 24); }
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder_.path().str())) {
            found.push_back(entry.path().filename().string());
        }
        std::sort(found.begin(), found.end());
        return found;
    }
    // Calls a function once, at the n-th range that is copied.
    void atRange(int n, const std::function<void()>& function) {
        files_.beforeCopyRange = [n, function, calls = 0]() mutable -> std::optional<int> {
            if (++calls == n) function();
            return {};
        };
    }

    TemporaryFolder folder_;
    HookedFiles files_;
};

TEST_F(LinuxCopyTest, NoDateIsEarlierThanItsSourcesWhereDatesAreCutOff) {
    const Date date = dateFromUnixTime(1'700'000'001, 123'456'789);
    const auto rounded = [](long long seconds, long nanoseconds) {
        return dateFromUnixTime(seconds, nanoseconds);
    };
    const std::pair<std::chrono::nanoseconds, Date> cases[] = {
        {1ns, date},
        {100ns, rounded(1'700'000'001, 123'456'800)},
        {1us, rounded(1'700'000'001, 123'457'000)},
        {10ms, rounded(1'700'000'001, 130'000'000)},
        {1s, rounded(1'700'000'002, 0)},
        {2s, rounded(1'700'000'002, 0)},
    };
    write("file", "x");
    write("tree/inside", "x");
    for (const auto& [step, expected] : cases) {
        files_.dateStep = 1ns;
        for (const char* name : {"file", "tree"}) {
            ASSERT_FALSE(files_.setModificationDate(at(name), date));
        }
        files_.dateStep = step;
        for (const char* name : {"file", "tree"}) {
            (void)files_.removeItem(at("copy"));
            ASSERT_FALSE(files_.copyItem(at(name), at("copy")));
            EXPECT_EQ(files_.info(at("copy"))->modificationDate, expected) << name << step.count();
            ASSERT_FALSE(files_.setModificationDate(at("copy"), date));
            EXPECT_EQ(files_.info(at("copy"))->modificationDate, expected) << name << step.count();
        }
    }
}

TEST_F(LinuxCopyTest, EveryWayOfCopyingGivesTheSame) {
    std::string bytes;
    for (int i = 0; i < 400'000; ++i) bytes += std::to_string(i);
    write("tree/file", bytes);
    struct Way {
        const char* name;
        std::optional<int> range;
        std::optional<int> rename;
        bool clones = false;
    };
    for (const Way& way : std::initializer_list<Way>{{"cloned", {}, {}, true},
                                                     {"ranges", {}, {}},
                                                     {"none", EXDEV, {}},
                                                     {"old kernel", ENOSYS, ENOSYS},
                                                     {"refusing", EINVAL, EINVAL},
                                                     {"unable", EOPNOTSUPP, EOPNOTSUPP},
                                                     {"gives nothing", 0, {}}}) {
        files_.clones = way.clones;
        files_.largestRange = 700'000;
        files_.beforeRename = [&] { return way.rename; };
        // The second range is where it fails, so that the rest goes another way.
        files_.beforeCopyRange = [&, calls = 0]() mutable {
            return ++calls == 2 ? way.range : std::nullopt;
        };
        const Path tree = at(way.name);
        const Path file = tree / "single";
        auto error = files_.copyItem(at("tree"), tree);
        EXPECT_FALSE(error) << way.name << error->description;
        error = files_.copyItem(at("tree/file"), file);
        EXPECT_FALSE(error) << way.name << error->description;
        EXPECT_TRUE(*files_.readFile(tree / "file", bytes.size()) == bytes) << way.name;
        EXPECT_TRUE(*files_.readFile(file, bytes.size()) == bytes) << way.name;
        EXPECT_EQ(codeOf(files_.copyItem(at("tree/file"), file)), EEXIST) << way.name;
        EXPECT_EQ(codeOf(files_.moveItem(at("tree"), tree)), EEXIST) << way.name;
        EXPECT_EQ(names().size(), 2U) << way.name;
        fs::remove_all(tree.str());
    }
}

TEST_F(LinuxCopyTest, FailingCopyNamesThePathAndLeavesNothing) {
    write("tree/sub/file", "text");
    const auto openDescriptors = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto before = openDescriptors();
    const auto fail = [](int code) { return [code] { return std::optional(code); }; };
    for (const char* source : {"tree", "tree/sub/file"}) {
        for (const int code : {ENOSPC, EIO, EDQUOT}) {
            files_.beforeCopyRange = fail(code);
            const auto error = files_.copyItem(at(source), at("copy"));
            EXPECT_EQ(codeOf(error), code);
            EXPECT_THAT(error->description,
                        HasSubstr("copying " + at("tree/sub/file").str() + ": "));
            files_.beforeCopyRange = {};
            files_.beforeSync = fail(code);
            EXPECT_EQ(codeOf(files_.copyItem(at(source), at("copy"))), code);
            files_.beforeSync = {};
            files_.beforeRename = fail(code);
            EXPECT_EQ(codeOf(files_.copyItem(at(source), at("copy"))), code);
            files_.beforeRename = {};
            EXPECT_THAT(names(), ElementsAre("tree"));
        }
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(LinuxCopyTest, LimitOnFileSizesIsAnError) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    write("file", std::string(100'000, 'x'));
    const rlimit small{60'000, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto copied = files_.copyItem(at("file"), at("copy"));
    const auto written = files_.writeFileAtomically(at("written"), std::string(100'000, 'x'));
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(codeOf(copied), EFBIG);
    EXPECT_EQ(codeOf(written), EFBIG);
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(LinuxCopyTest, SourceThatChangesMeanwhileIsNotCopied) {
    struct Case {
        const char* name;
        std::function<void()> change;
    };
    const auto touch = [&](const char* name) { write(name, "other text"); };
    const std::vector<Case> cases{
        {"grows", [&] { std::ofstream(at("file").str(), std::ios::app) << "more"; }},
        {"shrinks", [&] { write("file", "t"); }},
        {"is rewritten", [&] { touch("file"); }},
        {"vanishes", [&] { fs::remove(at("file").str()); }},
        {"is replaced by an equal one",
         [&] {
             const auto date = files_.info(at("file"))->modificationDate;
             fs::copy_file(at("file").str(), at("tree/equal").str());
             fs::rename(at("tree/equal").str(), at("file").str());
             (void)files_.setModificationDate(at("file"), date);
         }},
        {"becomes a folder", [&] {
             fs::remove(at("file").str());
             fs::create_directory(at("file").str());
         }}};
    fs::create_directory(at("tree").str());
    for (const Case& c : cases) {
        fs::remove_all(at("file").str());
        write("file", "first text");
        atRange(1, c.change);
        const auto error = files_.copyItem(at("file"), at("copy"));
        ASSERT_TRUE(error) << c.name;
        EXPECT_TRUE(error->is(platform::filesErrorDomain, platform::sourceChangedDuringCopy))
            << c.name << ": " << error->description;
        EXPECT_EQ(error->description, at("file").str() + " changed while it was being copied");
        EXPECT_FALSE(files_.exists(at("copy"))) << c.name;
    }
}

TEST_F(LinuxCopyTest, TreeThatChangesAnywhereIsNotCopied) {
    struct Case {
        const char* name;
        std::function<void()> change;  // while the second file is copied
    };
    const std::vector<Case> cases{
        {"earlier file", [&] { write("tree/a/1", "other text"); }},
        {"file added where all was copied", [&] { write("tree/a/new", ""); }},
        {"file removed", [&] { fs::remove(at("tree/a/1").str()); }},
        {"folder moved", [&] { fs::rename(at("tree/a").str(), at("tree/c").str()); }},
        {"link changed",
         [&] {
             fs::remove(at("tree/a/link").str());
             fs::create_symlink("2", at("tree/a/link").str());
         }},
        {"whole tree replaced", [&] {
             fs::rename(at("tree").str(), at("aside").str());
             fs::copy(at("aside").str(), at("tree").str(), fs::copy_options::recursive);
         }}};
    for (const Case& c : cases) {
        fs::remove_all(at("tree").str());
        fs::remove_all(at("aside").str());
        write("tree/a/1", "first text");
        fs::create_symlink("1", at("tree/a/link").str());
        write("tree/b/2", "second text");
        atRange(2, c.change);
        const auto error = files_.copyItem(at("tree"), at("copy"));
        ASSERT_TRUE(error) << c.name;
        EXPECT_TRUE(error->is(platform::filesErrorDomain, platform::sourceChangedDuringCopy))
            << c.name << ": " << error->description;
        EXPECT_THAT(error->description, EndsWith(" changed while it was being copied"));
        EXPECT_FALSE(files_.exists(at("copy"))) << c.name;
    }
    files_.beforeCopyRange = {};
    EXPECT_FALSE(files_.copyItem(at("tree"), at("copy")));
}

TEST_F(LinuxCopyTest, OfManyWritersOneGetsTheName) {
    constexpr int writers = 4;
    constexpr int rounds = 8;
    for (int i = 0; i < writers; ++i) write("source" + std::to_string(i), std::to_string(i));
    // Somebody who clears up takes nothing from those at work.
    std::atomic<bool> done = false;
    std::atomic<int> cleared = 0;
    std::thread clearing([&] {
        while (!done) cleared += files_.removeAbandonedCopies(folder_.path());
    });
    for (int round = 0; round < rounds; ++round) {
        const Path target = at("target" + std::to_string(round));
        std::vector<long> codes(writers);
        std::latch start(writers);
        std::vector<std::thread> threads;
        threads.reserve(writers);
        for (int i = 0; i < writers; ++i) {
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                codes[static_cast<size_t>(i)] =
                    codeOf(files_.copyItem(at("source" + std::to_string(i)), target));
            });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(std::count(codes.begin(), codes.end(), 0), 1);
        EXPECT_EQ(std::count(codes.begin(), codes.end(), EEXIST), writers - 1);
        const auto winner = std::find(codes.begin(), codes.end(), 0) - codes.begin();
        EXPECT_EQ(*files_.readFile(target, 9), std::to_string(winner));
    }
    done = true;
    clearing.join();
    EXPECT_EQ(names().size(), static_cast<size_t>(writers + rounds));
}

TEST_F(LinuxCopyTest, TreesDeeperThanAnyPathGoWithFewDescriptors) {
    constexpr int depth = 280;
    const std::string name = "a folder's name";
    int folder = ::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(::mkdirat(folder, i == 0 ? "deep" : name.c_str(), 0755), 0);
        const int below = ::openat(folder, i == 0 ? "deep" : name.c_str(), O_RDONLY | O_CLOEXEC);
        ASSERT_GE(below, 0);
        ::close(folder);
        folder = below;
    }
    ::close(folder);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few{64, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    files_.beforeSync = [] { return std::optional(0); };
    const auto error = files_.copyItem(at("deep"), at("copy"));
    EXPECT_FALSE(error) << error->description.substr(error->description.size() - 80);
    int levels = 0;
    for (auto level = files_.openFolder(at("copy")); level; level = (*level)->openFolder(name)) {
        ++levels;
    }
    EXPECT_EQ(levels, depth);
    EXPECT_FALSE(files_.removeItem(at("deep")));
    EXPECT_FALSE(files_.removeItem(at("copy")));
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_TRUE(names().empty());
}

}  // namespace
}  // namespace larkspan::testing
