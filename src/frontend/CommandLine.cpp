#include "frontend/CommandLine.h"

#include "frontend/Suggestions.h"

#include <algorithm>
#include <cctype>

namespace larkspan {
namespace {

constexpr Option helpOption{"help", nullptr, ""};

const Option* find(std::span<const Option> options, std::string_view name) {
    if (name == helpOption.name) return &helpOption;
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&](const Option& option) { return option.name == name; });
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
    for (size_t at = 0; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        if (argument == "--") {
            auto& words = parsed.arguments.words_;
            words.insert(words.end(), arguments.begin() + static_cast<std::ptrdiff_t>(at) + 1,
                         arguments.end());
            break;
        }
        if (!isOption(argument)) {
            parsed.arguments.words_.push_back(argument);
            continue;
        }
        const size_t equals = argument.find('=');
        const std::string written = argument.substr(0, equals);
        const Option* option = written == "-h"             ? &helpOption
                               : written.starts_with("--") ? find(options, written.substr(2))
                                                           : nullptr;
        if (!option) {
            parsed.problem = unknownOption(options, written);
            break;
        }
        std::string value;
        if (!option->valueName) {
            if (equals != std::string::npos) parsed.problem = written + " takes no value.";
        } else if (equals != std::string::npos) {
            value = argument.substr(equals + 1);
        } else if (at + 1 < arguments.size()) {
            value = arguments[++at];
        } else {
            parsed.problem = written + " needs a value: " + option->valueName + ".";
        }
        parsed.arguments.options_.insert_or_assign(option->name, value);
        if (!parsed.problem.empty()) break;
    }
    return parsed;
}

}  // namespace larkspan
