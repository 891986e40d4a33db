#include "changes/ChangeListFixture.h"
#include "changes/GoldenFiles.h"

#include <map>
#include <set>
#include <string>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

namespace fs = std::filesystem;
using testing::content;
using testing::golden;

// A hand-made case: a document in which "{{old|new}}" stands for what differs between its two
// sides, and the lists that both applications' differs must give.
struct Case {
    std::string title;
    std::string oldText;
    std::string newText;
    std::map<std::string, std::string> lists;  // by application: "Final Cut", "Premiere"
};

constexpr std::string_view blockStart = "---- ";

// One side of a document with "{{old|new}}" in it.
std::string side(std::string_view document, bool isNew) {
    std::string text;
    for (size_t open = 0; (open = document.find("{{")) != std::string_view::npos;) {
        const size_t middle = document.find('|', open);
        const size_t close = document.find("}}", middle);
        text += document.substr(0, open);
        text += isNew ? document.substr(middle + 1, close - middle - 1)
                      : document.substr(open + 2, middle - open - 2);
        document.remove_prefix(close + 2);
    }
    return text + std::string(document);
}

// A title, behind a line "----" the document, and behind such lines with the name of an application
// ("Final Cut", "Premiere" or "Both") the lists.
Case caseOf(const std::string& text) {
    Case made;
    std::string document;
    std::string* block = &made.title;
    std::string* second = nullptr;
    for (const std::string& line : split(text, '\n')) {
        if (line == "----") {
            block = &document;
        } else if (line.starts_with(blockStart)) {
            const std::string whose = line.substr(blockStart.size());
            second = whose == "Both" ? &made.lists["Premiere"] : nullptr;
            block = &made.lists[second ? "Final Cut" : whose];
        } else {
            *block += line + "\n";
            if (second) *second += line + "\n";
        }
    }
    made.oldText = side(document, false);
    made.newText = side(document, true);
    return made;
}

std::vector<Case> handMadeCases() {
    std::vector<Case> cases;
    for (const auto& entry : fs::directory_iterator(golden("themes"))) {
        std::string text = content(entry.path());
        text.pop_back();
        for (const std::string& part : split(replacingAll(text, "\n====\n", "\x01"), '\x01')) {
            cases.push_back(caseOf(part));
        }
    }
    return cases;
}

// Whether a text has the form of a sentence, in which "%@" stands for anything.
bool hasForm(std::string_view text, std::string_view form) {
    const std::string_view::size_type none = std::string_view::npos;
    const size_t first = form.find("%@");
    if (first == none) return text == form;
    if (!text.starts_with(form.substr(0, first))) return false;
    text.remove_prefix(first);
    form.remove_prefix(first + 2);
    for (size_t next = 0; (next = form.find("%@")) != none; form.remove_prefix(next + 2)) {
        const size_t found = text.find(form.substr(0, next));
        if (found == none) return false;
        text.remove_prefix(found + next);
    }
    return text.ends_with(form);
}

size_t lettersIn(std::string_view form) {
    return replacingAll(form, "%@", "").size();
}

class GoldenTest : public testing::ChangeListTest {};

// Documents that editing applications wrote, with the change lists that they must give.
TEST_F(GoldenTest, RealDocumentsGiveTheirLists) {
    int pairs = 0;
    for (const auto& entry : fs::directory_iterator(golden(""))) {
        const std::string name = entry.path().filename().string();
        const size_t ending = name.find(".old.xml");
        if (ending == std::string::npos) continue;
        const std::string stem = name.substr(0, ending);
        const std::string packed = name.ends_with(".gz") ? ".gz" : "";
        const std::string newText = content(golden(stem + ".new.xml" + packed));
        const fs::path list = golden(stem + ".txt");
        EXPECT_EQ(joined(changes(content(entry.path()), newText), "\n") + "\n",
                  content(fs::exists(list) ? list : golden(stem + ".txt.gz")))
            << stem;
        EXPECT_EQ(changes(newText, newText), testing::Sentences{"No change"});
        ++pairs;
    }
    EXPECT_EQ(pairs, 6);
}

TEST_F(GoldenTest, HandMadeDocumentsGiveTheirLists) {
    for (const Case& pair : handMadeCases()) {
        ASSERT_FALSE(pair.lists.empty()) << pair.title;
        for (const auto& [application, list] : pair.lists) {
            const auto made = application == "Premiere" ? premiereChanges : changes;
            EXPECT_EQ(joined(made(pair.oldText, pair.newText), "\n") + "\n", list)
                << application << ": " << pair.title;
        }
    }
}

// No form of a sentence is without a document that gives it. A sentence counts for the longest form
// that it has.
TEST_F(GoldenTest, EveryMessageIsReached) {
    std::map<std::string, std::set<std::string>> formsOf;
    std::string section;
    for (const std::string& line : split(content(golden("messages.txt")), '\n')) {
        if (line.empty() || line.starts_with('#')) continue;
        if (line.starts_with('[')) {
            section = line.substr(1, line.size() - 2);
            continue;
        }
        if (section != "Premiere") formsOf["Final Cut"].insert(line);
        if (section != "Final Cut") formsOf["Premiere"].insert(line);
    }
    for (auto& [application, forms] : formsOf) {
        std::set<std::string> missing = forms;
        for (const Case& pair : handMadeCases()) {
            const auto list = pair.lists.find(application);
            if (list == pair.lists.end()) continue;
            for (const std::string& sentence : split(list->second, '\n')) {
                const std::string* longest = nullptr;
                for (const std::string& form : forms) {
                    const bool isLonger = !longest || lettersIn(form) > lettersIn(*longest);
                    if (isLonger && hasForm(sentence, form)) longest = &form;
                }
                EXPECT_TRUE(longest || sentence.empty()) << sentence;
                if (longest) missing.erase(*longest);
            }
        }
        EXPECT_THAT(missing, ::testing::IsEmpty()) << application;
    }
}

}  // namespace
}  // namespace larkspan
