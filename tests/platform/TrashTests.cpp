#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FakeStandardPlaces.h"
#include "platform/fake/FakeTrash.h"
#include "platform/fake/FaultyFiles.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/linux/LinuxTrash.h"
#include "support/TemporaryFolder.h"

#include <cerrno>
#include <filesystem>

#include <gmock/gmock.h>

namespace larkspan::platform {
namespace {

struct FakeScene {
    FakeClock clock;
    FakeFiles under{clock};
    Path folder{"/T"};
    FakeStandardPlaces places{folder / "home"};
    FaultyFiles files{under};
    FakeTrash trash{files, places};
};

struct LinuxScene {
    testing::TemporaryFolder temporary;
    Path folder = temporary.path();
    LinuxFiles under;
    FakeStandardPlaces places{folder / "home"};
    FaultyFiles files{under};
    LinuxTrash trash{files, places};

    LinuxScene() { places.trash = ".local/share/Trash/files"; }
};

template <class Scene>
struct TrashContract : ::testing::Test {
    TrashContract() {
        EXPECT_FALSE(scene.files.createFolder(scene.folder / "films"));
        contents = scene.places.homeDirectory() / scene.places.trashFolderInHome();
    }
    Path write(const std::string& name, const std::string& content) {
        Path path = scene.folder / "films" / name;
        EXPECT_FALSE(scene.files.createFolder(path.deletingLastPathComponent()));
        EXPECT_FALSE(scene.files.writeFileAtomically(path, content));
        return path;
    }
    std::string read(const Path& path) {
        const auto content = scene.files.readFile(path, 1000);
        return content ? *content : "(missing)";
    }
    size_t count(const Path& folder) {
        const auto entries = scene.files.contentsOfFolder(folder);
        return entries ? entries->size() : 0;
    }

    Scene scene;
    Path contents;
};
using Scenes = ::testing::Types<FakeScene, LinuxScene>;
TYPED_TEST_SUITE(TrashContract, Scenes);

TYPED_TEST(TrashContract, TakesFilesAndFoldersAndKeepsWhatItHas) {
    EXPECT_FALSE(this->scene.trash.recycle(this->write("Cut.fcp", "first")));
    EXPECT_FALSE(this->scene.trash.recycle(this->write("Cut.fcp", "second")));
    (void)this->write("folder/in/file", "deep");
    EXPECT_FALSE(this->scene.trash.recycle(this->scene.folder / "films/folder"));
    EXPECT_EQ(this->count(this->scene.folder / "films"), 0U);
    EXPECT_EQ(this->count(this->contents), 3U);
    EXPECT_EQ(this->read(this->contents / "Cut.fcp"), "first");
    EXPECT_EQ(this->read(this->contents / "Cut.fcp.2"), "second");
    EXPECT_EQ(this->read(this->contents / "folder/in/file"), "deep");
}

TYPED_TEST(TrashContract, AFailureLeavesTheItemWhereItWas) {
    EXPECT_TRUE(this->scene.trash.recycle(this->scene.folder / "films/missing")
                    ->is(posixErrorDomain, ENOENT));
    const Path item = this->write("Cut.fcp", "content");
    for (const FileOperation operation : {FileOperation::createFolder, FileOperation::moveItem}) {
        this->scene.files.refuseCall(operation, 1, EACCES);
        EXPECT_TRUE(this->scene.trash.recycle(item)->is(posixErrorDomain, EACCES));
        EXPECT_EQ(this->read(item), "content");
    }
    EXPECT_EQ(this->count(this->contents), 0U);
}

TYPED_TEST(TrashContract, AReservedNameIsNobodyElses) {
    const Path item = this->write("Cut.fcp", "content");
    const auto name = [](int number) { return "Cut" + std::to_string(number) + ".fcp"; };
    (void)this->write("Cut1.fcp", "other");
    ASSERT_FALSE(this->scene.trash.recycle(this->scene.folder / "films/Cut1.fcp"));
    const auto reserved = this->scene.trash.reserve(item, name);
    ASSERT_TRUE(reserved);
    EXPECT_EQ(*reserved, this->contents / "Cut2.fcp");
    EXPECT_EQ(*this->scene.trash.reserve(item, name), this->contents / "Cut3.fcp");
    this->scene.trash.giveUp(*reserved);
    EXPECT_EQ(*this->scene.trash.reserve(item, name), this->contents / "Cut2.fcp");
}

using LinuxTrashTest = TrashContract<LinuxScene>;

TEST_F(LinuxTrashTest, TellsWhereItCameFrom) {
    const Path item = write("100% Schnitt.fcp", "content");
    ASSERT_FALSE(scene.trash.recycle(item));
    const Path notes = contents.deletingLastPathComponent() / "info";
    const std::string note = read(notes / "100% Schnitt.fcp.trashinfo");
    EXPECT_THAT(note, ::testing::StartsWith("[Trash Info]\nPath="));
    EXPECT_THAT(note, ::testing::HasSubstr("/films/100%25%20Schnitt.fcp\nDeletionDate=20"));
    EXPECT_EQ(scene.files.info(contents)->permissions, 0700U);
}

TEST_F(LinuxTrashTest, GoesByACopyFromAnotherFileSystem) {
    const Path item = write("Cut.fcp", "content");
    scene.files.refuseCall(FileOperation::moveItem, 1, EXDEV);
    EXPECT_FALSE(scene.trash.recycle(item));
    EXPECT_EQ(read(contents / "Cut.fcp"), "content");
    EXPECT_FALSE(scene.files.linkInfo(item));
    // The copy of what cannot be removed stays: who knows what is left of that.
    (void)write("Cut.fcp", "again");
    scene.files.refuseCall(FileOperation::moveItem, 1, EXDEV);
    scene.files.refuseCall(FileOperation::removeItem, 1, EROFS);
    EXPECT_TRUE(scene.trash.recycle(item)->is(posixErrorDomain, EROFS));
    EXPECT_EQ(read(item), "again");
    EXPECT_EQ(read(contents / "Cut.fcp.2"), "again");
    EXPECT_EQ(count(contents.deletingLastPathComponent() / "info"), 2U);
}

TEST_F(LinuxTrashTest, WhatCannotBeRemovedLeavesNoCopies) {
    const Path item = write("Cut.fcp", "content");
    for (int attempt = 0; attempt < 2; ++attempt) {
        scene.files.refuseCall(FileOperation::access, 1, EACCES);
        scene.files.refuseCall(FileOperation::moveItem, 1, EXDEV);
        EXPECT_TRUE(scene.trash.recycle(item)->is(posixErrorDomain, EACCES));
        scene.files.refuseCall(FileOperation::moveItem, 1, 0);
    }
    EXPECT_EQ(count(contents), 0U);
    EXPECT_EQ(read(item), "content");
}

TEST_F(LinuxTrashTest, ALongNameIsCutBeforeItsExtension) {
    constexpr size_t characters = 125;
    std::string longest;
    for (size_t i = 0; i < characters; ++i) longest += "\xC3\xA4";
    const Path item = write(longest + ".fcp", "content");
    EXPECT_FALSE(scene.trash.recycle(item));
    const auto entries = scene.files.contentsOfFolder(contents);
    ASSERT_EQ(entries->size(), 1U);
    const std::string name = entries->front().name;
    EXPECT_THAT(name, ::testing::EndsWith("\xC3\xA4.fcp"));
    EXPECT_THAT(longest + ".fcp", ::testing::StartsWith(Path(name).deletingPathExtension().str()));
    const Path notes = contents.deletingLastPathComponent() / "info";
    EXPECT_THAT(read(notes / (name + ".trashinfo")), ::testing::HasSubstr("%A4.fcp\n"));
}

TEST_F(LinuxTrashTest, ANameWithoutInformationIsTaken) {
    ASSERT_FALSE(scene.trash.recycle(write("other", "makes the folders")));
    ASSERT_FALSE(scene.files.writeFileAtomically(contents / "Cut.fcp", "put there by hand"));
    EXPECT_FALSE(scene.trash.recycle(write("Cut.fcp", "content")));
    EXPECT_EQ(read(contents / "Cut.fcp"), "put there by hand");
    EXPECT_EQ(read(contents / "Cut.fcp.2"), "content");
    EXPECT_EQ(count(contents.deletingLastPathComponent() / "info"), 2U);
}

TEST_F(LinuxTrashTest, LinksGoAsLinks) {
    (void)write("target", "stays");
    for (const bool isOnOtherFileSystem : {false, true}) {
        for (const char* leadsTo : {"target", "nowhere"}) {
            const Path link = scene.folder / "films/link";
            std::filesystem::create_symlink(leadsTo, link.str());
            if (isOnOtherFileSystem) scene.files.refuseCall(FileOperation::moveItem, 1, EXDEV);
            EXPECT_FALSE(scene.trash.recycle(link));
            EXPECT_FALSE(scene.files.linkInfo(link)) << leadsTo;
        }
    }
    EXPECT_EQ(count(contents), 4U);
    const auto entries = scene.files.contentsOfFolder(contents);
    for (const auto& entry : *entries) {
        EXPECT_EQ(entry.kind, EntryKind::symbolicLink);
    }
    EXPECT_EQ(read(scene.folder / "films/target"), "stays");
}

}  // namespace
}  // namespace larkspan::platform
