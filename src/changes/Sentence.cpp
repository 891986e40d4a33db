#include "changes/Sentence.h"

#include "foundation/Text.h"

namespace larkspan {
namespace {

constexpr size_t longestShown = 2'000;                   // characters
constexpr size_t mostBytes = size_t{256} * 1024 * 1024;  // of all sentences

}  // namespace

std::string cutForShowing(std::string_view text) {
    if (text.size() <= longestShown) return std::string(text);
    size_t end = 0;
    for (size_t count = 0; count < longestShown && end < text.size(); ++count) {
        end += firstCharacter(text.substr(end)).length;
    }
    if (end == text.size()) return std::string(text);
    return std::string(text.substr(0, end)) + "\u2026";
}

void SentenceList::add(Sentence made) {
    if (!made) return;
    bytes_ += made->size();
    sentences_.push_back(bytes_ > mostBytes ? cutForShowing(*made) : *std::move(made));
}

}  // namespace larkspan
