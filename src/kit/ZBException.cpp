#include "kit/ZBException.h"

#include "kit/ZBLog.h"

namespace larkspan {

std::string ZBException::logException(const RaisedException& exception, const char* forMethod) {
    std::string text =
        messageText("Exception in %s. %@ - %@.", forMethod, exception.name, exception.reason);
    // The finished text serves as the format, on purpose, as everywhere in appendLogAndPrint.
    ZBLog::appendAndPrintText(formatMessage(text, {}));
    return text;
}

bool ZBException::didTimeout(const RaisedException& exception) {
    return exception.name == "NSPortTimeoutException";
}

}  // namespace larkspan
