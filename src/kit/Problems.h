#pragma once

#include "foundation/Date.h"
#include "foundation/MessageText.h"
#include "kit/ZBLog.h"

#include <optional>
#include <string>

namespace larkspan {

// The last failure of this process that the user should know of.
struct Problem {
    std::string text;
    Date date;
};

// Empty while nothing has failed. Any thread.
std::optional<Problem> lastProblem();
void rememberProblem(const std::string& text);

// Logs a failure and remembers it as the last problem.
template <class... Arguments>
void logProblem(MessageText<Arguments...> text, const Arguments&... arguments) {
    ZBLog::appendLog(text, arguments...);
    rememberProblem(text.format(arguments...));
}

}  // namespace larkspan
