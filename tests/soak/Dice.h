#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace larkspan::soak {

// Everything random of a run, from one seed.
class Dice {
  public:
    explicit Dice(std::uint64_t seed) : engine_(seed) {}

    // Both ends included.
    int between(int least, int most) {
        return std::uniform_int_distribution<int>(least, most)(engine_);
    }
    bool chance(int percent) { return between(1, 100) <= percent; }
    template <class Item>
    const Item& of(const std::vector<Item>& items) {
        return items[static_cast<size_t>(between(0, static_cast<int>(items.size()) - 1))];
    }

  private:
    std::mt19937_64 engine_;
};

}  // namespace larkspan::soak
