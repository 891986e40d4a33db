#include "platform/linux/LinuxPrivileges.h"

#include "platform/linux/PkexecAuthorization.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include <unistd.h>

namespace larkspan::platform {
namespace {

constexpr Seconds betweenLooks = std::chrono::milliseconds(10);
constexpr Seconds longestCheck = std::chrono::minutes(1);  // for a program alone

bool isProgram(const Path& path) {
    return ::access(path.c_str(), X_OK) == 0;
}

// The exit status; empty, and the program is ended, when it takes longer than that.
std::optional<int> exitStatus(Process& process, Clock& clock, Seconds longest) {
    const Seconds begun = clock.uptime();
    while (process.isRunning()) {
        if (clock.uptime() - begun > longest) {
            process.kill();
            return std::nullopt;
        }
        clock.sleepFor(betweenLooks);
    }
    return process.waitUntilExit();
}

void readToEnd(Process& process) {
    while (!process.readAvailableOutput().empty()) {
    }
}

std::vector<std::string> withTool(std::vector<std::string> options, const Path& tool,
                                  const std::vector<std::string>& arguments) {
    options.push_back(tool.str());
    options.insert(options.end(), arguments.begin(), arguments.end());
    return options;
}

LaunchRequest requestFor(const Path& program, std::vector<std::string> arguments,
                         WaitForOutput wait) {
    return {.launchPath = program,
            .arguments = std::move(arguments),
            .output = wait == WaitForOutput::yes ? Stream::pipe : Stream::nullDevice};
}

class SudoAuthorization final : public Authorization {
  public:
    SudoAuthorization(Processes& processes, Clock& clock, Path sudo)
        : processes_(processes), clock_(clock), sudo_(std::move(sudo)) {}
    SudoAuthorization(const SudoAuthorization&) = delete;
    SudoAuthorization& operator=(const SudoAuthorization&) = delete;
    ~SudoAuthorization() override { (void)succeeds({"-k"}); }

    // Never asks: where sudo has forgotten, the authorization has run out.
    std::int32_t execute(const Path& tool, const std::vector<std::string>& arguments,
                         WaitForOutput wait) override {
        if (!tool.isAbsolute()) return EINVAL;
        if (!succeeds({"-n", "-v"})) return EACCES;
        const auto process =
            processes_.launch(requestFor(sudo_, withTool({"-n", "--"}, tool, arguments), wait));
        if (!process) return static_cast<std::int32_t>(process.error().code);
        if (wait == WaitForOutput::yes) readToEnd(**process);
        return 0;
    }

    // Whether the password is right. What sudo remembers of earlier is not taken for an answer.
    bool checkPassword(const Secret& password) {
        std::string line;
        line.reserve(password.text().size() + 1);  // growing would leave a copy behind
        line.append(password.text()).push_back('\n');
        return succeeds({"-k"}) &&
               succeeds({"-S", "-p", "", "-v"}, std::make_shared<const Secret>(std::move(line)));
    }

  private:
    bool succeeds(const std::vector<std::string>& arguments,
                  std::shared_ptr<const Secret> input = nullptr) {
        const auto process = processes_.launch(
            {.launchPath = sudo_, .arguments = arguments, .inputText = std::move(input)});
        return process && exitStatus(**process, clock_, longestCheck) == 0;
    }

    Processes& processes_;
    Clock& clock_;
    const Path sudo_;
};

}  // namespace

LinuxPrivileges::LinuxPrivileges(Processes& processes, Clock& clock, StandardPlaces& places,
                                 PrivilegePrograms programs)
    : processes_(processes), clock_(clock), places_(places), programs_(std::move(programs)) {}

bool LinuxPrivileges::canAskPerson(Asking asking) {
    return isProgram(programs_.pkexec) && personCanBeAsked(programs_.personFacts(), asking);
}

std::unique_ptr<Authorization> LinuxPrivileges::authorize(Asking asking, const GivenUp& givenUp) {
    if (!canAskPerson(asking)) return nullptr;
    return PkexecAuthorization::ask(processes_, clock_, programs_.pkexec, asking, givenUp);
}

Result<std::unique_ptr<Authorization>> LinuxPrivileges::authorize(const std::string& user,
                                                                  const Secret& password) {
    if (!isProgram(programs_.sudo)) return posixError(ENOENT, programs_.sudo.str());
    const Error denied{privilegesErrorDomain, authorizationDenied, "not authorized"};
    constexpr std::string_view lineEnds("\n\0", 2);
    const bool isOneLine = password.text().find_first_of(lineEnds) == std::string_view::npos;
    if (user != places_.userName() || !isOneLine) return denied;
    auto authorization = std::make_unique<SudoAuthorization>(processes_, clock_, programs_.sudo);
    if (!authorization->checkPassword(password)) return denied;
    return std::unique_ptr<Authorization>(std::move(authorization));
}

}  // namespace larkspan::platform
