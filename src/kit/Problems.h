#pragma once

#include "foundation/Date.h"
#include "foundation/MessageText.h"
#include "kit/ZBLog.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// A failure of this process that the user should know of.
struct Problem {
    std::string text;
    Date date = {};
    long number = 0;  // counted from 1 in this process
};

// Empty while nothing has failed. Any thread.
std::optional<Problem> lastProblem();
// The problems with higher numbers, oldest first, as far as they are among the last hundred.
std::vector<Problem> problemsAfter(long number);
void rememberProblem(const std::string& text);

// Logs a failure and remembers it as the last problem.
template <class... Arguments>
void logProblem(MessageText<Arguments...> text, const Arguments&... arguments) {
    ZBLog::appendLog(text, arguments...);
    rememberProblem(text.format(arguments...));
}

}  // namespace larkspan
