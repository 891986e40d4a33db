#include "frontend/FrontEndTest.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using PrefsTest = testing::FrontEndTest;

TEST_F(PrefsTest, SetsTypedValuesAndTellsTheHelperOnlyWhatItMustKnow) {
    startHelper();
    EXPECT_EQ(run({"prefs", "currentBackupLimit", "40"}).status, ExitStatus::done);
    EXPECT_THAT(called, IsEmpty());
    EXPECT_EQ(run({"prefs", "backupMinInterval", "30"}).status, ExitStatus::done);
    EXPECT_THAT(called, ElementsAre("updateConfiguration"));
    EXPECT_EQ(run({"prefs", "lastRestoredProject", "12"}).status, ExitStatus::done);
    EXPECT_EQ(run({"prefs", "takeScreenshots", "false"}).status, ExitStatus::done);
    EXPECT_EQ(preference("currentBackupLimit"), Value(40));
    EXPECT_EQ(preference("backupMinInterval"), Value(30));
    EXPECT_EQ(preference("lastRestoredProject"), Value("12"));
    EXPECT_EQ(preference("takeScreenshots"), Value(false));
    EXPECT_EQ(run({"prefs", "currentBackupLimit", "--delete"}).status, ExitStatus::done);
    EXPECT_EQ(preference("currentBackupLimit"), Value("(not set)"));
}

TEST_F(PrefsTest, UnknownKeysAreSetWithAWarning) {
    const auto outcome = run({"prefs", "backupMinIntervall", "30", "--string"});
    EXPECT_EQ(outcome.status, ExitStatus::done);
    EXPECT_THAT(outcome.messages, HasSubstr("Did you mean \"backupMinInterval\"?"));
    EXPECT_EQ(preference("backupMinIntervall"), Value("30"));
    EXPECT_EQ(run({"prefs", "other", "-5", "--integer"}).status, ExitStatus::done);
    EXPECT_EQ(preference("other"), Value(-5));
}

TEST_F(PrefsTest, WhatDoesNotFitIsRefusedAndNothingIsWritten) {
    const std::vector<std::vector<std::string>> table{
        {"prefs", "storagePath", "relative"},
        {"prefs", "watchFolders", "/Work"},
        {"prefs", "xmlLimit", "much"},
        {"prefs", "other", "x", "--integer"},
        {"prefs", "other", "--integer"},
        {"prefs", "--delete"},
        {"prefs", "other", "5", "--delete"},
        {"prefs", "", "5"},
        {"prefs", "x", "1", "--string", "--integer"},
    };
    const std::string before = contentOf(*Preferences::frontEndFile());
    for (const auto& arguments : table) {
        EXPECT_EQ(run(arguments).status, ExitStatus::wrongUsage) << arguments.back();
    }
    EXPECT_EQ(contentOf(*Preferences::frontEndFile()), before);
}

TEST_F(PrefsTest, TheStoreStaysApartFromWatchedFolders) {
    ASSERT_EQ(run({"watch", "add", "."}).status, ExitStatus::done);
    EXPECT_EQ(run({"prefs", "storagePath", "/Work/Store"}).status, ExitStatus::failed);
    const auto outcome = run({"prefs", "storagePath", "/Disk/Store/"});
    EXPECT_EQ(outcome.status, ExitStatus::done);
    EXPECT_THAT(outcome.messages, AllOf(HasSubstr("/Disk/Store is not there yet"),
                                        HasSubstr("versions kept so far stay in /Store")));
    EXPECT_EQ(preference("storagePath"), Value("/Disk/Store"));
}

TEST_F(PrefsTest, ShowsValuesAndDefaults) {
    EXPECT_EQ(run({"prefs", "storagePath"}).output, "/Store\n");
    const auto standard = run({"prefs", "currentBackupLimit"});
    EXPECT_EQ(standard.output, "30\n");
    EXPECT_THAT(standard.messages, HasSubstr("this is the default"));
    const auto unknown = run({"prefs", "storePath"});
    EXPECT_EQ(unknown.status, ExitStatus::failed);
    EXPECT_THAT(unknown.messages, HasSubstr("Did you mean \"storagePath\"?"));
    EXPECT_THAT(run({"prefs"}).output, AllOf(HasSubstr("KEY"), HasSubstr("deleteBackupCount")));
    EXPECT_THAT(run({"prefs", "--json"}).output,
                HasSubstr("\"isSet\": true,\n    \"key\": \"storagePath\",\n    \"value\": "
                          "\"/Store\""));
}

TEST_F(PrefsTest, AFileThatCannotBeWrittenIsAnError) {
    const Path folder = Preferences::frontEndFile()->deletingLastPathComponent();
    ASSERT_FALSE(fake.files.setPermissions(folder, 0555));
    const auto outcome = run({"prefs", "currentBackupLimit", "3"});
    EXPECT_EQ(outcome.status, ExitStatus::failed);
    EXPECT_THAT(outcome.messages, HasSubstr("cannot be written"));
}

}  // namespace
}  // namespace larkspan
