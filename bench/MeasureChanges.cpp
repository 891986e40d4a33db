#include "Measure.h"
#include "TemporaryHome.h"
#include "changes/ChangeListDriver.h"
#include "changes/Sentence.h"
#include "foundation/Text.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

namespace larkspan::bench {
namespace {

// Without caches or annotations.
ChangeListSurroundings surroundings() {
    return {.cacheFolder = [] { return std::nullopt; },
            .cacheFile = [](const Path& folder, const Path&) { return folder; },
            .annotationForFile = [](const Path&) { return std::nullopt; },
            .currentBundlePath = [] { return std::nullopt; }};
}

// Of "VmRSS" or "VmHWM", in KiB; 0 where the system does not say.
long memory(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field + ":")) return integerValue(line.substr(field.size() + 1));
    }
    return 0;
}

const Value::Array& sentencesOf(const Value::Dictionary& entry) {
    return *entry.at("changelist").array();
}

}  // namespace

int measureChanges(const std::vector<std::string>& arguments) {
    TemporaryHome home({});
    ZBLog::createNewLog();
    ChangeListDriver driver(surroundings());
    int status = EXIT_FAILURE;
    // Off the main thread, as in the helper.
    std::thread([&] {
        const long before = memory("VmRSS");
        const auto start = std::chrono::steady_clock::now();
        const ChangeListDriver::Entry entry =
            driver.changelistForFile(Path(arguments[0]), Path(arguments[1]));
        const std::chrono::duration<double, std::milli> passed =
            std::chrono::steady_clock::now() - start;
        if (!entry) return;
        driver.memory().forget();
        (void)std::fprintf(stderr, "ms %.1f, KiB before %li, at most %li, after %li\n",
                           passed.count(), before, memory("VmHWM"), memory("VmRSS"));
        for (const Value& sentence : sentencesOf(*entry)) {
            (void)std::puts(cutForShowing(*sentence.string()).c_str());
        }
        status = EXIT_SUCCESS;
    }).join();
    return status;
}

int measureHistory(const std::vector<std::string>& arguments) {
    TemporaryHome home({});
    ZBLog::createNewLog();
    ChangeListDriver driver(surroundings());
    platform::Files& files = platform::Platform::current().files;
    Path folder(arguments[0]);
    if (files.isFolder(folder / "Versions")) folder = folder / "Versions";
    const auto versions = files.contentsOfFolder(folder);
    if (!versions) {
        (void)std::fprintf(stderr, "%s\n", versions.error().description.c_str());
        return EXIT_FAILURE;
    }
    std::thread([&] {
        const auto start = std::chrono::steady_clock::now();
        std::optional<Path> previous;
        for (const auto& version : *versions) {
            if (!version.name.ends_with(".xml")) continue;
            const ChangeListDriver::Entry entry =
                driver.changelistForFile(folder / version.name, previous);
            (void)std::printf("%s %zu\n", version.name.c_str(),
                              entry ? sentencesOf(*entry).size() : 0);
            previous = folder / version.name;
        }
        driver.memory().forget();
        const std::chrono::duration<double, std::milli> passed =
            std::chrono::steady_clock::now() - start;
        (void)std::printf("ms %.1f\n", passed.count());
    }).join();
    return EXIT_SUCCESS;
}

}  // namespace larkspan::bench
