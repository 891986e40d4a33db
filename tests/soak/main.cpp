// larkspan_soak: edits projects for a while under all kinds of trouble, and looks whether the
// store holds what it must.

#include "soak/Soak.h"

#include <iostream>
#include <random>
#include <string>

namespace {

constexpr const char* usage =
    "Usage: larkspan_soak [SECONDS] [--seed NUMBER] [--without KIND]...\n"
    "KIND: burst, kill, second, stop, restless, error, full, clock, coarse, limit\n";

larkspan::soak::Options optionsFrom(int count, char** texts) {
    larkspan::soak::Options options{.seed = std::random_device()(), .without = {}};
    for (int i = 1; i < count; ++i) {
        const std::string text = texts[i];
        if (text == "--seed" && i + 1 < count) {
            options.seed = std::stoull(texts[++i]);
        } else if (text == "--without" && i + 1 < count) {
            options.without.insert(texts[++i]);
        } else {
            options.time = std::chrono::seconds(std::stol(text));
        }
    }
    return options;
}

}  // namespace

int main(int count, char** texts) {
    larkspan::soak::Options options;
    try {
        options = optionsFrom(count, texts);
    } catch (const std::exception&) {
        std::cerr << usage;
        return 2;
    }
    std::cout << "seed " << options.seed << std::endl;
    auto soak = std::make_unique<larkspan::soak::Soak>(options);
    try {
        soak->run();
    } catch (const std::exception& error) {
        std::cout << soak->counts();
        std::cerr << "Seed " << options.seed << ":\n"
                  << error.what() << '\n'
                  << soak->historyFor(error.what());
        soak->keepFolder();
        std::cerr << "What is there is kept in " << soak->root().string() << '\n';
        return 1;
    }
    std::cout << soak->counts();
    return 0;
}
