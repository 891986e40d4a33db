#include "platform/linux/ProcessTable.h"

#include "foundation/Text.h"
#include "platform/linux/StandardizedPath.h"
#include "platform/posix/SmallFile.h"

#include <cstdlib>
#include <memory>
#include <string>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

Path processFolder(int processID) {
    return Path("/proc") / std::to_string(processID);
}

bool belongsTo(int processID, unsigned userID) {
    struct stat facts = {};
    return ::stat(processFolder(processID).c_str(), &facts) == 0 && facts.st_uid == userID;
}

long long startOfMachine() {
    constexpr std::string_view key = "btime ";
    for (const std::string& line : split(readSmallFile(Path("/proc/stat")).value_or(""), '\n')) {
        if (line.starts_with(key)) return integerValue(line.substr(key.size()));
    }
    return 0;
}

// A field of the process's stat line, counted from 1 as in proc(5), from the third on.
std::optional<std::string> statField(int processID, int number) {
    const auto line = readSmallFile(processFolder(processID) / "stat");
    if (!line) return std::nullopt;
    // The second field, the name in brackets, may hold anything; the third stands behind the last
    // bracket.
    const size_t nameEnd = line->rfind(") ");
    if (nameEnd == std::string::npos) return std::nullopt;
    const std::vector<std::string> fields = split(line->substr(nameEnd + 2), ' ');
    const auto index = static_cast<size_t>(number - 3);
    return index < fields.size() ? std::optional(fields[index]) : std::nullopt;
}

}  // namespace

std::vector<int> processIDsOfUser(unsigned userID) {
    std::vector<int> found;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc"), ::closedir);
    while (const dirent* entry = folder ? ::readdir(folder.get()) : nullptr) {
        const int processID = static_cast<int>(integerValue(entry->d_name));
        if (processID > 0 && belongsTo(processID, userID)) found.push_back(processID);
    }
    return found;
}

std::optional<Path> executableOfProcess(int processID) {
    std::optional<Path> target = readLink(processFolder(processID) / "exe");
    constexpr std::string_view replacedMark = " (deleted)";
    if (!target || !target->str().ends_with(replacedMark)) return target;
    return Path(target->str().substr(0, target->str().size() - replacedMark.size()));
}

std::optional<std::string> firstArgumentOfProcess(int processID) {
    const auto commandLine = readSmallFile(processFolder(processID) / "cmdline");
    if (!commandLine || commandLine->empty()) return std::nullopt;
    return split(*commandLine, '\0').front();
}

std::optional<Path> homeOfProcess(int processID, const Path& otherwise) {
    constexpr std::string_view key = "HOME=";
    const auto environment = readSmallFile(processFolder(processID) / "environ");
    if (!environment) return std::nullopt;
    for (const std::string& variable : split(*environment, '\0')) {
        if (variable.starts_with(key)) {
            return standardizedPath(Path(variable.substr(key.size())));
        }
    }
    // While a program is being loaded, its environment is not there yet and reads as empty.
    constexpr int environmentEndField = 51;
    const auto environmentEnd = statField(processID, environmentEndField);
    if (!environmentEnd || *environmentEnd == "0") return std::nullopt;
    return otherwise;
}

std::optional<std::uint64_t> startTicksOfProcess(int processID) {
    constexpr int startField = 22;
    const auto ticks = statField(processID, startField);
    if (!ticks) return std::nullopt;
    return static_cast<std::uint64_t>(integerValue(*ticks));
}

Date dateFromStartTicks(std::uint64_t ticks) {
    static const long long machineStart = startOfMachine();
    constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;
    const auto perSecond = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
    const std::uint64_t fraction = ticks % perSecond * nanosecondsPerSecond / perSecond;
    return dateFromUnixTime(machineStart + static_cast<long long>(ticks / perSecond),
                            static_cast<long>(fraction));
}

}  // namespace larkspan::platform
