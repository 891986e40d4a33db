#include "frontend/Commands.h"
#include "frontend/FrontEnd.h"
#include "frontend/FrontEndTest.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

using FrontEndTests = testing::FrontEndTest;

TEST_F(FrontEndTests, HelpIsAResultAndWrongUsageAMessage) {
    const auto help = run({"--help"});
    EXPECT_EQ(help.status, ExitStatus::done);
    EXPECT_THAT(help.output, AllOf(HasSubstr("watch add FOLDER"), HasSubstr("Example:"),
                                   Not(HasSubstr("run FOLDER"))));
    EXPECT_EQ(run({"watch", "--help"}).output, help.output);
    const auto nothing = run({});
    EXPECT_EQ(nothing.status, ExitStatus::wrongUsage);
    EXPECT_EQ(nothing.output, "");
    EXPECT_EQ(nothing.messages, help.output);
    fake.bundles.main.info = Value::Dictionary{{"CFBundleVersion", "1.2.3"}};
    EXPECT_EQ(run({"--version"}).output, "larkspan 1.2.3\n");
}

TEST_F(FrontEndTests, EveryCommandHasHelpWithAnExample) {
    for (const Command* command : allCommands()) {
        auto arguments = split(command->name, ' ');
        arguments.emplace_back("--help");
        const auto help = run(arguments);
        EXPECT_EQ(help.status, ExitStatus::done);
        EXPECT_THAT(help.output, AllOf(HasSubstr("Usage: larkspan " + std::string(command->name)),
                                       HasSubstr("Example:\n  larkspan ")));
    }
}

TEST_F(FrontEndTests, WhatIsNoCommandGetsTheNearestOne) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> table{
        {{"statsu"}, "There is no command \"statsu\". Did you mean \"status\"?"},
        {{"frobnicate"}, "There is no command \"frobnicate\".\n"},
        {{"watch add"}, "There is no command \"watch add\"."},
        {{"watch"}, "A word is missing: watch add, watch list or watch remove."},
        {{"watch", "lsit"}, "Did you mean \"watch list\"?"},
        {{"versions"}, "Something is missing: PROJECT."},
        {{"versions", "a", "b"}, "\"b\" is one word too many."},
        {{"scan", "--wiat"}, "There is no option --wiat. Did you mean \"--wait\"?"},
        {{"scan", "--timeout", "5"}, "--timeout takes a number of seconds and goes with --wait."},
        {{"scan", "--wait", "--timeout", "-1"}, "--timeout takes a number of seconds"},
    };
    for (const auto& [arguments, message] : table) {
        const auto outcome = run(arguments);
        EXPECT_EQ(outcome.status, ExitStatus::wrongUsage) << message;
        EXPECT_THAT(outcome.messages, AllOf(HasSubstr(message), HasSubstr("larkspan")));
        EXPECT_EQ(outcome.output, "");
    }
}

TEST_F(FrontEndTests, ScanWithoutAHelperFailsAndSaysHowToStartOne) {
    const auto outcome = run({"scan", "--wait"});
    EXPECT_EQ(outcome.status, ExitStatus::failed);
    EXPECT_THAT(outcome.messages, HasSubstr("No helper is running.\nStart it with: "));
}

TEST_F(FrontEndTests, ScanWaitsUntilItsOwnRunsHaveEnded) {
    startHelper();
    runsQueued = 5;
    EXPECT_EQ(run({"scan", "--wait"}).status, ExitStatus::done);
    EXPECT_THAT(called, ::testing::ElementsAre("startBackupScan"));
    EXPECT_EQ(runsEnded, 6) << "was not asked until the fifth run had ended";
    EXPECT_EQ(run({"scan"}).status, ExitStatus::done);
    EXPECT_EQ(runsEnded, 6);
}

TEST_F(FrontEndTests, ScanThatTakesTooLongFails) {
    startHelper();
    runsQueued = 1'000'000;
    const auto outcome = run({"scan", "--wait", "--timeout", "3"});
    EXPECT_EQ(outcome.status, ExitStatus::failed);
    EXPECT_THAT(outcome.messages, HasSubstr("has not ended in time"));
    EXPECT_LT(runsEnded, 40);
}

TEST_F(FrontEndTests, NothingIsEverLoggedOrPrintedBesideTheOutput) {
    writeFile(*Preferences::frontEndFile(), "torn");
    for (const std::string command : {"status", "projects", "prefs"}) (void)run({command});
    setPreferences({{"storagePath", "/Store"}});
    fake.files.addFile(Path("/Store/A.localized/Settings.plist"), "torn");
    for (const std::string command : {"status", "projects", "prefs"}) (void)run({command});
    EXPECT_THAT(fake.console.printed(), IsEmpty());
    EXPECT_FALSE(fake.files.exists(Path("/fake/home/Library/Logs")));
}

}  // namespace
}  // namespace larkspan
