#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string_view>
#include <type_traits>

namespace larkspan {

// An array that only grows. Its memory is moved by the system where it can be, not copied, so that
// a large one neither takes twice its size while it grows nor touches what it will never fill.
template <class Item>
class GrowingArray {
    static_assert(std::is_trivially_copyable_v<Item>);

  public:
    GrowingArray() = default;
    GrowingArray(const GrowingArray&) = delete;
    GrowingArray& operator=(const GrowingArray&) = delete;
    ~GrowingArray() { std::free(items_); }

    size_t size() const { return size_; }
    const Item* data() const { return items_; }
    Item& operator[](size_t at) { return items_[at]; }
    const Item& operator[](size_t at) const { return items_[at]; }
    const Item* begin() const { return items_; }
    const Item* end() const { return items_ + size_; }

    void append(const Item& item) {
        if (size_ == capacity_) grow(1);
        items_[size_++] = item;
    }
    void append(const Item* items, size_t count) {
        if (count > capacity_ - size_) grow(count);
        std::copy_n(items, count, items_ + size_);
        size_ += count;
    }

    // Gives back what is not filled.
    void fit() { allocate(size_); }
    void clear() {
        std::free(items_);
        items_ = nullptr;
        size_ = capacity_ = 0;
    }

  private:
    void grow(size_t more) {
        constexpr size_t fewest = 256;
        allocate(std::max({size_ + more, capacity_ + capacity_ / 2, fewest}));
    }
    void allocate(size_t capacity) {
        if (capacity == capacity_) return;
        auto* moved = static_cast<Item*>(std::realloc(items_, capacity * sizeof(Item)));
        if (!moved) throw std::bad_alloc();
        items_ = moved;
        capacity_ = capacity;
    }

    Item* items_ = nullptr;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

}  // namespace larkspan
