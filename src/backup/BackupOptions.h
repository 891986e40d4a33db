#pragma once

#include <optional>
#include <string>

namespace larkspan {

// How a version is to be taken.
struct BackupOptions {
    std::optional<std::string> uuid = {};  // a sequence whose XML stands for the whole project's
    bool launchProj = false;               // the editing application may be launched to export XML
    bool force = false;                    // asked for by the user: no least interval, no thinning
    bool partOfBatch = false;              // no notices to the user
    // The name of the newest version: when the project holds what that holds, no version is taken.
    std::optional<std::string> unlessEqualTo = {};
};

}  // namespace larkspan
