#include "platform/linux/PersonToAsk.h"

#include "foundation/Text.h"
#include "platform/linux/Display.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/SmallFile.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

bool hasTerminal() {
    return static_cast<bool>(FileDescriptor(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)));
}

std::optional<std::vector<LoginSession>> sessionsIn(const Path& folder) {
    std::error_code failed;
    std::vector<LoginSession> sessions;
    for (std::filesystem::directory_iterator entry(folder.str(), failed), end;
         !failed && entry != end; entry.increment(failed)) {
        std::error_code unknown;
        if (!entry->is_regular_file(unknown)) continue;  // beside them lie pipes
        if (const auto text = readSmallFile(Path(entry->path().string()))) {
            sessions.push_back(parseLoginSession(*text));
        }
    }
    return failed ? std::nullopt : std::optional(std::move(sessions));
}

}  // namespace

LoginSession parseLoginSession(std::string_view text) {
    LoginSession session;
    for (const std::string& line : split(text, '\n')) {
        const size_t equals = std::min(line.find('='), line.size());
        const std::string_view key = std::string_view(line).substr(0, equals);
        const std::string_view value =
            std::string_view(line).substr(std::min(equals + 1, line.size()));
        if (key == "UID") session.userID = static_cast<unsigned>(integerValue(value));
        if (key == "ACTIVE") session.isActive = value == "1";
        if (key == "REMOTE") session.isRemote = value == "1";
        if (key == "TYPE")
            session.isGraphical = value == "x11" || value == "wayland" || value == "mir";
        if (key == "CLASS") session.isPersons = value == "user";
    }
    return session;
}

PersonFacts PersonFacts::ofThisProcess(const Path& sessions) {
    return {.userID = ::geteuid(),
            .hasTerminal = platform::hasTerminal(),
            .hasDisplay = platform::hasDisplay(),
            .sessions = sessionsIn(sessions)};
}

bool personCanBeAsked(const PersonFacts& facts, Asking asking) {
    const auto isAtDesktop = [&](const LoginSession& session) {
        return session.userID == facts.userID && session.isActive && !session.isRemote &&
               session.isGraphical && session.isPersons;
    };
    const bool atDesktop =
        facts.sessions ? std::ranges::any_of(*facts.sessions, isAtDesktop) : facts.hasDisplay;
    if (asking == Asking::atDesktop) return atDesktop;
    return atDesktop || facts.hasDisplay || facts.hasTerminal;
}

}  // namespace larkspan::platform
