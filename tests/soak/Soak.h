#pragma once

#include "platform/linux/LinuxPlatform.h"
#include "soak/Checks.h"
#include "soak/Editor.h"
#include "soak/Faults.h"
#include "soak/HelperUnderTest.h"
#include "soak/RestlessProject.h"

#include <set>

namespace larkspan::soak {

struct Options {
    std::uint64_t seed = 0;
    std::chrono::seconds time{60};
    std::set<std::string> without;  // kinds of rounds that are left out
};

// Rounds of work and faults on the built programs, each followed by a look whether everything that
// must hold does. Throws std::runtime_error when something does not.
class Soak {
  public:
    explicit Soak(const Options& options);

    void run();
    // What was done to the projects that a complaint names.
    std::string historyFor(const std::string& complaint) const;
    std::filesystem::path root() const { return root_; }
    // Leaves everything where it is at the end, for somebody to look at.
    void keepFolder() { programs_.keepFolder(); }
    std::string counts();

  private:
    struct Round {
        std::string kind;
        std::function<void()> begin = [] {};    // before the editor acts
        std::function<void()> disturb = [] {};  // now and then between the acts
        bool callsFail = false;                 // so that events may have gone unseen
    };

    void limitVersions();
    std::vector<Round> rounds();
    // One of them, or two at once.
    Round choose(const std::vector<Round>& rounds);
    void play(const Round& round);
    void settle(const Round& round);
    void check(bool someUnread);
    void finish();

    Options options_;
    platform::LinuxPlatform system_;
    testing::Programs programs_;
    std::filesystem::path root_;
    Faults faults_;
    Dice dice_;
    bool hasLimit_;
    Model model_;
    Editor editor_;
    RestlessProject restless_;
    HelperUnderTest helper_;
    StoreReading reading_;
    Seen seen_;
    bool clockLeapt_ = false;
    std::map<std::string, long> counts_;
};

}  // namespace larkspan::soak
