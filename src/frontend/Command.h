#pragma once

#include "foundation/Path.h"
#include "frontend/CommandLine.h"
#include "frontend/Output.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace larkspan {

// What the program's caller learns.
enum class ExitStatus { done = 0, failed = 1, wrongUsage = 2 };

// What a command works with beside the platform in force.
struct Context {
    Output& output;
    Path currentDirectory;  // as the user sees it: links in it are not resolved

    // Calls back on the main thread when the user, or the system, asks the program to end, for as
    // long as what it returns is kept. Until it is called such a request ends the program at once.
    std::function<std::shared_ptr<void>(std::function<void()> asked)> onTermination;

    // A line that the user types, without its end; empty at the end of the input.
    std::function<std::optional<std::string>()> readLine = {};
};

enum class Listed { no, yes };

// One command: its words, its help, and its work.
struct Command {
    std::string_view name;     // "scan", "watch add"
    std::string_view words;    // what follows, for the help: "FOLDER"
    std::string_view summary;  // half a line for the list of commands
    std::string_view description;
    std::string_view example;
    std::span<const Option> options;
    size_t fewestWords = 0;
    size_t mostWords = 0;
    ExitStatus (*run)(const Arguments& arguments, Context& context);
    Listed listed = Listed::yes;  // in the program's help
};

inline constexpr Option jsonOption{"json", nullptr, "Write JSON."};

}  // namespace larkspan
