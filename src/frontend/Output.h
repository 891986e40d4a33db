#pragma once

#include <ostream>
#include <string>
#include <string_view>

namespace larkspan {

enum class Style { strong, good, bad, faint };

// What a command says: results on standard output, messages on standard error. Main thread only.
class Output {
  public:
    struct Stream {
        std::ostream& stream;
        bool hasColour = false;
        bool isTerminal = false;
    };

    Output(Stream results, Stream messages) : results_(results), messages_(messages) {}

    // One line of a result, on its way when this returns, so that live lines appear at once.
    void line(std::string_view text = "");
    // One line for the person at the terminal.
    void message(std::string_view text);
    // One line that the next one replaces, for the person at the terminal; nothing where messages
    // go elsewhere. "" takes it away.
    void progress(std::string_view text);
    // "larkspan: text", and below it what to do next.
    void error(std::string_view text, std::string_view advice = "");

    // The text in a style when results go to a terminal that shows it, else unchanged.
    std::string styled(Style style, std::string_view text) const;

    // False when nobody reads the results any more.
    bool hasReader() const { return results_.stream.good(); }

  private:
    void endProgress();

    Stream results_;
    Stream messages_;
    bool showsProgress_ = false;
};

}  // namespace larkspan
