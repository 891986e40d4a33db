#include "Measure.h"
#include "TemporaryHome.h"
#include "backup/ZBLarkspanBackup.h"
#include "discovery/FolderScan.h"
#include "foundation/Text.h"
#include "kit/ZBLog.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <thread>

namespace larkspan::bench {
namespace {

// Off the main thread, as in the helper: there a batch run waits for its short log entries.
void offMainThread(const std::function<void()>& work) {
    std::thread(work).join();
}

void timeProcessing(ZBLarkspanBackup& engine) {
    const auto start = std::chrono::steady_clock::now();
    engine.processProjects();
    const std::chrono::duration<double, std::milli> passed =
        std::chrono::steady_clock::now() - start;
    (void)std::printf("ms %.1f\n", passed.count());
}

// So long a recent window that no version lies before it.
constexpr long everyDay = 100'000;

int manageBackups() {
    ZBLog::createNewLog();
    ZBLarkspanBackup engine;
    offMainThread([&] { engine.manageBackups(); });
    return EXIT_SUCCESS;
}

}  // namespace

int measureDiscover(const std::vector<std::string>& arguments) {
    TemporaryHome home({});
    const auto start = std::chrono::steady_clock::now();
    const ScanResult found = scanForProjects({{Path(arguments[0]), typeList(arguments[1])}}, {});
    const std::chrono::duration<double, std::milli> passed =
        std::chrono::steady_clock::now() - start;
    (void)std::fprintf(stderr, "ms %.1f\n", passed.count());
    for (const Path& project : found.projects) (void)std::puts(project.c_str());
    return EXIT_SUCCESS;
}

int measureScan(const std::vector<std::string>& arguments) {
    TemporaryHome home({{"storagePath", arguments[0]}});
    ZBLog::createNewLog();
    ZBLarkspanBackup engine;
    offMainThread([&] { timeProcessing(engine); });
    return EXIT_SUCCESS;
}

int measureRescan(const std::vector<std::string>& arguments) {
    TemporaryHome home({{"storagePath", arguments[0]}});
    ZBLog::createNewLog();
    ZBLarkspanBackup engine;
    offMainThread([&] {
        engine.processProjects();
        // What was changed only just before it was read is not trusted.
        std::this_thread::sleep_for(std::chrono::seconds(3));
        engine.processProjects();
        timeProcessing(engine);
    });
    return EXIT_SUCCESS;
}

int measureThin(const std::vector<std::string>& arguments) {
    TemporaryHome home({{"storagePath", arguments[0]},
                        {"backupManagementMinLimitSet", 0},
                        {"currentDayCount", everyDay},
                        {"currentBackupLimitSet", 1},
                        {"currentBackupLimit", integerValue(arguments[1])},
                        {"removalType", 1}});
    return manageBackups();
}

int measureKeep(const std::vector<std::string>& arguments) {
    TemporaryHome home({{"storagePath", arguments[0]}, {"currentDayCount", everyDay}});
    return manageBackups();
}

int measureVersion(const std::vector<std::string>& arguments) {
    TemporaryHome home({});
    ZBLog::createNewLog();
    ZBLarkspanBackup engine;
    const auto error = engine.backupProjectFile(Path(arguments[0]), Path(arguments[1]),
                                                VersionNumber{integerValue(arguments[2])});
    if (!error) return EXIT_SUCCESS;
    (void)std::fprintf(stderr, "%s\n", error->description.c_str());
    return EXIT_FAILURE;
}

}  // namespace larkspan::bench
