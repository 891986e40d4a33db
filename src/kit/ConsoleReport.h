#pragma once

#include "foundation/MessageText.h"
#include "platform/Console.h"
#include "platform/Platform.h"

namespace larkspan {

// Writes a message on the system console, not into the log.
template <class... Arguments>
void reportToConsole(MessageText<Arguments...> text, const Arguments&... arguments) {
    platform::Platform::current().console.report(text.format(arguments...));
}

// The same for diagnosis, which is shown only to who asked for it.
template <class... Arguments>
void reportDetailToConsole(MessageText<Arguments...> text, const Arguments&... arguments) {
    platform::Platform::current().console.detail(text.format(arguments...));
}

}  // namespace larkspan
