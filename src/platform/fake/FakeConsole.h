#pragma once

#include "foundation/Guarded.h"
#include "foundation/Text.h"
#include "platform/Console.h"

#include <string>
#include <vector>

namespace larkspan::platform {

// Keeps what was printed and reported.
class FakeConsole final : public Console {
  public:
    void print(std::string_view line) override { keep(printed_, line); }
    void report(std::string_view line) override { keep(reported_, line); }

    std::vector<std::string> printed() const { return printed_.copy(); }
    std::vector<std::string> reported() const { return reported_.copy(); }

  private:
    using Lines = Guarded<std::vector<std::string>>;
    static void keep(Lines& lines, std::string_view line) {
        if (line.ends_with('\n')) line.remove_suffix(1);
        lines.with([&](auto& kept) { kept.emplace_back(line); });
    }

    Lines printed_;
    Lines reported_;
};

}  // namespace larkspan::platform
