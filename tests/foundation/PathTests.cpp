#include "foundation/Path.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

TEST(Path, TakesNamesApart) {
    struct Case {
        const char* path;
        const char* last;
        const char* extension;
        const char* withoutExtension;
        const char* folder;
    };
    const std::vector<Case> cases = {
        {"/Work/Cut.1.fcp", "Cut.1.fcp", "fcp", "/Work/Cut.1", "/Work"},
        {"/Work/Cut.fcp/", "Cut.fcp", "fcp", "/Work/Cut", "/Work"},
        {"/Work/Cut.fcp//", "Cut.fcp", "fcp", "/Work/Cut", "/Work"},
        {"/Work.d/Cut", "Cut", "", "/Work.d/Cut", "/Work.d"},
        {"/Work/.localized", ".localized", "", "/Work/.localized", "/Work"},
        {"/Work/.hidden.fcp", ".hidden.fcp", "fcp", "/Work/.hidden", "/Work"},
        {"Cut.", "Cut.", "", "Cut.", ""},
        {"Cut.fcp", "Cut.fcp", "fcp", "Cut", ""},
        {"a/b", "b", "", "a/b", "a"},
        {"a//b", "b", "", "a//b", "a"},
        {"/a", "a", "", "/a", "/"},
        {"//a", "a", "", "//a", "/"},
        {"/", "/", "", "/", "/"},
        {"//", "/", "", "/", "/"},
        {"", "", "", "", ""},
        {"..", "..", "", "..", ""},
        {"scratch..tiff", "scratch..tiff", "tiff", "scratch.", ""},
    };
    for (const Case& one : cases) {
        const Path path(one.path);
        EXPECT_EQ(path.lastPathComponent(), one.last) << path;
        EXPECT_EQ(path.pathExtension(), one.extension) << path;
        EXPECT_EQ(path.deletingPathExtension(), Path(one.withoutExtension)) << path;
        EXPECT_EQ(path.deletingLastPathComponent(), Path(one.folder)) << path;
    }
}

TEST(Path, ListsComponents) {
    using Strings = std::vector<std::string>;
    EXPECT_EQ(Path("/a//b/").pathComponents(), (Strings{"/", "a", "b"}));
    EXPECT_EQ(Path("a/b").pathComponents(), (Strings{"a", "b"}));
    EXPECT_EQ(Path("/").pathComponents(), Strings{"/"});
    EXPECT_EQ(Path("").pathComponents(), Strings{});
}

TEST(Path, JoinsWithExactlyOneSlash) {
    struct Case {
        const char* left;
        const char* right;
        const char* joined;
    };
    for (const Case& one : std::vector<Case>{
             {"/Work", "Film", "/Work/Film"},
             {"/Work/", "/Film/", "/Work/Film"},
             {"/Work//", "//Film//", "/Work/Film"},
             {"/", "Film", "/Film"},
             {"", "Film", "Film"},
             {"/Work/", "", "/Work"},
             {"/Work", "a//b", "/Work/a//b"},
             {"", "", ""},
         }) {
        EXPECT_EQ(Path(one.left) / one.right, Path(one.joined)) << one.left << " " << one.right;
    }
    EXPECT_EQ(Path("/Work/Cut/").appendingPathExtension("fcp"), Path("/Work/Cut.fcp"));
}

TEST(Path, ExpandsOnlyTheOwnHome) {
    const Path home("/home/ed/");
    EXPECT_EQ(Path("~").expandingTilde(Path("/home/ed")), Path("/home/ed"));
    EXPECT_EQ(Path("~/Cut").expandingTilde(home), Path("/home/ed/Cut"));
    EXPECT_EQ(Path("~other/Cut").expandingTilde(home), Path("~other/Cut"));
    EXPECT_EQ(Path("/a/~").expandingTilde(home), Path("/a/~"));
}

TEST(Path, KnowsWhatLiesBelow) {
    EXPECT_TRUE(Path("/a/b").isWithin(Path("/a")));
    EXPECT_TRUE(Path("/a/b").isWithin(Path("/a/b/")));
    EXPECT_TRUE(Path("/a/b/").isWithin(Path("/a/b")));
    EXPECT_TRUE(Path("/a").isWithin(Path("/")));
    EXPECT_FALSE(Path("/ab").isWithin(Path("/a")));
    EXPECT_FALSE(Path("/a").isWithin(Path("/a/b")));
    EXPECT_FALSE(Path("/a").isWithin(Path("")));
    EXPECT_FALSE(Path("a").isWithin(Path("/")));
    EXPECT_TRUE(Path("/ab").hasPrefix("/a"));
}

TEST(Path, ComparesAsText) {
    EXPECT_NE(Path("/a//b"), Path("/a/b"));
    EXPECT_LT(Path("/a"), Path("/b"));
    EXPECT_EQ(std::hash<Path>()(Path("/a")), std::hash<Path>()(Path("/a")));
}

}  // namespace
}  // namespace larkspan
