#include "frontend/CommandLine.h"

#include "frontend/Suggestions.h"

#include <algorithm>
#include <cctype>

namespace larkspan {
namespace {

constexpr Option helpOption{"help", nullptr, ""};
constexpr Option verboseOption{"verbose", nullptr, ""};

// The option that is written "--name"; null when there is none.
const Option* find(std::span<const Option> options, std::string_view written) {
    if (written == "--help" || written == "-h") return &helpOption;
    if (written == "--verbose") return &verboseOption;
    if (!written.starts_with("--")) return nullptr;
    const auto found = std::find_if(options.begin(), options.end(), [&](const Option& option) {
        return option.name == written.substr(2);
    });
    return found == options.end() ? nullptr : &*found;
}

bool isOption(const std::string& argument) {
    if (argument.size() < 2 || argument[0] != '-') return false;
    return std::isdigit(static_cast<unsigned char>(argument[1])) == 0;
}

std::string unknownOption(std::span<const Option> options, const std::string& argument) {
    std::vector<std::string> known{"--help"};
    for (const Option& option : options) known.push_back(std::string("--") + option.name);
    return "There is no option " + argument + "." + didYouMean(known, argument);
}

}  // namespace

std::optional<std::string> Arguments::value(std::string_view option) const {
    const auto found = options_.find(option);
    return found == options_.end() ? std::nullopt : std::optional(found->second);
}

Arguments::Parsed Arguments::parse(std::span<const std::string> arguments,
                                   std::span<const Option> options) {
    Parsed parsed;
    std::vector<std::string>& words = parsed.arguments.words_;
    for (auto next = arguments.begin(); next != arguments.end() && parsed.problem.empty();) {
        const std::string& argument = *next++;
        if (argument == "--") {
            words.insert(words.end(), next, arguments.end());
            break;
        }
        if (!isOption(argument)) {
            words.push_back(argument);
            continue;
        }
        const size_t equals = argument.find('=');
        const std::string written = argument.substr(0, equals);
        const Option* option = find(options, written);
        if (!option) {
            parsed.problem = unknownOption(options, written);
            continue;
        }
        std::string& value = parsed.arguments.options_[option->name];
        if (!option->valueName) {
            if (equals != std::string::npos) parsed.problem = written + " takes no value.";
        } else if (equals != std::string::npos) {
            value = argument.substr(equals + 1);
        } else if (next != arguments.end()) {
            value = *next++;
        } else {
            parsed.problem = written + " needs a value: " + option->valueName + ".";
        }
    }
    return parsed;
}

}  // namespace larkspan
