#pragma once

#include <string>

#include <pugixml.hpp>

namespace larkspan {

// Compares the string values of elements with at most one child. A chain of such elements has the
// value of its end, which is read once and not for each of them.
class LeafValues {
  public:
    bool differ(pugi::xml_node newNode, pugi::xml_node oldNode);

    // Of the nodes last found to differ; valid until the next comparison.
    const std::string& newValue() const { return newValue_; }
    const std::string& oldValue() const { return oldValue_; }

  private:
    pugi::xml_node newEnd_;
    pugi::xml_node oldEnd_;
    bool endsDiffer_ = false;
    std::string newValue_;
    std::string oldValue_;
};

}  // namespace larkspan
