#include "platform/fake/FakeArchives.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFiles.h"
#include "platform/linux/LinuxFileCalls.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/posix/ArchiveHandle.h"
#include "platform/posix/ArchivedName.h"
#include "platform/posix/ZipArchives.h"
#include "support/TemporaryFolder.h"

#include <cerrno>
#include <filesystem>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

struct FakeScene {
    FakeClock clock;
    FakeFiles files{clock};
    FakeArchives archives{files};
    Path folder{"/T"};

    FakeScene() { files.addFolder(folder); }
};

struct LinuxScene {
    testing::TemporaryFolder temporary;
    Path folder = temporary.path();
    LinuxFiles files;
    LinuxFileCalls calls;
    ZipArchives archives{calls};
};

template <class Scene>
struct ArchivesContract : ::testing::Test {
    Path at(const std::string& name) const { return scene.folder / name; }
    void write(const std::string& name, const std::string& content) {
        EXPECT_FALSE(scene.files.createFolder(at(name).deletingLastPathComponent()));
        EXPECT_FALSE(scene.files.writeFileAtomically(at(name), content));
    }
    std::string read(const std::string& name) {
        const auto content = scene.files.readFile(at(name), 1 << 20);
        return content ? *content : "(missing)";
    }
    std::vector<std::string> names(const std::string& folder) {
        std::vector<std::string> found;
        const auto entries = scene.files.contentsOfFolder(at(folder));
        if (!entries) return {"(missing)"};
        for (const auto& entry : *entries) found.push_back(entry.name);
        return found;
    }
    std::optional<Error> pack(const std::string& source,
                              IncludeParent includeParent = IncludeParent::no) {
        return scene.archives.pack(at(source), at("a.zip"), includeParent);
    }
    std::optional<Error> unpack() { return scene.archives.unpack(at("a.zip"), at("out")); }

    Scene scene;
};

using Scenes = ::testing::Types<FakeScene, LinuxScene>;
TYPED_TEST_SUITE(ArchivesContract, Scenes);

TYPED_TEST(ArchivesContract, KeepsNamesAndContents) {
    this->write("Film.fcpbundle/a file.txt", "one");
    this->write("Film.fcpbundle/Ünïcode 100%, comma/deep/b", std::string(200'000, 'x'));
    this->write("Film.fcpbundle/none", "");
    ASSERT_FALSE(this->scene.files.createFolder(this->at("Film.fcpbundle/bare")));
    ASSERT_FALSE(this->pack("Film.fcpbundle"));
    ASSERT_FALSE(this->unpack());
    EXPECT_TRUE(this->scene.files.contentsEqual(this->at("Film.fcpbundle"), this->at("out")));
}

TYPED_TEST(ArchivesContract, AnEmptyFolderIsPackedToo) {
    ASSERT_FALSE(this->scene.files.createFolder(this->at("Bare.fcpbundle")));
    ASSERT_FALSE(this->pack("Bare.fcpbundle"));
    ASSERT_FALSE(this->unpack());
    EXPECT_TRUE(this->scene.files.isFolder(this->at("out")));
    EXPECT_THAT(this->names("out"), ::testing::IsEmpty());
}

TYPED_TEST(ArchivesContract, TheFolderItselfIsInItWhenAsked) {
    this->write("Film/a", "one");
    ASSERT_FALSE(this->pack("Film", IncludeParent::yes));
    ASSERT_FALSE(this->unpack());
    EXPECT_EQ(this->read("out/Film/a"), "one");
}

TYPED_TEST(ArchivesContract, AFileIsPackedByItsName) {
    this->write("Cut.00003.fcp", "cut");
    ASSERT_FALSE(this->pack("Cut.00003.fcp"));
    ASSERT_FALSE(this->unpack());
    EXPECT_THAT(this->names("out"), ElementsAre("Cut.00003.fcp"));
    EXPECT_EQ(this->read("out/Cut.00003.fcp"), "cut");
    EXPECT_EQ(this->scene.files.info(this->at("a.zip"))->permissions, 0600U);
}

TYPED_TEST(ArchivesContract, WhatStandsInTheWayStays) {
    this->write("Film/a", "one");
    this->write("a.zip", "old");
    EXPECT_TRUE(this->pack("Film")->is(posixErrorDomain, EEXIST));
    EXPECT_EQ(this->read("a.zip"), "old");
    ASSERT_FALSE(this->scene.files.removeItem(this->at("a.zip")));
    ASSERT_FALSE(this->pack("Film"));
    this->write("out/mine", "old");
    EXPECT_TRUE(this->unpack()->is(posixErrorDomain, EEXIST));
    EXPECT_THAT(this->names("out"), ElementsAre("mine"));
}

TYPED_TEST(ArchivesContract, FailuresLeaveNothing) {
    EXPECT_TRUE(this->pack("missing")->is(posixErrorDomain, ENOENT));
    EXPECT_TRUE(this->unpack()->is(posixErrorDomain, ENOENT));
    this->write("a.zip", "no archive at all");
    EXPECT_EQ(this->unpack()->domain, archivesErrorDomain);
    EXPECT_THAT(this->names(""), ElementsAre("a.zip"));
}

struct CraftedEntry {
    std::string name;
    mode_t mode = S_IFREG | 0644;
    std::string content = {};
    std::string linkTarget = {};
};

class ZipArchivesTest : public ArchivesContract<LinuxScene> {
  protected:
    void craft(const std::vector<CraftedEntry>& entries) const {
        const Utf8Names names;
        const ArchiveHandle handle(archive_write_new());
        archive_write_set_format_zip(handle.get());
        ASSERT_EQ(archive_write_open_filename(handle.get(), at("a.zip").str().c_str()), ARCHIVE_OK);
        for (const auto& crafted : entries) {
            const ArchiveEntry entry(archive_entry_new());
            archive_entry_set_pathname(entry.get(), crafted.name.c_str());
            archive_entry_set_mode(entry.get(), crafted.mode);
            archive_entry_set_size(entry.get(), static_cast<la_int64_t>(crafted.content.size()));
            if (!crafted.linkTarget.empty()) {
                archive_entry_set_symlink(entry.get(), crafted.linkTarget.c_str());
            }
            archive_write_header(handle.get(), entry.get());
            archive_write_data(handle.get(), crafted.content.data(), crafted.content.size());
        }
        ASSERT_EQ(archive_write_close(handle.get()), ARCHIVE_OK);
    }
    mode_t modeOf(const std::string& name) const {
        struct stat status {};
        return ::lstat(at(name).str().c_str(), &status) == 0 ? status.st_mode : 0;
    }
};

constexpr mode_t linkMode = S_IFLNK | 0777;

TEST_F(ZipArchivesTest, HostileArchivesLeaveNothing) {
    const std::vector<std::vector<CraftedEntry>> hostile{
        {{"good"}, {"../out-of-it"}},
        {{"a/../../out-of-it"}},
        {{"/tmp/absolute"}},
        {{"twice", S_IFREG | 0644, "1"}, {"twice", S_IFREG | 0644, "2"}},
        {{"link", linkMode, {}, "/tmp"}, {"link/through", S_IFREG | 0644}},
        {{"link", linkMode, {}, ".."}, {"link/through/", S_IFDIR | 0755}},
        {{"link", linkMode, {}, "a"}, {"link", linkMode, {}, "b"}},
        {{"link", linkMode, {}, "a"}, {"a/", S_IFDIR | 0755}, {"link/through", S_IFREG | 0644}},
        {{"file"}, {"file/below"}},
    };
    for (const auto& entries : hostile) {
        craft(entries);
        EXPECT_TRUE(unpack()) << entries.back().name;
        EXPECT_THAT(names(""), ElementsAre("a.zip")) << entries.back().name;
    }
}

TEST_F(ZipArchivesTest, LinksAreMadeAsTheyAre) {
    craft({{"a/file", S_IFREG | 0644, "x"},
           {"b/c/up", linkMode, {}, "../../a/file"},
           {"dangling", linkMode, {}, "nowhere"},
           {"outside", linkMode, {}, "../../media/x"},
           {"absolute", linkMode, {}, "/media/x"}});
    const auto error = unpack();
    ASSERT_FALSE(error) << error->description;
    EXPECT_EQ(read("out/b/c/up"), "x");
    for (const char* link : {"out/dangling", "out/outside", "out/absolute"}) {
        EXPECT_TRUE(S_ISLNK(modeOf(link))) << link;
    }
    // What was unpacked packs and unpacks again.
    ASSERT_FALSE(scene.archives.pack(at("out"), at("b.zip"), IncludeParent::no));
    ASSERT_FALSE(scene.archives.unpack(at("b.zip"), at("again")));
    EXPECT_TRUE(scene.files.contentsEqual(at("out"), at("again")));
}

TEST_F(ZipArchivesTest, RightsComeWithoutSetIdBits) {
    craft({{"tool", S_IFREG | S_ISUID | S_ISGID | 0755, "x"},
           {"closed/", S_IFDIR | 0500},
           {"closed/in", S_IFREG | 0600, "y"}});
    const auto error = unpack();
    ASSERT_FALSE(error) << error->description;
    EXPECT_EQ(modeOf("out/tool") & 07777U, 0755U);
    EXPECT_EQ(modeOf("out/closed") & 07777U, 0700U);
    EXPECT_EQ(read("out/closed/in"), "y");
}

TEST_F(ZipArchivesTest, LinksRightsAndDatesSurvive) {
    write("Film/a", "one");
    write("Film/caf\xe9", "not UTF-8");
    ASSERT_EQ(::symlink("a", at("Film/link").str().c_str()), 0);
    ASSERT_EQ(::mkfifo(at("Film/pipe").str().c_str(), 0600), 0);
    ASSERT_FALSE(scene.files.setPermissions(at("Film/a"), 0640));
    const Date date{std::chrono::seconds(1'600'000'000)};
    ASSERT_FALSE(scene.files.setModificationDate(at("Film/a"), date));
    ASSERT_FALSE(pack("Film"));
    const auto error = unpack();
    ASSERT_FALSE(error) << error->description;
    EXPECT_THAT(names("out"), ElementsAre("a", "caf\xe9", "link"));
    EXPECT_TRUE(S_ISLNK(modeOf("out/link")));
    EXPECT_EQ(scene.files.info(at("out/a"))->permissions, 0640U);
    EXPECT_EQ(scene.files.info(at("out/a"))->modificationDate, date);
}

TEST_F(ZipArchivesTest, WhatComesOutIsBounded) {
    write("Film/a", std::string(100'000, 'a'));
    write("Film/b", "b");
    ASSERT_FALSE(pack("Film"));
    ZipArchives fewBytes(scene.calls, {.mostBytes = 100'000});
    EXPECT_TRUE(fewBytes.unpack(at("a.zip"), at("out"))->is(posixErrorDomain, ENOSPC));
    ZipArchives fewEntries(scene.calls, {.mostEntries = 1});
    EXPECT_THAT(fewEntries.unpack(at("a.zip"), at("out"))->description, HasSubstr("too many"));
    EXPECT_THAT(names(""), ElementsAre("a.zip", "Film"));
    ZipArchives enough(scene.calls, {.mostBytes = 100'001, .mostEntries = 2});
    EXPECT_FALSE(enough.unpack(at("a.zip"), at("out")));
}

TEST_F(ZipArchivesTest, WhatCouldNotBeUnpackedIsNotPacked) {
    write("Film/a", "a");
    std::filesystem::create_symlink("a/long/way", at("Film/b").str());
    for (const ArchiveLimits& limits :
         {ArchiveLimits{.mostEntries = 1}, ArchiveLimits{.mostLinkBytes = 9}}) {
        ZipArchives bounded(scene.calls, limits);
        const auto error = bounded.pack(at("Film"), at("b.zip"), IncludeParent::no);
        EXPECT_THAT(error->description, HasSubstr("it would hold too many"));
    }
    EXPECT_THAT(names(""), ElementsAre("Film"));
    ZipArchives enough(scene.calls, {.mostEntries = 2, .mostLinkBytes = 10});
    EXPECT_FALSE(enough.pack(at("Film"), at("b.zip"), IncludeParent::no));
    EXPECT_FALSE(enough.unpack(at("b.zip"), at("out")));
}

TEST_F(ZipArchivesTest, ATornArchiveLeavesNothing) {
    write("Film/a", std::string(100'000, 'a'));
    ASSERT_FALSE(pack("Film"));
    const std::string whole = read("a.zip");
    for (const size_t size : {whole.size() - 1, whole.size() / 2, size_t{4}, size_t{0}}) {
        ASSERT_FALSE(scene.files.writeFileAtomically(at("a.zip"), whole.substr(0, size)));
        EXPECT_TRUE(unpack()) << size;
        EXPECT_THAT(names(""), ElementsAre("a.zip", "Film")) << size;
    }
}

TEST_F(ZipArchivesTest, OnlyFilesAndFoldersArePackedAndUnpacked) {
    ASSERT_EQ(::mkfifo(at("pipe").str().c_str(), 0600), 0);
    EXPECT_TRUE(pack("pipe")->is(posixErrorDomain, EINVAL));
    EXPECT_TRUE(scene.archives.unpack(at("pipe"), at("out"))->is(posixErrorDomain, EINVAL));
    EXPECT_THAT(names(""), ElementsAre("pipe"));
}

TEST_F(ZipArchivesTest, AnArchiveInTheFolderDoesNotHoldItself) {
    write("Film/a", "one");
    ASSERT_FALSE(scene.archives.pack(at("Film"), at("Film/a.zip"), IncludeParent::no));
    ASSERT_FALSE(scene.archives.unpack(at("Film/a.zip"), at("out")));
    EXPECT_THAT(names("out"), ElementsAre("a"));
}

}  // namespace
}  // namespace larkspan::platform
