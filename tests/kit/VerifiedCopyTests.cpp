#include "foundation/Digest.h"
#include "kit/ZBFileManager.h"
#include "support/FakePlatformTest.h"

#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using platform::FileOperation;
using platform::StreamFault;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr size_t chunk = 32768;
constexpr size_t reportStep = 41943040;

struct Listener : FileCopyDelegate {
    void fileCopyBytesWritten(std::uint64_t bytes, const Settings&) override {
        written.push_back(bytes);
    }
    bool fileCopyShouldContinue(const Settings&) override { return ++asked < cancelAt; }
    void fileCopyVerificationFailed(const Settings& settings, const Path& file) override {
        failed.push_back(file.str() + " " + *settings.at("destChecksum").string());
    }
    void fileCopyFinished(const Settings& settings) override { last = settings; }

    std::vector<std::uint64_t> written;
    std::vector<std::string> failed;
    std::optional<Settings> last;
    int asked = 0;
    int cancelAt = 100;
};

class VerifiedCopyTest : public testing::FakePlatformTest {
  protected:
    VerifiedCopyTest() { EXPECT_FALSE(fake.files.createFolder(Path("/D"))); }

    bool copy(const std::string& content, VerificationType type = VerificationType::none) {
        writeFile(source, content, fake.clock.now() - std::chrono::hours(5));
        return ZBFileManager::copyFileWithProgress(source, {one, two}, type, &listener);
    }
    std::string content(const Path& path) {
        const auto bytes = fake.files.readFile(path, size_t{1} << 30);
        return bytes ? *bytes : "(missing)";
    }
    std::vector<std::string> checksums() const {
        std::vector<std::string> texts;
        for (const Value& text : *listener.last->at("destChecksums").array()) {
            texts.push_back(*text.string());
        }
        return texts;
    }

    const Path source{"/S/a.mov"};
    const Path one{"/D/one"};
    const Path two{"/D/new/deep/two"};
    Listener listener;
};

TEST_F(VerifiedCopyTest, CopiesToAllPlacesWithChecksumsAndDates) {
    ASSERT_TRUE(copy("abc", VerificationType::sha1));
    EXPECT_EQ(content(one), "abc");
    EXPECT_EQ(content(two), "abc");
    const std::string expected = "a9993e364706816aba3e25717850c26c9cd0d89d";
    EXPECT_THAT(checksums(), ElementsAre(expected, expected));
    EXPECT_EQ(*listener.last->at("sourceChecksum").string(), expected);
    EXPECT_EQ(*listener.last->at("operationtype").string(), "copy");
    EXPECT_EQ(fake.files.info(one)->modificationDate, fake.files.info(source)->modificationDate);
    EXPECT_THAT(listener.written, ElementsAre(3));
    EXPECT_THAT(fake.console.reported(), IsEmpty());
    ASSERT_TRUE(copy("abc", VerificationType::md5));
    EXPECT_EQ(checksums()[1], "900150983cd24fb0d6963f7d28e17f72");
    ASSERT_TRUE(copy("abc"));
    EXPECT_FALSE(listener.last->contains("destChecksums"));
}

TEST_F(VerifiedCopyTest, MeetsTheEndAsAChunkOfNothingAfterFullOnes) {
    const struct {
        size_t size;
        bool reported;
    } cases[] = {{0, true},          {1, false},        {chunk, true},
                 {chunk + 1, false}, {3 * chunk, true}, {size_t{1} << 20, true}};
    size_t before = 0;
    for (const auto& [size, reported] : cases) {
        EXPECT_TRUE(copy(std::string(size, 'x'), VerificationType::sha1)) << size;
        EXPECT_EQ(fake.console.reported().size() - before, reported ? 1U : 0U) << size;
        before = fake.console.reported().size();
        EXPECT_EQ(content(two).size(), size);
    }
    EXPECT_EQ(fake.console.reported()[0], "/S/a.mov returned 0 bytes");
}

TEST_F(VerifiedCopyTest, ReportsEveryFortyMebibytesAndCanBeCancelled) {
    const std::string large(2 * reportStep + 5, 'x');
    writeFile(source, large);
    EXPECT_TRUE(ZBFileManager::copyFileWithProgress(source, one, &listener));
    EXPECT_THAT(listener.written, ElementsAre(reportStep, 2 * reportStep, large.size()));
    EXPECT_EQ(listener.asked, 2);
    listener = {};
    listener.cancelAt = 1;
    EXPECT_FALSE(ZBFileManager::copyFileWithProgress(source, one, &listener));
    EXPECT_EQ(content(one).size(), reportStep);
    EXPECT_FALSE(listener.last);
}

TEST_F(VerifiedCopyTest, WhatCannotBeginIsNamed) {
    const Path missing("/S/missing");
    const Path folder("/S/folder");
    writeFile(source, "x");
    ASSERT_FALSE(fake.files.createFolder(folder));
    const auto run = [&](const Path& from, const std::vector<Path>& to) {
        return ZBFileManager::copyFileWithProgress(from, to, VerificationType::sha1, &listener);
    };
    EXPECT_FALSE(run(missing, {one}));
    EXPECT_FALSE(run(source, {}));
    EXPECT_FALSE(run(folder, {one}));
    EXPECT_FALSE(run(source, {folder}));
    EXPECT_FALSE(run(source, {Path("/Volumes/Gone/a")}));
    fake.files.addLink(Path("/D/link"), source.str());
    EXPECT_FALSE(run(source, {source}));
    EXPECT_FALSE(run(source, {one, Path("/D/link")}));
    EXPECT_EQ(content(source), "x") << "the source is never emptied";
    EXPECT_THAT(
        fake.console.reported(),
        ElementsAre("Error: File /S/missing doesn't exist. Aborting copy process...",
                    "Error: You must have at least one destination. Aborting copy process...",
                    "Error: Unable to read source file /S/folder. Aborting copy process...",
                    "Error: Unable to open destination file /S/folder. Aborting copy process...",
                    "mountpoint: //Volumes/Gone",
                    "Unable to create directory. Drive is not mounted.",
                    "Unable to copy file /S/a.mov - destination directory /Volumes/Gone doesn't "
                    "exist. Aborting copy process...",
                    "Error: Unable to open destination file /S/a.mov. Aborting copy process...",
                    "Error: Unable to open destination file /D/link. Aborting copy process..."));
}

TEST_F(VerifiedCopyTest, ADifferenceGoesToTheDelegateAlone) {
    const std::string large(3 * (size_t{1} << 20) + 7, 'x');
    writeFile(one, "");
    fake.streams.plan(StreamFault::alteredRead, one, 2);
    EXPECT_TRUE(copy(large, VerificationType::sha1));
    ASSERT_EQ(listener.failed.size(), 1U);
    Digest right(Digest::Algorithm::sha1);
    right.add(large);
    EXPECT_NE(checksums()[0], right.hexadecimal());
    EXPECT_EQ(checksums()[1], right.hexadecimal());
    EXPECT_EQ(listener.failed[0], "/D/one " + checksums()[0]);
    EXPECT_EQ(*listener.last->at("sourceChecksum").string(), right.hexadecimal());
    EXPECT_THAT(fake.console.reported(), IsEmpty());
}

TEST_F(VerifiedCopyTest, WhatCannotBeWrittenIsReportedByTheChunk) {
    fake.streams.plan(StreamFault::shortWrite, one, 1);
    EXPECT_TRUE(copy(std::string(2 * chunk + 1, 'x'), VerificationType::sha1));
    EXPECT_THAT(fake.console.reported(),
                ElementsAre("Error writing file /D/one: 1", "Error writing file /D/one: 1",
                            "Error writing file /D/one: 1"));
    EXPECT_THAT(listener.failed, ElementsAre(StartsWith("/D/one ")));
    EXPECT_EQ(content(two).size(), 2 * chunk + 1);
}

TEST_F(VerifiedCopyTest, WhatCannotBeReadBackIsReportedByTheChunk) {
    fake.streams.plan(StreamFault::failedRead, two, 1);
    EXPECT_TRUE(copy(std::string(chunk + 10, 'x'), VerificationType::md5));
    EXPECT_THAT(fake.console.reported(),
                ElementsAre("Error: unable to seek within file /D/new/deep/two", "cur pos: 0",
                            "read size: 32768", "errno: 5", "err: 1",
                            "Error: unable to seek within file /D/new/deep/two", "cur pos: 32768",
                            "read size: 10", "errno: 5", "err: 1"));
    EXPECT_EQ(listener.failed.size(), 1U);
}

TEST_F(VerifiedCopyTest, ASourceThatShrinksFailsAndOneThatGrowsDoesNot) {
    fake.streams.plan(StreamFault::failedRead, source, 2);
    EXPECT_FALSE(copy(std::string(size_t{2} << 20, 'x')));
    EXPECT_THAT(fake.console.reported().back(),
                "Error: copied file size does not match original source /S/a.mov");
    writeFile(source, "x");
    fake.streams.plan(StreamFault::failedRead, source, 100);
    fake.faults.beforeCall(FileOperation::info, [&](const Path& path) {
        // Its size is taken; it grows before it is read.
        if (path == one) fake.files.addFile(source, "xyz");
    });
    EXPECT_TRUE(ZBFileManager::copyFileWithProgress(source, one, &listener));
    EXPECT_EQ(content(one), "xyz");
}

TEST_F(VerifiedCopyTest, AttributesThatCannotBeGivenAreReported) {
    fake.faults.beforeCall(FileOperation::info, {});
    writeFile(source, "x");
    struct Remover : FileCopyDelegate {
        explicit Remover(platform::FakeFiles& fakeFiles) : files(fakeFiles) {}
        void fileCopyBytesWritten(std::uint64_t, const Settings&) override {
            EXPECT_FALSE(files.removeItem(Path("/D/one")));
        }
        platform::FakeFiles& files;
    } remover(fake.files);
    EXPECT_TRUE(ZBFileManager::copyFileWithProgress(source, one, &remover));
    EXPECT_THAT(fake.console.reported(), ElementsAre("Error setting metadata for file /D/one"));
}

}  // namespace
}  // namespace larkspan
