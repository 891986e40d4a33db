#include "platform/linux/PkexecAuthorization.h"

#include "platform/linux/ProcessTable.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace larkspan::platform {
namespace {

constexpr Seconds betweenLooks = std::chrono::milliseconds(10);
constexpr Seconds longestQuestion = std::chrono::minutes(10);  // for a person
constexpr size_t mostArguments = 16;
// xargs starts a tool with every so many texts: how many of them only fill up, those, and the rest.
constexpr size_t textsForATool = mostArguments + 2;
// One tool that fails is no reason to end.
constexpr const char* startTool = "shift \"$0\"; \"$@\" || :";

const Path xargs("/usr/bin/xargs");

std::vector<std::string> commandLine(Asking asking) {
    std::vector<std::string> arguments = {
        xargs.str(), "-0", "-n", std::to_string(textsForATool), "/bin/sh", "-c", startTool};
    if (asking == Asking::atDesktop)
        arguments.insert(arguments.begin(), "--disable-internal-agent");
    return arguments;
}

// Whether pkexec has become the program that it was to start, in the same process.
bool isGranted(Process& process) {
    return Path(firstArgumentOfProcess(process.processID()).value_or(std::string())) == xargs;
}

std::string textsFor(const Path& tool, const std::vector<std::string>& arguments) {
    std::string texts;
    const auto add = [&](const std::string& text) { texts.append(text).push_back('\0'); };
    const size_t filling = mostArguments - arguments.size();
    add(std::to_string(filling));
    texts.append(filling, '\0');
    add(tool.str());
    for (const std::string& argument : arguments) add(argument);
    return texts;
}

}  // namespace

std::unique_ptr<PkexecAuthorization> PkexecAuthorization::ask(Processes& processes, Clock& clock,
                                                              const Path& pkexec, Asking asking,
                                                              const GivenUp& givenUp) {
    const auto launched = processes.launch({.launchPath = pkexec,
                                            .arguments = commandLine(asking),
                                            .input = Stream::pipe,
                                            .output = Stream::pipe});
    if (!launched) return nullptr;
    Process& process = **launched;
    const Seconds begun = clock.uptime();
    while (process.isRunning()) {
        if (isGranted(process)) {
            return std::unique_ptr<PkexecAuthorization>(new PkexecAuthorization(*launched));
        }
        if (givenUp() || clock.uptime() - begun > longestQuestion) {
            process.kill();
            process.endInput();  // should it be the administrator's by now, it has nothing to do
            return nullptr;
        }
        clock.sleepFor(betweenLooks);
    }
    return nullptr;
}

std::int32_t PkexecAuthorization::execute(const Path& tool,
                                          const std::vector<std::string>& arguments,
                                          WaitForOutput wait) {
    const auto holdsZeroByte = [](const std::string& text) {
        return text.find('\0') != std::string::npos;
    };
    if (!tool.isAbsolute() || holdsZeroByte(tool.str()) ||
        std::ranges::any_of(arguments, holdsZeroByte)) {
        return EINVAL;
    }
    if (arguments.size() > mostArguments) return E2BIG;
    const std::lock_guard lock(telling_);
    if (const int failed = xargs_->writeInput(textsFor(tool, arguments))) return failed;
    if (wait == WaitForOutput::no) return 0;
    // xargs starts one tool after the other, so that this one ends when the next speaks.
    const std::string mark = "done " + std::to_string(++marks_);
    if (const int failed = xargs_->writeInput(textsFor(Path("/bin/echo"), {mark}))) return failed;
    readUntil(mark + '\n');
    return 0;
}

void PkexecAuthorization::readUntil(const std::string& mark) {
    std::string tail;
    while (!tail.ends_with(mark)) {
        const std::string chunk = xargs_->readAvailableOutput();
        if (chunk.empty()) return;
        tail += chunk;
        if (tail.size() > mark.size()) tail.erase(0, tail.size() - mark.size());
    }
}

}  // namespace larkspan::platform
