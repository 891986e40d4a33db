#include "platform/FilesUnderTest.h"

#include <cerrno>

namespace larkspan::testing {
namespace {

using platform::DirectoryEntry;
using platform::EntryKind;
using ::testing::ElementsAre;

TEST_P(FilesContract, ListsInListingOrderWithKinds) {
    makeFolder(at("b"));
    write(at("C"), "");
    write(at("a"), "");
    write(at("A"), "");
    write(at(".dot"), "");
    write(at("new\nline 100%"), "");
    write(at("\xff\xfe"), "");
    makeLink(at("link"), "b");
    makePipe(at("Pipe"));
    const auto expected = ElementsAre(
        DirectoryEntry{".dot", EntryKind::file}, DirectoryEntry{"A", EntryKind::file},
        DirectoryEntry{"a", EntryKind::file}, DirectoryEntry{"b", EntryKind::folder},
        DirectoryEntry{"C", EntryKind::file}, DirectoryEntry{"link", EntryKind::symbolicLink},
        DirectoryEntry{"new\nline 100%", EntryKind::file}, DirectoryEntry{"Pipe", EntryKind::other},
        DirectoryEntry{"\xff\xfe", EntryKind::file});
    EXPECT_THAT(*files().contentsOfFolder(at("")), expected);
    const auto opened = files().openFolder(at(""));
    ASSERT_TRUE(opened);
    const auto& folder = *opened;
    for (int i = 0; i < 2; ++i) EXPECT_THAT(*folder->entries(), expected) << "time " << i;
    EXPECT_THAT(*folder->entries([](auto, EntryKind kind) { return kind == EntryKind::folder; }),
                ElementsAre(DirectoryEntry{"b", EntryKind::folder}));
    EXPECT_THAT(*folder->entries({}, platform::Sorted::no),
                ::testing::UnorderedElementsAreArray(*folder->entries()));
    EXPECT_EQ(codeOf(files().contentsOfFolder(at("missing"))), ENOENT);
    EXPECT_EQ(codeOf(files().contentsOfFolder(at("C"))), ENOTDIR);
}

TEST_P(FilesContract, ListsLargeFolders) {
    constexpr int count = 1200;
    for (int i = 0; i < count; ++i) makeLink(at("a rather long name " + std::to_string(i)), "x");
    EXPECT_EQ(names(at("")).size(), count);
}

TEST_P(FilesContract, OpenFolderActsOnWhatIsInIt) {
    makeFolder(at("sub/below"));
    write(at("sub/file"), "12345");
    makeLink(at("toSub"), "sub");
    makeLink(at("sub/dangling"), "nowhere");
    makeLink(at("sub/toFile"), "file");
    const auto root = files().openFolder(at(""));
    const auto opened = (*root)->openFolder("toSub");
    ASSERT_TRUE(opened);
    const auto& sub = *opened;
    EXPECT_TRUE(sub->openFolder("below"));
    EXPECT_EQ(codeOf(sub->openFolder("file")), ENOTDIR);
    EXPECT_EQ(codeOf(sub->openFolder("missing")), ENOENT);
    EXPECT_EQ(codeOf(files().openFolder(at("sub/file"))), ENOTDIR);
    EXPECT_EQ(codeOf(files().openFolder(at("missing"))), ENOENT);

    EXPECT_EQ(sub->info("toFile")->size, 5U);
    EXPECT_TRUE(sub->info("toFile")->isFile());
    for (const char* missing : {"dangling", "missing", "file/below"}) {
        EXPECT_TRUE(isMissing(sub->info(missing).error())) << missing;
    }
    EXPECT_EQ(sub->info()->identity, files().info(at("sub"))->identity);
    EXPECT_EQ(*sub->readFile("toFile", 5), "12345");
    EXPECT_EQ(codeOf(sub->readFile("file", 4)), EFBIG);
    EXPECT_EQ(codeOf(sub->readFile("missing", 4)), ENOENT);
    EXPECT_EQ(codeOf(sub->readFile("below", 4)), EISDIR);
}

TEST_P(FilesContract, TellsFactsOfWhatIsThere) {
    makeFolder(at("folder"));
    write(at("file"), "123");
    makeLink(at("link"), "file");
    makeLink(at("dangling"), "nowhere");
    makeLink(at("loop"), "loop");
    makePipe(at("pipe"));
    const auto kind = [](const Result<platform::FileInfo>& info) {
        return info ? std::optional(info->kind) : std::nullopt;
    };
    struct Case {
        std::string_view name;
        std::optional<EntryKind> followed;
        std::optional<EntryKind> itself;
    };
    const std::optional<EntryKind> link = EntryKind::symbolicLink;
    for (const Case& c :
         std::initializer_list<Case>{{"folder", EntryKind::folder, EntryKind::folder},
                                     {"file", EntryKind::file, EntryKind::file},
                                     {"link", EntryKind::file, link},
                                     {"dangling", {}, link},
                                     {"loop", {}, link},
                                     {"pipe", EntryKind::other, EntryKind::other},
                                     {"missing", {}, {}},
                                     {"file/below", {}, {}},
                                     {std::string_view("file\0x", 6), {}, {}}}) {
        EXPECT_EQ(kind(files().info(at(c.name))), c.followed) << c.name;
        EXPECT_EQ(kind(files().linkInfo(at(c.name))), c.itself) << c.name;
        EXPECT_EQ(files().exists(at(c.name)), c.followed.has_value()) << c.name;
    }
    EXPECT_FALSE(files().exists(Path()));
    EXPECT_EQ(files().info(at("file"))->permissions, 0644U);
    EXPECT_EQ(files().info(at("link"))->identity, files().info(at("file"))->identity);
    EXPECT_NE(files().info(at("folder"))->identity, files().info(at("file"))->identity);
}

TEST_P(FilesContract, TellsPathsWithoutLinks) {
    makeFolder(at("folder/deep"));
    write(at("folder/file"), "123");
    makeLink(at("link"), "folder");
    makeLink(at("folder/up"), "..");
    makeLink(at("dangling"), "nowhere");
    const auto real = [&](const char* name) {
        const auto path = files().realPath(at(name));
        return path ? path->str() : std::string();
    };
    const std::string folder = real("folder");
    EXPECT_THAT(folder, ::testing::EndsWith("/folder"));
    EXPECT_EQ(real("link"), folder);
    EXPECT_EQ(real("link/./up/link//deep"), folder + "/deep");
    EXPECT_EQ(real("link/file"), folder + "/file");
    EXPECT_EQ(files().realPath(Path("/"))->str(), "/");
    EXPECT_EQ(codeOf(files().realPath(at("dangling"))), ENOENT);
    EXPECT_EQ(codeOf(files().realPath(at("missing"))), ENOENT);
}

TEST_P(FilesContract, ReadsRegularFilesUpToASize) {
    const std::string bytes(300'000, 'x');
    write(at("file"), bytes);
    write(at("empty"), "");
    makePipe(at("pipe"));
    EXPECT_EQ(*files().readFile(at("file"), bytes.size()), bytes);
    EXPECT_EQ(*files().readFile(at("empty"), 0), "");
    EXPECT_EQ(codeOf(files().readFile(at("file"), bytes.size() - 1)), EFBIG);
    EXPECT_EQ(codeOf(files().readFile(at("pipe"), 9)), EINVAL);
    EXPECT_EQ(codeOf(files().readFile(at(""), 9)), EISDIR);
    EXPECT_EQ(codeOf(files().readFile(at("missing"), 9)), ENOENT);
    EXPECT_THAT(files().readFile(at("missing"), 9).error().description,
                ::testing::StartsWith("reading " + at("missing").str() + ": "));
}

TEST_P(FilesContract, ComparesContents) {
    const std::string large(300'000, 'x');
    write(at("large"), large);
    write(at("same"), large);
    write(at("differs"), large.substr(1) + "y");
    write(at("shorter"), large.substr(1));
    write(at("empty"), "");
    makePipe(at("pipe"));
    for (const char* folder : {"a", "b", "c"}) {
        makeFolder(at(folder));
        makeFolder(at(folder) / "in");
        write(at(folder) / "in/file", "content");
        makeLink(at(folder) / "link", "/nowhere");
    }
    write(at("c/in/more"), "");
    const struct {
        const char* one;
        const char* other;
        bool equal;
    } cases[] = {
        {"large", "same", true},
        {"large", "large", true},
        {"large", "differs", false},
        {"large", "shorter", false},
        {"large", "empty", false},
        {"empty", "empty", true},
        {"large", "missing", false},
        {"missing", "missing", false},
        {"pipe", "pipe", false},
        {"a", "b", true},
        {"a", "c", false},
        {"c", "a", false},
        {"a", "large", false},
        {"a/link", "b/link", true},
        {"a/link", "a/in/file", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(files().contentsEqual(at(c.one), at(c.other)), c.equal) << c.one << c.other;
    }
}

TEST_P(FilesContract, RightsDecideWhatMayBeDone) {
    makeFolder(at("closed"));
    write(at("closed/file"), "");
    write(at("plain"), "");
    ASSERT_FALSE(files().setPermissions(at("closed"), 0555));
    ASSERT_FALSE(files().setPermissions(at("closed/file"), 0555));
    EXPECT_FALSE(files().isExecutable(at("plain")));
    EXPECT_TRUE(files().isExecutable(at("closed/file")));
    EXPECT_TRUE(files().isWritable(at("plain")));
    EXPECT_TRUE(files().isDeletable(at("plain")));
    for (const char* missing : {"missing", "missing/below"}) {
        EXPECT_FALSE(files().isWritable(at(missing)));
        EXPECT_FALSE(files().isExecutable(at(missing)));
        EXPECT_FALSE(files().isDeletable(at(missing)));
    }
    if (files().isWritable(at("closed"))) GTEST_SKIP() << "this user's rights know no bounds";
    EXPECT_FALSE(files().isDeletable(at("closed/file")));
    EXPECT_FALSE(files().isWritable(at("closed/file")));
    EXPECT_EQ(codeOf(files().writeFileAtomically(at("closed/new"), "")), EACCES);
    EXPECT_EQ(codeOf(files().removeItem(at("closed/file"))), EACCES);
    EXPECT_EQ(codeOf(files().copyItem(at("plain"), at("closed/copy"))), EACCES);
    EXPECT_EQ(codeOf(files().moveItem(at("closed/file"), at("moved"))), EACCES);
    EXPECT_EQ(codeOf(files().openForAppending(at("closed/file"))), EACCES);
    ASSERT_FALSE(files().setPermissions(at("closed"), 0));
    EXPECT_EQ(codeOf(files().openFolder(at("closed"))), EACCES);
    EXPECT_EQ(codeOf(files().info(at("closed/file"))), EACCES);
    EXPECT_EQ(codeOf(files().contentsOfFolder(at("closed"))), EACCES);
    ASSERT_FALSE(files().setPermissions(at("closed"), 0755));
}

std::string appleDouble(std::string_view magic, char entryID, char offset,
                        std::string_view finderInfo) {
    std::string bytes(magic);
    bytes += std::string("\0\2\0\0", 4) + std::string(16, ' ') + std::string("\0\2", 2);
    bytes += std::string("\0\0\0\2\0\0\0\x52\0\0\0\0", 12);
    bytes += std::string("\0\0\0", 3) + entryID + std::string("\0\0\0", 3) + offset;
    bytes += std::string("\0\0\0\x20", 4);
    return bytes + std::string(finderInfo);
}

TEST_P(FilesContract, TypeCodeStandsInTheAppleDoubleFile) {
    const std::string_view magic("\0\5\x16\7", 4);
    const std::string info = "FcPrKeyG" + std::string(24, '\0');
    struct Case {
        std::string bytes;
        std::string code;
    };
    int number = 0;
    for (const Case& c :
         std::initializer_list<Case>{{appleDouble(magic, 9, 50, info), "FcPr"},
                                     {appleDouble(magic, 9, 50, std::string(32, '\0')), ""},
                                     {appleDouble("none", 9, 50, info), ""},
                                     {appleDouble(magic, 8, 50, info), ""},
                                     {appleDouble(magic, 9, 51, info), ""},
                                     {appleDouble(magic, 9, 50, info).substr(0, 40), ""},
                                     {"", ""}}) {
        const std::string name = "file" + std::to_string(number++);
        write(at(name), "");
        write(at("._" + name), c.bytes);
        EXPECT_EQ(files().typeCode(at(name)), c.code) << name;
    }
    EXPECT_EQ(files().typeCode(at("missing")), "");
}

TEST_P(FilesContract, TellsTheSpaceOfTheDisk) {
    const auto space = files().diskSpace(at(""));
    ASSERT_TRUE(space);
    EXPECT_GT(space->free, 0U);
    EXPECT_LE(space->free, space->total);
    EXPECT_FALSE(files().diskSpace(at("missing")));
}

}  // namespace
}  // namespace larkspan::testing
