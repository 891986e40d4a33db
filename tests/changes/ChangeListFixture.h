#pragma once

#include "changes/ChangeList.h"
#include "changes/XMLFixture.h"

#include <string>
#include <vector>

namespace larkspan::testing {

using Sentences = std::vector<std::string>;

// Change lists of documents given as text, by the documents' own identifiers.
class ChangeListTest : public FakePlatformTest {
  protected:
    ChangeListTest() { ZBLog::createNewLog("Test"); }

    static Sentences changes(const std::string& oldText, const std::string& newText) {
        return made(changeListForFCPXMLDoc, oldText, newText);
    }
    static Sentences premiereChanges(const std::string& oldText, const std::string& newText) {
        return made(changeListForPremiereXMLDoc, oldText, newText);
    }

  private:
    template <class Differ>
    static Sentences made(Differ differ, const std::string& oldText, const std::string& newText) {
        const auto oldDoc = parsed(oldText);
        const auto newDoc = parsed(newText);
        return differ(newDoc.get(), oldDoc.get(), listsOf(*newDoc, *oldDoc), {})
            .value_or(Sentences{"(cancelled)"});
    }
};

// The text with "@" replaced.
inline std::string filled(const std::string& text, std::string_view with) {
    return replacingAll(text, "@", with);
}

}  // namespace larkspan::testing
