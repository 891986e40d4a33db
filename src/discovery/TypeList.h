#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// Lower-cased extensions without blanks around them. Empty pieces stay and match nothing.
std::vector<std::string> typeList(const std::string& extensions);

// The lower-cased extensions of one watch folder, with the rules that some of them bring.
class TypeList {
  public:
    explicit TypeList(std::vector<std::string> types);

    bool contains(std::string_view type) const;
    // Whether a name's extension is in the list. Costs no allocation: it is asked for every file
    // below a watch folder.
    bool matchesExtensionOf(std::string_view name) const;
    // Whether a name in the folder is an automatic copy or another thing that the editing
    // application keeps for itself.
    bool excludes(const std::string& folderName, const std::string& name) const;

  private:
    std::vector<std::string> types_;
    bool finalCutBundles_;  // "fcpproject" or "fcpevent" is in the list
    bool premiere_;         // "prproj" is in the list
};

}  // namespace larkspan
