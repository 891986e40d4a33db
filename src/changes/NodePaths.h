#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>

#include <pugixml.hpp>

namespace larkspan {

// Writes where elements stand: "/xmeml[1]/sequence[1]/name[1]". Asked for elements in document
// order, it counts no siblings twice.
class NodePaths {
  public:
    std::string path(pugi::xml_node element);

  private:
    struct Counted {
        pugi::xml_node element;
        size_t number = 0;
    };
    size_t numberAmongSiblings(pugi::xml_node element);

    // By the parent and the name: the last one counted.
    std::map<std::pair<const void*, std::string_view>, Counted> counted_;
};

}  // namespace larkspan
