#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace larkspan {

// Fills the buffer with what comes next in a text, less only at its end; 0 there. Empty when it
// cannot be read.
using PieceSource = std::function<std::optional<size_t>(std::span<char> buffer)>;

// The part of a UTF-8 text that is being read, so that a large one never lies in memory whole. One
// thread.
class TextWindow {
  public:
    // Over a whole text, which must outlive it.
    explicit TextWindow(const std::string& text);
    // Over a text that is read in pieces, at first of that size (16 at least), which fit into the
    // processor's cache; a text of more than `largestSize` bytes counts as one that cannot be read.
    static constexpr size_t usualSize = size_t{256} * 1024;
    TextWindow(PieceSource source, size_t largestSize, size_t firstSize = usualSize);

    // What can be looked at. A zero byte stands behind it, and none in it.
    const char* begin() const { return begin_; }
    const char* end() const { return end_; }

    // Lets go of what stands before `at` and reads on; `at` stands at the same place of the text
    // then. False when there was no more.
    bool readOn(const char*& at);

    // What a reader may count on to be ahead of it where the text goes on, once it has read on.
    size_t sizeAhead() const { return sizeAhead_; }

    // False once there was something else than UTF-8, a zero byte, or a failure to read; there is
    // nothing more then.
    bool isSound() const { return isSound_; }

  private:
    void append();
    void show(size_t size);
    // How much of the buffer are whole characters for certain.
    size_t wholeCharacters() const;

    PieceSource source_;
    size_t mayRead_ = 0;  // bytes
    size_t sizeAhead_ = 0;
    std::string buffer_;
    size_t filled_ = 0;
    size_t shown_ = 0;  // of what is filled, and its byte that the zero byte stands for
    char hidden_ = '\0';
    const char* begin_ = nullptr;
    const char* end_ = nullptr;
    bool hasMore_ = false;
    bool isSound_ = true;
};

}  // namespace larkspan
