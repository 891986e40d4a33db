#include "soak/RestlessProject.h"

#include "support/Programs.h"

#include <chrono>
#include <fstream>

namespace larkspan::soak {

void RestlessProject::start() {
    rest();
    ends_ = false;
    thread_ = std::thread([this] { append(); });
}

void RestlessProject::rest() {
    ends_ = true;
    if (thread_.joinable()) thread_.join();
}

void RestlessProject::append() {
    while (!ends_) {
        const std::string line = "line " + std::to_string(++lines_) + "\n";
        std::ofstream(file_, std::ios::app) << line << std::flush;
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
}

Complaints RestlessProject::foreignVersions(const Store& store) const {
    Complaints complaints;
    for (const StoredProject& stored : store) {
        if (stored.project != file_) continue;
        for (const StoredVersion& version : stored.versions) {
            const std::string kept = testing::readWhole(Path(version.file.string()));
            const bool isState = testing::readWhole(Path(file_.string())).starts_with(kept);
            if (isState && (kept.empty() || kept.ends_with('\n'))) continue;
            complaints.push_back(version.file.string() + " is no state of " + file_.string());
        }
    }
    return complaints;
}

}  // namespace larkspan::soak
