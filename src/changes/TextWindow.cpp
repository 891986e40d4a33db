#include "changes/TextWindow.h"

#include "changes/ParserGaps.h"

#include <algorithm>

namespace larkspan {
namespace {

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

}  // namespace

TextWindow::TextWindow(const std::string& text)
    : begin_(text.c_str()), end_(begin_ + text.size()), isSound_(isUtf8WithoutZero(text)) {}

TextWindow::TextWindow(PieceSource source, size_t largestSize, size_t firstSize)
    : source_(std::move(source)),
      mayRead_(largestSize),
      sizeAhead_(firstSize / 4),
      buffer_(firstSize, '\0'),
      hasMore_(true) {
    append();
}

bool TextWindow::readOn(const char*& at) {
    if (!hasMore_) return false;
    buffer_[shown_] = hidden_;
    const auto passed = static_cast<size_t>(at - begin_);
    std::copy(buffer_.data() + passed, buffer_.data() + filled_, buffer_.data());
    filled_ -= passed;
    shown_ -= passed;
    const size_t before = shown_;
    append();
    at = begin_;
    return shown_ > before;
}

void TextWindow::append() {
    if (filled_ >= buffer_.size() / 2) buffer_.resize(buffer_.size() * 2);
    const size_t room = buffer_.size() - filled_ - 1;
    const auto count = source_({buffer_.data() + filled_, room});
    isSound_ = count && *count <= mayRead_;
    hasMore_ = isSound_ && *count == room;
    if (isSound_) {
        mayRead_ -= *count;
        filled_ += *count;
    }
    const size_t whole = wholeCharacters();
    isSound_ = isSound_ && isUtf8WithoutZero({buffer_.data() + shown_, whole - shown_});
    hasMore_ = hasMore_ && isSound_;
    show(isSound_ ? whole : shown_);
}

void TextWindow::show(size_t size) {
    shown_ = size;
    hidden_ = buffer_[size];
    buffer_[size] = '\0';
    begin_ = buffer_.data();
    end_ = begin_ + size;
}

size_t TextWindow::wholeCharacters() const {
    constexpr size_t longestCharacter = 4;
    if (!hasMore_) return filled_;
    size_t whole = filled_;
    while (whole > shown_ && filled_ - whole + 1 < longestCharacter &&
           isContinuation(buffer_[whole - 1])) {
        --whole;
    }
    // The character that those bytes may belong to.
    return whole > shown_ ? whole - 1 : whole;
}

}  // namespace larkspan
