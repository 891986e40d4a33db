#include "foundation/Uuid.h"

#include <array>
#include <cstdio>
#include <random>

namespace larkspan {

std::string generateUUID() {
    thread_local std::random_device source;
    std::array<unsigned, 4> words{};
    for (unsigned& word : words) word = source();
    words[1] = (words[1] & 0xFFFF0FFFU) | 0x00004000U;  // version 4: random
    words[2] = (words[2] & 0x3FFFFFFFU) | 0x80000000U;  // the variant of RFC 4122
    std::array<char, 37> text{};
    (void)std::snprintf(text.data(), text.size(), "%08X-%04X-%04X-%04X-%04X%08X", words[0],
                        words[1] >> 16, words[1] & 0xFFFFU, words[2] >> 16, words[2] & 0xFFFFU,
                        words[3]);
    return text.data();
}

bool isUUID(std::string_view text) {
    if (text.size() != 36) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        const char c = text[i];
        const bool hex = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
        if (dash ? c != '-' : !hex) return false;
    }
    return true;
}

}  // namespace larkspan
