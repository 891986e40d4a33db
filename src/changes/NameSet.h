#pragma once

#include <algorithm>
#include <bitset>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace larkspan {

// A few names. Most others are told apart from them by their first letter.
class NameSet {
  public:
    NameSet(std::initializer_list<std::string_view> names) : names_(names) {
        for (const std::string_view name : names) firstLetters_.set(letter(name));
    }

    bool contains(const char* name) const {
        return firstLetters_.test(static_cast<unsigned char>(*name)) &&
               contains(std::string_view(name));
    }
    bool contains(std::string_view name) const {
        return std::find(names_.begin(), names_.end(), name) != names_.end();
    }

  private:
    static unsigned char letter(std::string_view name) {
        return name.empty() ? '\0' : static_cast<unsigned char>(name.front());
    }

    std::vector<std::string_view> names_;
    std::bitset<256> firstLetters_;
};

}  // namespace larkspan
