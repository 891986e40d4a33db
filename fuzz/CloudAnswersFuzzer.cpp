#include "sync/CloudAnswers.h"

#include <cstdint>
#include <cstdlib>
#include <string>

// Every answer gives a value or an error, and a value holds what callers rely on.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    using namespace larkspan;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const auto metadata = cloudanswers::metadata(bytes);
    if (metadata && metadata->path.text.empty()) std::abort();
    const auto page = cloudanswers::listedPage(bytes);
    if (page && page->hasMore && page->cursor.empty()) std::abort();
    const auto token = cloudanswers::token(std::string(bytes));
    if (token && token->accessToken.text().empty()) std::abort();
    (void)cloudanswers::sessionId(bytes);
    const HttpAnswer answer{.status = 409, .headers = {{"retry-after", bytes}}, .body = bytes};
    (void)cloudanswers::failure(answer);
    (void)cloudanswers::tokenFailure(answer);
    return 0;
}
