#include "changes/TextWindow.h"

#include "changes/ParserGaps.h"

#include <algorithm>
#include <string_view>

namespace larkspan {
namespace {

// Stays in the processor's cache.
constexpr size_t firstSize = size_t{256} * 1024;

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

}  // namespace

TextWindow::TextWindow(const std::string& text)
    : begin_(text.c_str()), end_(begin_ + text.size()), isSound_(isUtf8WithoutZero(text)) {}

TextWindow::TextWindow(PieceSource source, size_t largestSize)
    : source_(std::move(source)), mayRead_(largestSize), buffer_(firstSize, '\0'), hasMore_(true) {
    append(0);
}

bool TextWindow::readOn(const char*& at) {
    if (!hasMore_ || !isSound_) return false;
    const auto passed = static_cast<size_t>(at - begin_);
    const size_t kept = filled_ - passed;
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(passed),
              buffer_.begin() + static_cast<std::ptrdiff_t>(filled_), buffer_.begin());
    checked_ -= std::min(checked_, passed);
    if (kept > buffer_.size() / 2) buffer_.resize(buffer_.size() * 2);
    append(kept);
    at = begin_;
    return static_cast<size_t>(end_ - begin_) > kept;
}

void TextWindow::append(size_t kept) {
    const size_t room = buffer_.size() - kept - 1;
    const auto count = source_({buffer_.data() + kept, room});
    isSound_ = count && *count <= mayRead_;
    const size_t added = isSound_ ? *count : 0;
    mayRead_ -= added;
    hasMore_ = isSound_ && added == room;
    filled_ = kept + added;
    buffer_[filled_] = '\0';
    begin_ = buffer_.data();
    end_ = begin_ + filled_;
    const size_t whole = wholeCharacters();
    isSound_ = isSound_ && isUtf8WithoutZero({begin_ + checked_, whole - checked_});
    checked_ = whole;
}

size_t TextWindow::wholeCharacters() const {
    if (!hasMore_) return filled_;
    size_t whole = filled_;
    while (whole > checked_ && isContinuation(buffer_[whole - 1])) --whole;
    // The character that those bytes may belong to.
    return whole > checked_ ? whole - 1 : whole;
}

}  // namespace larkspan
