#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"
#include "foundation/Result.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

// A code of four characters, as Apple Events name everything.
enum class FourCharCode : std::uint32_t {};

// fourCharCode("KeyG")
consteval FourCharCode fourCharCode(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<unsigned char>(text[i]);
    return FourCharCode{code};
}

// The number as data hold it, its most significant byte first.
std::string bigEndianBytes(std::uint32_t number);

// The four characters, as data hold a code.
inline std::string bytesOf(FourCharCode code) {
    return bigEndianBytes(static_cast<std::uint32_t>(code));
}

// A typed value: bytes, or a list or record of values. Numbers in the bytes have their most
// significant byte first on every system; what an application gives or wants in another order is
// turned around by the platform.
struct AppleEventDescriptor {
    FourCharCode type{};
    std::string data = {};
    std::vector<AppleEventDescriptor> items = {};  // of a 'list' or 'reco'
    FourCharCode keyword{};                        // of a parameter or an entry of a record

    friend bool operator==(const AppleEventDescriptor&, const AppleEventDescriptor&) = default;
};

// The first of them with that keyword; null when there is none.
const AppleEventDescriptor* findKeyword(const std::vector<AppleEventDescriptor>& descriptors,
                                        FourCharCode keyword);

// What is asked of an application. Its return ID is made by the system, it is part of no
// transaction.
struct AppleEvent {
    AppleEventDescriptor target;
    FourCharCode eventClass{};
    FourCharCode eventID{};
    std::vector<AppleEventDescriptor> parameters = {};
};

enum class AppleEventPriority { normal, high };

struct AppleEventSending {
    AppleEventPriority priority = AppleEventPriority::normal;
    std::optional<Seconds> timeout = {};  // empty: the system's own
};

// Errors of send() tell by their code how far it came.
inline constexpr const char* appleEventErrorDomain = "AppleEventErrorDomain";
inline constexpr long targetNotDescribed = 1;
inline constexpr long eventNotCreated = 2;
inline constexpr long parameterNotAdded = 3;
inline constexpr long eventNotSent = 4;  // or not answered in time, or answered with an error

// Asks running applications to do something. Any thread.
class AppleEvents {
  public:
    virtual ~AppleEvents() = default;

    // Sends the event and blocks until the application has answered or the time is up. The
    // parameters of the answer; an application that is not running gives eventNotSent.
    virtual Result<std::vector<AppleEventDescriptor>> send(const AppleEvent& event,
                                                           const AppleEventSending& how) = 0;

    // The data of a file-system reference ('fsrf', 80 bytes) to what is at the path; empty when
    // there is nothing, and on a system without such references.
    virtual std::optional<std::string> fileReference(const Path& path) = 0;
    // Where that file is now; empty for what is no reference and for a file that is gone.
    virtual std::optional<Path> pathOfFileReference(std::string_view reference) = 0;
};

}  // namespace larkspan::platform
