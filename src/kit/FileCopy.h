#pragma once

#include "foundation/Path.h"
#include "foundation/Value.h"

#include <cstdint>
#include <optional>

namespace larkspan {

enum class VerificationType { none = 0, md5 = 1, sha1 = 2 };

// Hears of a copy, on the thread that copies and while it waits. Settings are the values of one
// copy: "source", "destinations" and "operationtype" ("copy"); "object" and "object2" when they
// were given; after a verified copy "sourceChecksum", "destChecksums" in the order of the
// destinations, and during a call of fileCopyVerificationFailed "destChecksum".
class FileCopyDelegate {
  public:
    using Settings = Value::Dictionary;

    virtual ~FileCopyDelegate() = default;

    // After every 40 MiB and at the end.
    virtual void fileCopyBytesWritten(std::uint64_t /*bytes*/, const Settings& /*settings*/) {}
    // Asked after each report but the last; false cancels.
    virtual bool fileCopyShouldContinue(const Settings& /*settings*/) { return true; }
    virtual void fileCopyVerificationFailed(const Settings& /*settings*/, const Path& /*file*/) {}
    virtual void fileCopyFinished(const Settings& /*settings*/) {}
};

// The objects of the caller's that are handed to every call of the delegate.
struct FileCopyObjects {
    std::optional<Value> object = std::nullopt;
    std::optional<Value> object2 = std::nullopt;
};

}  // namespace larkspan
