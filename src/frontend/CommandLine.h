#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// An option of a command, written "--name", "--name VALUE" or "--name=VALUE".
struct Option {
    const char* name;       // without the dashes
    const char* valueName;  // as the help shows it; null for an option without a value
    const char* help;
};

// What was typed behind a command, sorted into words and options.
class Arguments {
  public:
    const std::vector<std::string>& words() const { return words_; }
    bool has(std::string_view option) const { return options_.contains(option); }
    // Empty when the option was not given.
    std::optional<std::string> value(std::string_view option) const;

    // Sorts the arguments. On wrong usage `problem` says in a sentence what is wrong. "--" ends
    // the options, and a negative number is a word. "--help" is always known.
    struct Parsed;
    static Parsed parse(std::span<const std::string> arguments, std::span<const Option> options);

  private:
    std::vector<std::string> words_;
    std::map<std::string, std::string, std::less<>> options_;
};

struct Arguments::Parsed {
    Arguments arguments;
    std::string problem;  // "" when all is well
};

}  // namespace larkspan
