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
    // Over a text that is read in pieces; of more than `largestSize` bytes nothing is read.
    TextWindow(PieceSource source, size_t largestSize);

    // What can be looked at. A zero byte stands behind it, and none in it.
    const char* begin() const { return begin_; }
    const char* end() const { return end_; }

    // Lets go of what stands before `at` and reads on; `at` then stands at the same place of the
    // text, and there is more behind it. False, with everything as it was, when there is no more.
    bool readOn(const char*& at);

    // Whether it was UTF-8 without a zero byte so far, and could be read.
    bool isSound() const { return isSound_; }

  private:
    void append(size_t kept);
    // How much of the buffer are whole characters for certain.
    size_t wholeCharacters() const;

    PieceSource source_;
    size_t mayRead_ = 0;  // bytes
    std::string buffer_;  // and a zero byte behind what is filled
    size_t filled_ = 0;
    size_t checked_ = 0;
    const char* begin_ = nullptr;
    const char* end_ = nullptr;
    bool hasMore_ = false;
    bool isSound_ = true;
};

}  // namespace larkspan
