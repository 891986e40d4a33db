#pragma once

#include "platform/linux/LinuxFileEvents.h"
#include "platform/linux/LinuxMainThread.h"
#include "support/Pump.h"
#include "support/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace larkspan::testing {

// A temporary folder with a watched folder "root" in it, and what was reported of it.
class WatchScene {
  public:
    explicit WatchScene(platform::FileEventsOptions options = {})
        : fileEvents_(mainThread_, patient(std::move(options))) {
        makeFolder("root");
        makeFolder("marker");
    }

    // Paths are relative to the temporary folder.
    Path path(const std::string& relative) const { return top_.path() / relative; }
    void makeFolder(const std::string& relative) {
        std::filesystem::create_directories(path(relative).str());
    }
    void write(const std::string& file, const std::string& text = "text") {
        std::ofstream(path(file).str(), std::ios::app | std::ios::binary) << text;
    }
    void rename(const std::string& from, const std::string& to) {
        std::filesystem::rename(path(from).str(), path(to).str());
    }
    void remove(const std::string& item) { std::filesystem::remove_all(path(item).str()); }
    // One event of the system.
    void changeIn(const std::string& folder) {
        const std::string link = folder + "/change" + std::to_string(++changes_);
        std::filesystem::create_symlink("nowhere", path(link).str());
    }

    void start(const std::vector<std::string>& roots = {"root"},
               platform::ExcludedTrees excluded = {}) {
        std::vector<Path> paths;
        for (const std::string& root : roots) paths.push_back(path(root));
        paths.push_back(path("marker"));
        stream_ = fileEvents_.start(
            std::move(paths), std::chrono::milliseconds(5),
            [this](const auto& events) {
                for (const platform::FileEvent& event : events) {
                    seen_[event.path.str()] |= event.flags;
                }
            },
            std::move(excluded));
    }
    void stop() { stream_.reset(); }

    bool waitUntil(const std::function<bool()>& condition) {
        return pumpUntil(mainThread_, condition);
    }
    // Waits until the folder is reported with the flags.
    bool sees(const std::string& folder, std::uint32_t flags = 0) {
        return waitUntil([&] { return hasSeen(folder, flags); });
    }
    bool hasSeen(const std::string& folder, std::uint32_t flags = 0) const {
        const auto found = seen_.find(path(folder).str() + '/');
        return found != seen_.end() && (found->second & flags) == flags;
    }
    // Waits until all changes so far are reported.
    bool settle() {
        seen_.erase(path("marker").str() + '/');
        changeIn("marker");
        return sees("marker");
    }
    // The same, and forgets them.
    bool forget() {
        const bool settled = settle();
        seen_.clear();
        return settled;
    }
    // Whether a change made now is reported.
    bool watches(const std::string& folder) {
        if (!forget()) return false;
        changeIn(folder);
        return settle() && hasSeen(folder);
    }

    platform::WatchedRoot root(size_t number = 0) const { return stream_->roots().at(number); }

  private:
    // Unless a test says otherwise, all is watched when start() returns, also on a busy machine.
    static platform::FileEventsOptions patient(platform::FileEventsOptions options) {
        if (options.startWait == platform::FileEventsOptions().startWait) {
            options.startWait = std::chrono::seconds(30);
        }
        return options;
    }

    TemporaryFolder top_;
    platform::LinuxMainThread mainThread_;
    platform::LinuxFileEvents fileEvents_;
    std::unique_ptr<platform::FileEvents::Stream> stream_;
    std::map<std::string, std::uint32_t> seen_;
    int changes_ = 0;
};

}  // namespace larkspan::testing
