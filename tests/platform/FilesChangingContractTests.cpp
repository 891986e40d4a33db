#include "foundation/Uuid.h"
#include "platform/FilesUnderTest.h"

#include <cerrno>
#include <future>

namespace larkspan::testing {
namespace {

using platform::EntryKind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_P(FilesContract, WritesReplaceFilesWhole) {
    write(at("file"), "old");
    ASSERT_FALSE(files().setPermissions(at("file"), 0600));
    const auto before = files().info(at("file"))->identity;
    write(at("file"), "new");
    EXPECT_EQ(read(at("file")), "new");
    EXPECT_EQ(files().info(at("file"))->permissions, 0600U);
    EXPECT_NE(files().info(at("file"))->identity, before);

    makeFolder(at("other"));
    makeLink(at("link"), "other/file");
    makeLink(at("nowhere"), "missing/file");
    makeLink(at("loop"), "loop");
    makePipe(at("pipe"));
    for (const char* text : {"through a dangling link", "through a link"}) {
        write(at("link"), text);
        EXPECT_EQ(read(at("other/file")), text);
        EXPECT_EQ(files().linkInfo(at("link"))->kind, EntryKind::symbolicLink);
    }
    EXPECT_EQ(codeOf(files().writeFileAtomically(at("nowhere"), "x")), ENOENT);
    EXPECT_EQ(codeOf(files().writeFileAtomically(at("loop"), "x")), ELOOP);
    EXPECT_EQ(codeOf(files().writeFileAtomically(at("other"), "x")), EISDIR);
    EXPECT_EQ(codeOf(files().writeFileAtomically(at("pipe"), "x")), EINVAL);
    EXPECT_EQ(codeOf(files().writeFileAtomically(at("missing/file"), "x")), ENOENT);
    EXPECT_THAT(names(at("")), ElementsAre("file", "link", "loop", "nowhere", "other", "pipe"));
    EXPECT_THAT(names(at("other")), ElementsAre("file"));
}

TEST_P(FilesContract, AppendsToFilesThatExist) {
    write(at("log"), "one\n");
    auto writer = files().openForAppending(at("log"));
    ASSERT_TRUE(writer);
    EXPECT_FALSE((*writer)->write("two\n"));
    EXPECT_FALSE((*writer)->write("three\n"));
    EXPECT_EQ(read(at("log")), "one\ntwo\nthree\n");
    makePipe(at("pipe"));
    EXPECT_EQ(codeOf(files().openForAppending(at("missing"))), ENOENT);
    EXPECT_EQ(codeOf(files().openForAppending(at(""))), EISDIR);
    EXPECT_EQ(codeOf(files().openForAppending(at("pipe"))), EINVAL);
}

TEST_P(FilesContract, LocksOfAFolderExcludeOneAnother) {
    write(at("file"), "");
    auto lock = files().lockFolder(at(""), Seconds(0));
    ASSERT_TRUE(lock);
    EXPECT_EQ(codeOf(files().lockFolder(at(""), Seconds(0.02))), ETIMEDOUT);
    write(at("file"), "changed by one who does not ask");
    auto waited = std::async(std::launch::async, [&] {
        return files().lockFolder(at(""), Seconds(60)).operator bool();
    });
    lock->reset();
    EXPECT_TRUE(waited.get());
    EXPECT_TRUE(files().lockFolder(at(""), Seconds(0)));
    EXPECT_EQ(codeOf(files().lockFolder(at("missing"), Seconds(0))), ENOENT);
    EXPECT_EQ(codeOf(files().lockFolder(at("file"), Seconds(0))), ENOTDIR);
}

TEST_P(FilesContract, CreatesFoldersWithThoseAbove) {
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(files().createFolder(at("a/b/c")));
        EXPECT_TRUE(files().isFolder(at("a/b/c")));
    }
    write(at("file"), "");
    makeLink(at("link"), "a");
    EXPECT_EQ(codeOf(files().createFolder(at("file"))), EEXIST);
    EXPECT_EQ(codeOf(files().createFolder(at("file/below"))), ENOTDIR);
    EXPECT_EQ(codeOf(files().createFolder(at("link"))), 0);
    EXPECT_EQ(codeOf(files().createFolder(Path(at("d//e").str() + "/"))), 0);
    EXPECT_TRUE(files().isFolder(at("d/e")));
    EXPECT_EQ(codeOf(files().createFolder(Path())), ENOENT);
    EXPECT_EQ(codeOf(files().createFolder(at(std::string(300, 'n')))), ENAMETOOLONG);
}

TEST_P(FilesContract, CopiesKeepContentDatesAndPermissions) {
    const auto date = dateFromUnixTime(-1, 123'456'789);
    const std::string bytes(3'000'000, 'x');
    for (const std::string& name :
         {std::string("plain"), std::string("new\nline"), std::string("100%@"),
          std::string("\xff\xfe"), std::string(255, 'n')}) {
        write(at("source"), bytes);
        ASSERT_FALSE(files().setPermissions(at("source"), 0440));
        ASSERT_FALSE(files().setModificationDate(at("source"), date));
        const auto error = files().copyItem(at("source"), at(name));
        ASSERT_FALSE(error) << error->description;
        EXPECT_EQ(*files().readFile(at(name), bytes.size()), bytes);
        EXPECT_EQ(files().info(at(name))->modificationDate, date);
        EXPECT_EQ(files().info(at(name))->permissions, 0440U);
        EXPECT_EQ(codeOf(files().copyItem(at("source"), at(name))), EEXIST);
    }
    EXPECT_EQ(names(at("")).size(), 6U);
}

TEST_P(FilesContract, CopiesTreesWhole) {
    const auto date = dateFromUnixTime(1'000'000'000, 1);
    makeFolder(at("tree/closed/deep"));
    makeFolder(at("tree/empty"));
    write(at("tree/closed/deep/file"), "text");
    makeLink(at("tree/link"), "closed/deep/file");
    makeLink(at("tree/dangling"), "nowhere");
    makePipe(at("tree/pipe"));
    for (const char* name : {"tree/closed/deep/file", "tree/closed/deep", "tree/closed", "tree"}) {
        ASSERT_FALSE(files().setModificationDate(at(name), date));
    }
    ASSERT_FALSE(files().setPermissions(at("tree/closed"), 0555));
    const auto error = files().copyItem(at("tree"), at("copy"));
    ASSERT_FALSE(error) << error->description;

    EXPECT_THAT(names(at("copy")), ElementsAre("closed", "dangling", "empty", "link"));
    EXPECT_EQ(read(at("copy/closed/deep/file")), "text");
    EXPECT_EQ(files().linkInfo(at("copy/link"))->kind, EntryKind::symbolicLink);
    EXPECT_EQ(read(at("copy/link")), "text");
    for (const char* name : {"copy/closed/deep/file", "copy/closed/deep", "copy/closed", "copy"}) {
        EXPECT_EQ(files().info(at(name))->modificationDate, date) << name;
    }
    EXPECT_EQ(files().info(at("copy/closed"))->permissions, 0555U);
    EXPECT_FALSE(files().removeItem(at("copy")));
    EXPECT_THAT(names(at("")), ElementsAre("tree"));
}

TEST_P(FilesContract, CopiesAreRefusedWithNothingLeft) {
    makeFolder(at("folder/below"));
    write(at("file"), "text");
    makePipe(at("pipe"));
    makeLink(at("link"), "file");
    makeLink(at("dangling"), "nowhere");
    struct Case {
        const char* source;
        const char* target;
        long code;
    };
    for (const Case& c : std::initializer_list<Case>{{"missing", "new", ENOENT},
                                                     {"dangling", "new", ENOENT},
                                                     {"pipe", "new", EINVAL},
                                                     {"file", "missing/new", ENOENT},
                                                     {"file", "file/new", ENOTDIR},
                                                     {"file", "file", EEXIST},
                                                     {"file", "folder", EEXIST},
                                                     {"file", "dangling", EEXIST},
                                                     {"folder", "folder/inside", EINVAL},
                                                     {"folder", "folder/below/inside", EINVAL}}) {
        EXPECT_EQ(codeOf(files().copyItem(at(c.source), at(c.target))), c.code)
            << c.source << " to " << c.target;
    }
    EXPECT_EQ(codeOf(files().copyItem(at("file"), at(std::string(256, 'n')))), ENAMETOOLONG);
    EXPECT_THAT(names(at("")), ElementsAre("dangling", "file", "folder", "link", "pipe"));
    EXPECT_THAT(names(at("folder")), ElementsAre("below"));
    EXPECT_THAT(names(at("folder/below")), IsEmpty());

    EXPECT_FALSE(files().copyItem(at("link"), at("new")));
    EXPECT_EQ(files().linkInfo(at("new"))->kind, EntryKind::file);
}

TEST_P(FilesContract, MovesReplaceNothing) {
    makeFolder(at("folder/below"));
    makeFolder(at("empty"));
    write(at("file"), "file");
    write(at("other"), "other");
    makeLink(at("dangling"), "nowhere");
    struct Case {
        const char* source;
        const char* target;
        long code;
    };
    for (const Case& c : std::initializer_list<Case>{{"missing", "new", ENOENT},
                                                     {"file", "other", EEXIST},
                                                     {"file", "dangling", EEXIST},
                                                     {"file", "missing/new", ENOENT},
                                                     {"folder", "empty", EEXIST},
                                                     {"folder", "folder/below/new", EINVAL},
                                                     {"folder", "moved", 0},
                                                     {"file", "moved/below/file", 0},
                                                     {"dangling", "moved/dangling", 0}}) {
        EXPECT_EQ(codeOf(files().moveItem(at(c.source), at(c.target))), c.code)
            << c.source << " to " << c.target;
    }
    EXPECT_EQ(read(at("moved/below/file")), "file");
    EXPECT_EQ(read(at("other")), "other");
    EXPECT_THAT(names(at("moved")), ElementsAre("below", "dangling"));
    EXPECT_THAT(names(at("")), ElementsAre("empty", "moved", "other"));
}

TEST_P(FilesContract, RemovesFilesLinksAndTrees) {
    makeFolder(at("kept"));
    write(at("kept/file"), "");
    makeFolder(at("tree/a/b"));
    write(at("tree/a/file"), "");
    makeLink(at("tree/a/link"), "../../kept");
    makeLink(at("link"), "kept");
    write(at("file"), "");
    for (const char* name : {"tree", "link", "file"}) {
        EXPECT_EQ(codeOf(files().removeItem(at(name))), 0) << name;
        EXPECT_EQ(codeOf(files().removeItem(at(name))), ENOENT) << name;
    }
    EXPECT_EQ(codeOf(files().removeItem(at("kept/.."))), EINVAL);
    EXPECT_THAT(names(at("")), ElementsAre("kept"));
    EXPECT_THAT(names(at("kept")), ElementsAre("file"));
}

TEST_P(FilesContract, OnlyAnEmptyFolderIsRemovedAsOne) {
    makeFolder(at("full/hidden/.below"));
    write(at("file"), "");
    EXPECT_EQ(codeOf(files().removeEmptyFolder(at("full"))), ENOTEMPTY);
    EXPECT_EQ(codeOf(files().removeEmptyFolder(at("file"))), ENOTDIR);
    EXPECT_EQ(codeOf(files().removeEmptyFolder(at("missing"))), ENOENT);
    EXPECT_EQ(codeOf(files().removeEmptyFolder(at("full/hidden/.below"))), 0);
    EXPECT_FALSE(files().exists(at("full/hidden/.below")));
}

TEST_P(FilesContract, AnOpenFolderRemovesItsFilesAndLinks) {
    makeFolder(at("in/kept"));
    write(at("in/file"), "");
    makeLink(at("in/link"), "kept");
    const auto opened = files().openFolder(at("in"));
    ASSERT_TRUE(opened);
    const auto& folder = *opened;
    EXPECT_NE(codeOf(folder->removeFile("kept")), 0);
    for (const char* name : {"file", "link"}) {
        EXPECT_EQ(codeOf(folder->removeFile(name)), 0) << name;
        EXPECT_EQ(codeOf(folder->removeFile(name)), ENOENT) << name;
    }
    EXPECT_EQ(codeOf(folder->removeFile(std::string("kept\0", 5))), ENOENT);
    EXPECT_THAT(names(at("in")), ElementsAre("kept"));
    EXPECT_FALSE(files().moveItem(at("in"), at("elsewhere")));
    write(at("elsewhere/late"), "");
    EXPECT_EQ(codeOf(folder->removeFile("late")), 0) << "it is the folder, whatever its path";
}

TEST_P(FilesContract, ClearsAbandonedTemporaryItemsOnly) {
    for (const auto prefix : {platform::temporaryCopyPrefix, platform::temporaryWritePrefix,
                              platform::temporaryRemovalPrefix}) {
        write(at(std::string(prefix) + generateUUID()), "half");
        makeFolder(at(std::string(prefix) + generateUUID()) / "below");
        write(at(std::string(prefix) + "of mine"), "");
    }
    write(at(generateUUID()), "");
    EXPECT_EQ(files().removeAbandonedCopies(at("")), 6);
    EXPECT_EQ(files().removeAbandonedCopies(at("")), 0);
    EXPECT_EQ(names(at("")).size(), 4U);
    EXPECT_EQ(files().removeAbandonedCopies(at("missing")), 0);
}

TEST_P(FilesContract, LockedItemsStay) {
    write(at("file"), "x");
    EXPECT_FALSE(files().isLocked(at("file")));
    EXPECT_FALSE(files().isLocked(at("missing")));
    EXPECT_TRUE(files().setLocked(at("missing"), true));
    if (const auto error = files().setLocked(at("file"), true)) {
        // Only root may, and not every file system has it.
        EXPECT_THAT(error->code, ::testing::AnyOf(EPERM, EOPNOTSUPP));
        return;
    }
    EXPECT_TRUE(files().isLocked(at("file")));
    EXPECT_EQ(codeOf(files().removeItem(at("file"))), EPERM);
    EXPECT_EQ(codeOf((*files().openFolder(at("")))->removeFile("file")), EPERM);
    EXPECT_EQ(codeOf(files().moveItem(at("file"), at("other"))), EPERM);
    EXPECT_FALSE(files().setLocked(at("file"), false));
    EXPECT_FALSE(files().removeItem(at("file")));
}

TEST_P(FilesContract, SetsTypeCodesWhereTheFileSystemHasThem) {
    write(at("file"), "x");
    const long failed = codeOf(files().setTypeAndCreator(at("file"), "XML ", "KeyG"));
    EXPECT_TRUE(failed == 0 || failed == EOPNOTSUPP) << failed;
    EXPECT_EQ(files().typeCode(at("file")), failed == 0 ? "XML " : "");
    EXPECT_EQ(read(at("file")), "x");
    EXPECT_EQ(codeOf(files().setTypeAndCreator(at("missing"), "XML ", "KeyG")), ENOENT);
}

TEST_P(FilesContract, SetsDatesAndPermissions) {
    write(at("file"), "");
    makeLink(at("link"), "file");
    for (const Date date : {dateFromUnixTime(0), dateFromUnixTime(-5, 1), dateFromUnixTime(1, 999),
                            dateFromUnixTime(4'000'000'000, 999'999'999)}) {
        EXPECT_FALSE(files().setModificationDate(at("link"), date));
        EXPECT_EQ(files().info(at("file"))->modificationDate, date);
    }
    EXPECT_FALSE(files().setPermissions(at("link"), 01750));
    EXPECT_EQ(files().info(at("file"))->permissions, 01750U);
    EXPECT_EQ(codeOf(files().setPermissions(at("missing"), 0600)), ENOENT);
    EXPECT_EQ(codeOf(files().setModificationDate(at("missing"), Date())), ENOENT);
}

}  // namespace
}  // namespace larkspan::testing
