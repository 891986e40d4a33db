#include "support/StoreTest.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The helper's engine with synchronisation switched on.
class MirroredStoreTest : public testing::StoreTest {
  protected:
    MirroredStoreTest() {
        for (const char* name : {"Larkspan", "MacOS/Larkspan"}) {
            const Path program = Path("/Applications/Larkspan.app/Contents") / name;
            writeFile(program, "");
            EXPECT_FALSE(fake.files.setPermissions(program, 0755));
            fake.processes.setProgram(program, {});
        }
        prefer({});
    }
    ~MirroredStoreTest() override { DBSession::setSharedSession(nullptr); }

    void prefer(Value::Dictionary more) {
        more.insert({{"storagePath", "/Store"},
                     {"syncService", 1},
                     {"backupManagementMinLimitSet", 0},
                     {"deleteBackupCount", 1},
                     {"removalType", 1}});
        setPreferences(more);
    }
    std::vector<std::string> transfers() const {
        std::vector<std::string> lines;
        for (const auto& launch : fake.processes.launches()) {
            lines.push_back(launch.arguments.at(0) + " " + launch.arguments.at(1));
        }
        return lines;
    }
    const Path versions = versionsOf("A");
};

TEST_F(MirroredStoreTest, EveryNewVersionIsUploadedAndNothingElse) {
    ZBLarkspanBackup engine;
    const Path project = addProject("A", "Cut, the \xc3\xbc.fcp");
    engine.backupProject(project, versions, {1});
    EXPECT_THAT(transfers(),
                ElementsAre("-upload " + (versions / "Cut, the \xc3\xbc.00001.fcp").str()));
    engine.backupProject(Path("/Work/none.fcp"), versions, {2});
    save(project, "");
    engine.backupProject(project, versions, {2});
    EXPECT_EQ(transfers().size(), 1U);
}

TEST_F(MirroredStoreTest, WhatRetentionRemovesGoesFromTheCloudUnlessThatIsSwitchedOff) {
    const std::pair<Value::Dictionary, bool> cases[] = {
        {{}, true},
        {{{"syncDeleteRemoteFiles", 1}}, true},
        {{{"syncDeleteRemoteFiles", 0}}, false},
        {{{"syncService", 0}}, false},
    };
    for (const auto& [preferences, removes] : cases) {
        prefer(preferences);
        const size_t before = transfers().size();
        addProject("A", "Cut.fcp");
        addVersion("A", "Cut.00001.fcp", std::chrono::hours(24 * 9));
        addVersion("A", "Cut.00002.fcp", std::chrono::hours(24 * 8));
        addVersion("A", "Cut.00003.fcp", Seconds(0));
        {
            ZBLarkspanBackup engine;
            engine.manageBackups();
        }
        EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00003.fcp"));
        ASSERT_EQ(transfers().size(), before + (removes ? 1 : 0));
        if (removes) {
            EXPECT_EQ(transfers().back(), "-removeRemote " + (versions / "Cut.00001.fcp").str() +
                                              "," + (versions / "Cut.00002.fcp").str());
        }
    }
}

TEST_F(MirroredStoreTest, SwitchedOffThereIsNoSessionAndNoProcess) {
    prefer({{"syncService", 0}});
    ZBLarkspanBackup engine;
    engine.backupProject(addProject("A", "Cut.fcp"), versions, {1});
    engine.removeBackup(versions / "Cut.00001.fcp", RemovalType::remove);
    EXPECT_EQ(DBSession::sharedSession(), nullptr);
    EXPECT_THAT(fake.processes.launches(), IsEmpty());
}

}  // namespace
}  // namespace larkspan
