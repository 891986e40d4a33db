#include "soak/Soak.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace larkspan::soak {
namespace fs = std::filesystem;
namespace {

using std::chrono::milliseconds;

constexpr long versionLimit = 6;

void expectNone(const Complaints& complaints) {
    if (complaints.empty()) return;
    std::string all;
    for (const std::string& complaint : complaints) all += complaint + "\n";
    throw std::runtime_error(all);
}

}  // namespace

Soak::Soak(const Options& options)
    : options_(options),
      programs_(system_.platform().processes),
      root_(fs::path(programs_.home().str()).parent_path()),
      faults_(root_),
      dice_(options.seed),
      hasLimit_(!options.without.contains("limit") && dice_.chance(30)),
      editor_(dice_, model_, programs_.work().str(), !hasLimit_),
      restless_(fs::path(programs_.work().str()) / "restless.prproj"),
      helper_(programs_),
      reading_(programs_.store().str()) {
    programs_.setVariable("LD_PRELOAD", Faults::library());
    programs_.setVariable(faultRootVariable, root_.string());
}

std::vector<Soak::Round> Soak::rounds() {
    FaultControl& control = faults_.control();
    const auto sometimes = [this](int percent, const auto& disturb) {
        return [this, percent, disturb] {
            if (dice_.chance(percent)) disturb();
        };
    };
    std::vector<Round> rounds{
        {.kind = "quiet"},
        {.kind = "burst", .begin = [this] { editor_.makeFolders(dice_.between(50, 400)); }},
        {.kind = "kill",
         .disturb = sometimes(8,
                              [this] {
                                  model_.happens("kill");
                                  helper_.killAndStart();
                                  ++counts_["kills"];
                              })},
        {.kind = "second",
         .disturb = sometimes(4,
                              [this] {
                                  model_.happens("second helper");
                                  helper_.startSecond();
                                  ++counts_["second helpers"];
                              })},
        {.kind = "stop",
         .disturb = sometimes(8,
                              [this] {
                                  helper_.stopFor(milliseconds(dice_.between(10, 1500)));
                                  ++counts_["stops"];
                              })},
        {.kind = "restless", .begin = [this] { restless_.start(); }},
        {.kind = "error",
         .begin =
             [this, &control] {
                 control.errorNumber = dice_.of(std::vector{EIO, ESTALE, EMFILE, ENOMEM});
                 control.failingPerMille = dice_.of(std::vector{2, 20, 200, 1000});
                 model_.happens(std::string("calls fail: ") + std::strerror(control.errorNumber));
             },
         .callsFail = true},
        {.kind = "full",
         .begin =
             [this, &control] {
                 control.room = dice_.of(std::vector{0, 1000, 50'000, 2'000'000});
                 model_.happens("disk full");
             },
         .callsFail = true},
    };
    if (!hasLimit_) {
        rounds.push_back(
            {.kind = "clock", .begin = [this, &control] {
                 const int leap = dice_.of(std::vector{5, 60, 3600, 80'000});
                 control.clockOffset = dice_.chance(30) ? 0 : dice_.chance(50) ? leap : -leap;
                 clockLeapt_ = true;
                 model_.happens("clock leaps");
             }});
        rounds.push_back({.kind = "coarse", .begin = [this, &control] {
                              control.storeDateStep = dice_.between(0, 2);
                              model_.happens("dates of the store change their step");
                          }});
    }
    std::erase_if(rounds,
                  [this](const Round& round) { return options_.without.contains(round.kind); });
    return rounds;
}

void Soak::limitVersions() {
    const std::string limit = std::to_string(versionLimit);
    const std::vector<std::vector<std::string>> settings{{"backupManagementMinLimit", "3"},
                                                         {"currentBackupLimitSet", "1"},
                                                         {"currentBackupLimit", limit},
                                                         {"removalType", "1"}};
    for (const auto& setting : settings) {
        const auto set = programs_.larkspan({"prefs", setting[0], setting[1]});
        if (set.status != 0) throw std::runtime_error("prefs: " + set.error);
    }
}

void Soak::run() {
    const auto end = std::chrono::steady_clock::now() + options_.time;
    const auto added = programs_.larkspan({"watch", "add", programs_.work().str()});
    if (added.status != 0) throw std::runtime_error("watch add: " + added.error);
    if (hasLimit_) limitVersions();
    model_.isRestless(restless_.path());
    helper_.start();
    helper_.waitUntilItAnswers();
    const std::vector<Round> all = rounds();
    while (std::chrono::steady_clock::now() < end) play(choose(all));
    finish();
}

Soak::Round Soak::choose(const std::vector<Round>& rounds) {
    const Round& one = dice_.of(rounds);
    const Round& other = dice_.of(rounds);
    if (one.kind == other.kind || !dice_.chance(40)) return one;
    return {.kind = one.kind + " and " + other.kind,
            .begin =
                [&one, &other] {
                    one.begin();
                    other.begin();
                },
            .disturb =
                [&one, &other] {
                    one.disturb();
                    other.disturb();
                },
            .callsFail = one.callsFail || other.callsFail};
}

void Soak::play(const Round& round) {
    std::cout << round.kind << ": " << std::flush;
    const auto start = std::chrono::steady_clock::now();
    ++counts_["rounds of " + round.kind];
    clockLeapt_ = faults_.control().clockOffset != 0;
    round.begin();
    const int acts = dice_.between(5, 60);
    for (int act = 0; act < acts; ++act) {
        editor_.act();
        std::this_thread::sleep_for(
            milliseconds(dice_.chance(5) ? dice_.between(0, 5000) : dice_.between(0, 150)));
        round.disturb();
    }
    settle(round);
    const auto spent = std::chrono::steady_clock::now() - start;
    std::cout << acts << " acts, " << seen_.size() << " versions, "
              << std::chrono::duration_cast<milliseconds>(spent).count() << " ms" << std::endl;
}

void Soak::settle(const Round& round) {
    faults_.endFailures();
    helper_.waitUntilItAnswers();
    if (round.callsFail) {
        restless_.rest();
        helper_.scan();
    }
    Complaints missing;
    const bool inTime = testing::waitFor(
        [&] {
            helper_.expectRunning();
            missing = missingStates(model_, reading_.read());
            return missing.empty();
        },
        patience);
    if (!inTime) expectNone(missing);
    restless_.rest();
    check(round.callsFail);
}

void Soak::check(bool someUnread) {
    // A run that is still under way may just be removing what is too much.
    helper_.scan();
    const Store store = reading_.read();
    const auto limit = hasLimit_ ? std::optional(versionLimit) : std::nullopt;
    expectNone(foreignVersions(model_, store, seen_, clockLeapt_));
    expectNone(restless_.foreignVersions(store));
    expectNone(doubles(model_, store, seen_, someUnread));
    expectNone(losses(seen_, store, limit));
    // An old version gets the date of an unchanged save where that can be.
    if (!someUnread) expectNone(earlyDates(model_, store, seen_));
    expectNone(missingStates(model_, store));
    seen_ = seenIn(store);
    ++counts_["checks"];
}

void Soak::finish() {
    reading_.forget();
    check(false);
    helper_.killAndStart();
    helper_.waitUntilItAnswers();
    helper_.scan();
    check(false);
    expectNone(
        leavings({programs_.home().str(), programs_.work().str(), programs_.temporary().str()},
                 reading_.read()));
    helper_.end();
    if (programs_.log().find("Exception") != std::string::npos) {
        throw std::runtime_error("the log tells of an exception");
    }
}

std::string Soak::historyFor(const std::string& complaint) const {
    std::ostringstream text;
    for (const auto& [path, project] : model_.projects()) {
        if (complaint.find(path.string()) == std::string::npos) continue;
        text << path.string() << (project.exists ? "" : " (gone)") << ":\n";
        for (const std::string& action : project.history) text << "    " << action << '\n';
    }
    return text.str();
}

std::string Soak::counts() {
    std::ostringstream text;
    std::map<std::string, long> all = counts_;
    all.insert(editor_.done().begin(), editor_.done().end());
    all["versions"] = static_cast<long>(seen_.size());
    all["failed calls"] = static_cast<long>(faults_.control().failed);
    for (const auto& [what, count] : all) text << what << ": " << count << '\n';
    return text.str();
}

}  // namespace larkspan::soak
