#pragma once

#include "foundation/Path.h"

#include <string>
#include <vector>

namespace larkspan {

enum class WithSubfolders { no, yes };

// Where to look for projects, and with which types (typeList).
struct ScannedFolder {
    Path folder;
    std::vector<std::string> types;
    WithSubfolders withSubfolders = WithSubfolders::yes;

    friend bool operator==(const ScannedFolder&, const ScannedFolder&) = default;
};

}  // namespace larkspan
