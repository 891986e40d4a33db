#include "frontend/FrontEnd.h"

#include "frontend/Commands.h"
#include "platform/Bundles.h"
#include "platform/Console.h"
#include "platform/Platform.h"

#include <algorithm>
#include <exception>

namespace larkspan {
namespace {

constexpr const char* howToGetHelp = "See larkspan --help.";

ExitStatus wrongUsage(Context& context, const std::string& problem, const std::string& advice) {
    context.output.error(problem, advice);
    return ExitStatus::wrongUsage;
}

ExitStatus showVersion(Context& context) {
    const platform::Bundle bundle = platform::Platform::current().bundles.mainBundle();
    const std::string version = bundle.infoString("CFBundleVersion");
    context.output.line("larkspan " + (version.empty() ? "(unknown version)" : version));
    return ExitStatus::done;
}

ExitStatus runCommandWith(const Command& command, std::span<const std::string> arguments,
                          Context& context) {
    const auto parsed = Arguments::parse(arguments, command.options);
    if (parsed.arguments.has("help")) {
        context.output.line(helpText(command));
        return ExitStatus::done;
    }
    const std::string help = "See larkspan " + std::string(command.name) + " --help.";
    if (!parsed.problem.empty()) return wrongUsage(context, parsed.problem, help);
    const size_t words = parsed.arguments.words().size();
    if (words < command.fewestWords) {
        return wrongUsage(context, "Something is missing: " + std::string(command.words) + ".",
                          help);
    }
    if (words > command.mostWords) {
        const std::string& extra = parsed.arguments.words()[command.mostWords];
        return wrongUsage(context, "\"" + extra + "\" is one word too many.", help);
    }
    if (parsed.arguments.has("verbose")) platform::Platform::current().console.showDetails();
    try {
        return command.run(parsed.arguments, context);
    } catch (const std::exception& exception) {
        context.output.error(exception.what());
        return ExitStatus::failed;
    }
}

bool isHelp(const std::string& argument) {
    return argument == "--help" || argument == "-h" || argument == "help";
}

}  // namespace

ExitStatus runFrontEnd(const std::vector<std::string>& arguments, Context& context) {
    if (arguments.empty()) {
        context.output.message(generalHelp());
        return ExitStatus::wrongUsage;
    }
    const bool asksForGroup =
        arguments.size() > 1 && isFirstWord(arguments[0]) && isHelp(arguments[1]);
    if (isHelp(arguments[0]) || asksForGroup) {
        context.output.line(generalHelp());
        return ExitStatus::done;
    }
    if (arguments[0] == "--version") return showVersion(context);
    if (const Command* command = findCommand(arguments)) {
        const auto nameWords = std::count(command->name.begin(), command->name.end(), ' ') + 1;
        return runCommandWith(
            *command, std::span(arguments).subspan(static_cast<size_t>(nameWords)), context);
    }
    return wrongUsage(context, unknownCommand(arguments), howToGetHelp);
}

}  // namespace larkspan
