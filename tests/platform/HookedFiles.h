#pragma once

#include "platform/linux/LinuxFileCalls.h"
#include "platform/posix/PosixFiles.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <functional>
#include <optional>

namespace larkspan::testing {

// The calls of Linux, of which a test may answer some itself. A hook gives the errno value to fail
// with, or nothing to let the call be made. Nothing is cloned unless a test says so.
struct HookedCalls : platform::LinuxFileCalls {
    using Hook = std::function<std::optional<int>()>;
    bool clones = false;
    Hook beforeCopyRange;
    Hook beforeRename;
    Hook beforeSync;
    size_t largestRange = SIZE_MAX;
    std::chrono::nanoseconds dateStep{1};  // dates are cut off to it

    int cloneFile(int source, int target) const override {
        return clones ? LinuxFileCalls::cloneFile(source, target) : EOPNOTSUPP;
    }
    int copyRange(int source, int target, size_t size, size_t& copied) const override {
        copied = 0;
        if (const auto answer = ask(beforeCopyRange)) return *answer;
        return LinuxFileCalls::copyRange(source, target, std::min(size, largestRange), copied);
    }
    int renameWithoutReplacing(int sourceFolder, const char* source, int targetFolder,
                               const char* target) const override {
        if (const auto answer = ask(beforeRename)) return *answer;
        return LinuxFileCalls::renameWithoutReplacing(sourceFolder, source, targetFolder, target);
    }
    int setDates(int folder, const char* name,
                 const std::array<timespec, 2>& times) const override {
        const long long step = dateStep.count();
        constexpr long long perSecond = 1'000'000'000;
        std::array<timespec, 2> cut = times;
        const long long moment = cut[1].tv_sec * perSecond + cut[1].tv_nsec;
        const long long kept = moment / step * step;
        cut[1] = {static_cast<time_t>(kept / perSecond), static_cast<long>(kept % perSecond)};
        return LinuxFileCalls::setDates(folder, name, cut);
    }
    int sync(int descriptor) const override {
        if (const auto answer = ask(beforeSync)) return *answer;
        return LinuxFileCalls::sync(descriptor);
    }

  private:
    static std::optional<int> ask(const Hook& hook) { return hook ? hook() : std::nullopt; }
};

struct HookedFiles : HookedCalls, platform::PosixFiles {
    HookedFiles() : PosixFiles(static_cast<const platform::FileCalls&>(*this)) {}
};

}  // namespace larkspan::testing
