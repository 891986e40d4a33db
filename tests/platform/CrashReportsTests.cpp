#include "platform/linux/LinuxCrashReports.h"
#include "platform/linux/LinuxFiles.h"
#include "platform/posix/FixedText.h"
#include "support/TemporaryFolder.h"

#include <cerrno>
#include <csignal>
#include <functional>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::KilledBySignal;
using ::testing::MatchesRegex;

TEST(FixedText, HoldsWhatFitsAndNumbersAndTimes) {
    FixedText<64> text;
    text.append("a");
    text.appendNumber(0);
    text.appendNumber(7, 3);
    text.appendNumber(0xbeef, 1, 16);
    text.appendNumber(UINT64_MAX);
    EXPECT_EQ(text.view(), "a0007beef18446744073709551615");
    FixedText<64> time;
    time.appendTime(std::chrono::sys_seconds(std::chrono::seconds(951'782'399)), "T", ":");
    EXPECT_EQ(time.view(), "2000-02-28T23:59:59");
    FixedText<4> small;
    small.append("abcdef");
    small.append("g");
    EXPECT_EQ(std::string(small.c_str()), "abcd");
}

// Runs on in a process of its own.
class CrashReportsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (checkersReportCrashes) GTEST_SKIP() << "the checkers report crashes";
    }
    void begin() {
        const rlimit none{};
        (void)setrlimit(RLIMIT_CORE, &none);
        LinuxCrashReports reports;
        const auto error =
            reports.begin({.folder = folder.path(), .application = "Editor", .version = "1.5"});
        if (error) _exit(1);
    }
    std::vector<std::string> reportNames() {
        std::vector<std::string> names;
        const auto entries = files.contentsOfFolder(folder.path());
        if (!entries) return names;
        for (const auto& entry : *entries) names.push_back(entry.name);
        return names;
    }
    void expectReport(const std::string& signal) {
        const auto names = reportNames();
        ASSERT_EQ(names.size(), 1U) << signal;
        EXPECT_THAT(names[0], MatchesRegex("Editor_[0-9]{4}-[0-9]{2}-[0-9]{2}-[0-9]{6}_[0-9]+"
                                           "\\.crash"));
        const auto text = files.readFile(folder.path() / names[0], 1 << 20);
        ASSERT_TRUE(text);
        EXPECT_THAT(*text,
                    AllOf(ContainsRegex("^Editor 1\\.5\nDate: 2[0-9: -]+ \\+0000\nProcess: "),
                          HasSubstr("(" + signal + ")"),
                          ContainsRegex("Backtrace:\n.*\n.*\\[0x[0-9a-f]+\\]")));
        EXPECT_FALSE(files.removeItem(folder.path() / names[0]));
    }

    testing::TemporaryFolder folder;
    LinuxFiles files;
};

[[gnu::noinline]] int overflow(volatile int* depth) {
    volatile int room[1024] = {*depth};
    const int further = *depth + 1;
    room[1] = further;
    int more = further;
    return more > 0 ? overflow(&room[1]) + room[0] : 0;
}

TEST_F(CrashReportsTest, EveryDeathLeavesAReportAndIsStillThatDeath) {
    struct Case {
        const char* name;
        int signal;
        std::function<void()> die;
    };
    const std::vector<Case> cases = {
        {"SIGSEGV", SIGSEGV, [] { *reinterpret_cast<volatile int*>(8) = 1; }},
        {"SIGSEGV", SIGSEGV, [] { (void)::kill(::getpid(), SIGSEGV); }},
        {"SIGABRT", SIGABRT, [] { std::abort(); }},
        {"SIGFPE", SIGFPE, [] { (void)::raise(SIGFPE); }},
        {"SIGILL", SIGILL, [] { (void)::raise(SIGILL); }},
        {"SIGTRAP", SIGTRAP, [] { (void)::raise(SIGTRAP); }},
        {"SIGSEGV", SIGSEGV,
         [] {
             volatile int depth = 1;
             (void)overflow(&depth);
         }},
        {"SIGABRT", SIGABRT, [] { std::thread([] { std::abort(); }).join(); }},
    };
    for (const Case& one : cases) {
        const auto dies = [&] {
            begin();
            one.die();
        };
        EXPECT_EXIT(dies(), KilledBySignal(one.signal), "");
        expectReport(one.name);
    }
}

TEST_F(CrashReportsTest, ThreadsThatDieTogetherLeaveOneWholeReport) {
    const auto dies = [&] {
        begin();
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([] { *reinterpret_cast<volatile int*>(8) = 1; });
        }
        for (std::thread& thread : threads) thread.join();
    };
    EXPECT_EXIT(dies(), KilledBySignal(SIGSEGV), "");
    expectReport("SIGSEGV");
}

TEST_F(CrashReportsTest, AFolderThatIsGoneChangesNothingElse) {
    const auto dies = [&] {
        begin();
        (void)files.removeItem(folder.path());
        std::abort();
    };
    EXPECT_EXIT(dies(), KilledBySignal(SIGABRT), "");
    EXPECT_FALSE(files.exists(folder.path()));
}

TEST_F(CrashReportsTest, WhatSeesToASignalAlreadyIsLeftInPlace) {
    const auto ends = [&] {
        (void)std::signal(SIGFPE, [](int) { _exit(7); });
        begin();
        (void)::raise(SIGFPE);
    };
    EXPECT_EXIT(ends(), ::testing::ExitedWithCode(7), "");
    EXPECT_TRUE(reportNames().empty());
}

TEST_F(CrashReportsTest, AnImpossibleNameIsRefused) {
    struct Case {
        CrashReportForm form;
        long code;
    };
    for (const Case& one :
         {Case{{.folder = folder.path(), .application = ""}, EINVAL},
          {{.folder = folder.path(), .application = "a/b"}, EINVAL},
          {{.folder = Path("logs"), .application = "a"}, EINVAL},
          {{.folder = folder.path(), .application = std::string(250, 'a')}, ENAMETOOLONG},
          {{.folder = Path("/" + std::string(5000, 'a')), .application = "a"}, ENAMETOOLONG}}) {
        const auto error = LinuxCrashReports().begin(one.form);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, one.code);
    }
}

}  // namespace
}  // namespace larkspan::platform
