#pragma once

#include "changes/XMLDocument.h"
#include "support/FakePlatformTest.h"

#include <stdexcept>
#include <string>

namespace larkspan::testing {

// The document of a text, which must be one.
inline XMLDocument::Pointer parsed(const std::string& text) {
    auto document = XMLDocument::read(text);
    if (!document) throw std::runtime_error(document.error().description + ": " + text);
    return *document;
}

// The first element of a name in a document.
inline TreeNode firstNamed(const XMLDocument::Pointer& document, std::string_view name) {
    return xmltree::name(document->root()) == name ? document->root()
                                                   : xmltree::descendant(document->top(), name);
}

}  // namespace larkspan::testing
