#include "foundation/NotificationCenter.h"
#include "kit/Identifiers.h"
#include "kit/ZBException.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "support/FakePlatformTest.h"

#include <cerrno>
#include <thread>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class ZBLogTest : public testing::FakePlatformTest {
  protected:
    Path folder() const {
        return *ZBLocalPaths::libraryDirectory(UserDomain::yes) / "Logs/Corvane";
    }
    Path generation(int number) const {
        return folder() / messageText("LarkspanHelper.%i.log", number);
    }
    void disableLogging(const Value& value) {
        const Path file =
            *ZBLocalPaths::prefsDirectory(UserDomain::yes) / organisationPreferencesFile;
        ASSERT_FALSE(savePropertyList(Value::Dictionary{{"disable-logging", value}}, file));
    }
};

TEST_F(ZBLogTest, BeginsWithAHeader) {
    ZBLog::createNewLog();
    ZBLog::finishWriting();
    const std::string content = contentOf(generation(1));
    const std::vector<std::string> lines = split(content, '\n');
    ASSERT_EQ(lines.size(), 6U) << content;
    const std::string date = dateDescription(fake.clock.now());
    EXPECT_EQ(lines[0], date + " - Log started: " + date);
    EXPECT_EQ(lines[1], date + " - Version: 0.1");
    EXPECT_THAT(lines[2], StartsWith(date + " - Path: /"));
    EXPECT_EQ(lines[3], date + " - System: OS X Test System 1.0, 2 CPU(s), 4.00 GB RAM");
    EXPECT_EQ(lines[4], date + " - Running in 64-bit mode");
    EXPECT_EQ(lines[5], "");
}

TEST_F(ZBLogTest, RotatesGenerations) {
    struct Case {
        std::vector<int> before;
        std::vector<std::string> after;  // what generations 2 to 5 hold
    };
    const Case cases[] = {{{1, 2, 3, 4, 5}, {"was 1", "was 2", "was 3", "was 4"}},
                          {{1, 3}, {"was 1", "-", "was 3", "-"}},
                          {{3}, {"-", "was 3", "-", "-"}},
                          {{}, {"-", "-", "-", "-"}}};
    for (const Case& c : cases) {
        (void)fake.files.removeItem(folder());
        for (const int number : c.before) {
            writeFile(generation(number), "was " + std::to_string(number));
        }
        ZBLog::createNewLog();
        ZBLog::finishWriting();
        EXPECT_THAT(contentOf(generation(1)), HasSubstr("Log started: "));
        for (int number = 2; number <= 5; ++number) {
            const bool there = fake.files.exists(generation(number));
            const std::string& expected = c.after[static_cast<size_t>(number - 2)];
            // Without a generation 1 nothing moves.
            if (c.before == std::vector<int>{1, 3} && number == 4) {
                EXPECT_EQ(contentOf(generation(4)), "was 3");
                continue;
            }
            if (c.before == std::vector<int>{1, 3} && number == 3) {
                EXPECT_FALSE(there);
                continue;
            }
            EXPECT_EQ(there ? contentOf(generation(number)) : "-", expected) << number;
        }
    }
}

TEST_F(ZBLogTest, WritesTrimmedEntriesAndDropsBlankOnes) {
    ZBLog::createNewLog();
    ZBLog::appendLog("  Backup interval: %i \n\n", 630);
    ZBLog::appendLog(" \n\t ");
    ZBLog::fastAppendLog("100%% of %@", "it");
    EXPECT_THAT(loggedLines(), ElementsAre("Backup interval: 630", "100% of it"));
    EXPECT_EQ(ZBLog::sharedController().bytesInQueue(), 0U);
}

TEST_F(ZBLogTest, FormatsPrintedEntriesTwiceInTheLog) {
    ZBLog::createNewLog();
    ZBLog::appendLogAndPrint(" Error: %@ is not executable ", "/bin/a%@b 50%");
    EXPECT_THAT(loggedLines(), ElementsAre("Error: /bin/a(null)b 50(null)s not executable"));
    EXPECT_THAT(fake.console.printed(), ElementsAre("Error: /bin/ab 50%% is not executable"));
}

TEST_F(ZBLogTest, RotatesWhenTheLimitIsReached) {
    ZBLog::createNewLog();
    const std::string big(250'000, 'x');
    ZBLog::appendLog("%@", big);
    ZBLog::appendLog("%@", big);
    ZBLog::finishWriting();
    ZBLog::appendLog("after");
    EXPECT_THAT(contentOf(generation(2)), HasSubstr(big));
    EXPECT_THAT(loggedLines(), ElementsAre("Log truncated at 500KB", "after"));
    EXPECT_LT(ZBLog::sharedController().bytesWritten(), 1000U);
}

TEST_F(ZBLogTest, RotatesAmongEntriesThatWaitTogether) {
    ZBLog::createNewLog();
    constexpr int count = 2000;
    const std::string filling(300, 'x');
    for (int i = 0; i < count; ++i) ZBLog::fastAppendLog("%i %@", i, filling);
    ZBLog::finishWriting();
    EXPECT_EQ(ZBLog::sharedController().bytesInQueue(), 0U);
    constexpr size_t limit = 500'000;
    const std::string full = contentOf(generation(2));
    const auto lines = split(full, '\n');
    EXPECT_GE(full.size(), limit);
    EXPECT_LT(full.size() - lines[lines.size() - 2].size() - 1, limit) << "by the last line";
    const auto later = split(contentOf(generation(1)), '\n');
    EXPECT_THAT(later[0], HasSubstr(filling)) << "what waited stands before the header";
    int next = 0;
    for (const auto* file : {&lines, &later}) {
        for (const std::string& line : *file) {
            if (!line.ends_with(filling)) continue;
            EXPECT_THAT(line, HasSubstr(" - " + std::to_string(next++) + " x"));
        }
    }
    EXPECT_EQ(next, count) << "none is lost, in their order";
}

TEST_F(ZBLogTest, PrintsWhyForEveryEntryThatCannotBeWritten) {
    ZBLog::createNewLog();
    ZBLog::finishWriting();
    fake.faults.refuseCall(platform::FileOperation::append, 1, ENOSPC);
    std::thread([&] { ZBLog::appendLog("lost"); }).join();
    EXPECT_THAT(fake.console.printed(), ElementsAre(StartsWith("Exception writing to log: ")));
    EXPECT_EQ(ZBLog::sharedController().bytesInQueue(), 4U) << "it stays counted";
    ZBLog::appendLog("written");
    EXPECT_THAT(loggedLines(), ElementsAre("written"));
}

TEST_F(ZBLogTest, CanBeDisabled) {
    const std::pair<Value, bool> cases[] = {{"1", true},    {true, true}, {1, true},
                                            {"yes", false}, {2, false},   {"true", false}};
    for (const auto& [value, disabled] : cases) {
        ZBLog::discardSharedController();
        (void)fake.files.removeItem(folder());
        disableLogging(value);
        ZBLog::createNewLog();
        ZBLog::appendLog("entry");
        ZBLog::finishWriting();
        EXPECT_EQ(ZBLog::sharedController().loggingDisabled(), disabled) << describe(value);
        EXPECT_EQ(fake.files.exists(folder()), !disabled) << describe(value);
    }
    EXPECT_THAT(fake.console.printed(), Contains("Logging is disabled").Times(3));
}

TEST_F(ZBLogTest, GoesOnWithTheCurrentFileOrPrintsWhatItCannotWrite) {
    ZBLog::appendLog("nowhere to go");
    ZBLog::finishWriting();
    EXPECT_THAT(fake.console.printed(),
                ElementsAre("Unable to log the following information: nowhere to go",
                            "Unable to open log for output"));
    writeFile(generation(1), "first\n");
    ZBLog::appendLog("second");
    ZBLog::finishWriting();
    EXPECT_THAT(contentOf(generation(1)), StartsWith("first\n"));
    EXPECT_THAT(contentOf(generation(1)), HasSubstr(" - second\n"));
}

TEST_F(ZBLogTest, SaysWhenItsFolderCannotBeMade) {
    writeFile(folder().deletingLastPathComponent(), "a file in the way");
    ZBLog::createNewLog();
    EXPECT_THAT(fake.console.printed(),
                ElementsAre("Unable to create folder " + folder().str() + "."));
}

TEST_F(ZBLogTest, IsStartedLaterWhenItCouldNotBeAtFirst) {
    const auto log = [](const char* text) {
        ZBLog::appendLog("%@", std::string(text));
        ZBLog::finishWriting();
    };
    fake.faults.refusePath(folder(), ENOSPC);
    ZBLog::createNewLog();
    log("one");
    EXPECT_THAT(fake.console.printed(), Contains("Unable to log the following information: one"));
    fake.faults.refusePath(folder(), 0);
    log("two");
    EXPECT_FALSE(fake.files.exists(folder())) << "not at every line";
    fake.clock.advance(Seconds(10.0));
    log("three");
    log("four");
    const std::vector<std::string> lines = split(contentOf(generation(1)), '\n');
    ASSERT_EQ(lines.size(), 8U) << contentOf(generation(1));
    EXPECT_THAT(lines, Contains(HasSubstr("Log started")).Times(1));
    EXPECT_THAT(lines, Contains(HasSubstr("three")));
    EXPECT_THAT(lines, Contains(HasSubstr("four")));
}

TEST_F(ZBLogTest, KeepsTheFirstName) {
    ZBLog::createNewLog("First");
    ZBLog::createNewLog("Second");
    ZBLog::finishWriting();
    EXPECT_EQ(ZBLog::sharedController().appName(), "First");
    EXPECT_THAT(namesIn(folder()), ElementsAre("First.1.log", "First.2.log"));
    EXPECT_THAT(ZBLog::availableLogs(),
                ElementsAre(folder() / "First.1.log", folder() / "First.2.log"));
}

TEST_F(ZBLogTest, ShortEntriesOffTheMainThreadAreOnDiskWhenTheCallReturns) {
    ZBLog::createNewLog();
    ZBLog::finishWriting();
    std::string seen;
    std::thread([&] {
        ZBLog::appendLog("short");
        seen = contentOf(generation(1));
    }).join();
    EXPECT_THAT(seen, HasSubstr(" - short\n"));
}

TEST_F(ZBLogTest, KeepsTheOrderOfOneThreadAmongMany) {
    ZBLog::createNewLog();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 50; ++i) ZBLog::appendLog("thread %i entry %i", t, i);
        });
    }
    for (auto& thread : threads) thread.join();
    std::vector<int> next(4, 0);
    const auto lines = loggedLines();
    EXPECT_EQ(lines.size(), 200U);
    for (const std::string& line : lines) {
        const auto words = split(line, ' ');
        ASSERT_EQ(words.size(), 4U);
        EXPECT_EQ(integerValue(words[3]), next[static_cast<size_t>(integerValue(words[1]))]++);
    }
}

TEST_F(ZBLogTest, EndsWithTheApplication) {
    ZBLog::createNewLog();
    ZBLog::appendLog("last words");
    NotificationCenter::defaultCenter().postNotification(applicationWillTerminateNotification);
    EXPECT_THAT(contentOf(generation(1)), HasSubstr("last words"));
}

TEST_F(ZBLogTest, ActingForAnotherUserItsCurrentFileLiesInTheLocalDomain) {
    fake.places.id = 0;
    fake.places.user = "root";
    fake.places.otherHomes["editor"] = Path("/homes/editor");
    const Path local = *ZBLocalPaths::libraryDirectory(UserDomain::no) / "Logs/Corvane";
    ASSERT_FALSE(fake.files.createFolder(local));
    ZBLog::createNewLog();
    ZBLog::finishWriting();
    EXPECT_THAT(contentOf(local / "LarkspanHelper.1.log"), HasSubstr("Log started"));
    EXPECT_THAT(folder().str(), StartsWith("/homes/editor/"));
    EXPECT_TRUE(fake.files.isFolder(folder()));
    EXPECT_THAT(namesIn(folder()), IsEmpty());

    ZBLog::discardSharedController();
    fake.places.id = 1000;
    fake.places.user = "editor";
    fake.places.startedByRoot = true;
    ZBLog::createNewLog("Second");
    ZBLog::finishWriting();
    EXPECT_THAT(contentOf(local / "Second.1.log"), HasSubstr("Log started"));
    EXPECT_THAT(namesIn(folder()), IsEmpty());
}

TEST_F(ZBLogTest, TurnsAnExceptionIntoALine) {
    ZBLog::createNewLog();
    EXPECT_EQ(ZBException::logException({"Kind", "why"}, "-[Class method]"),
              "Exception in -[Class method]. Kind - why.");
    EXPECT_THAT(loggedLines(), ElementsAre("Exception in -[Class method]. Kind - why."));
    EXPECT_TRUE(ZBException::didTimeout({"NSPortTimeoutException", ""}));
    EXPECT_FALSE(ZBException::didTimeout({"Other", "NSPortTimeoutException"}));
}

}  // namespace
}  // namespace larkspan
