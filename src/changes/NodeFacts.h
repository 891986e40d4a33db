#pragma once

#include "changes/Sentence.h"
#include "changes/Timecode.h"

#include <string>
#include <string_view>
#include <unordered_map>

#include <pugixml.hpp>

namespace larkspan {

// What the sentences say about nodes of a comparison's documents, looked up once for each node that
// is named often. Used by one thread.
class NodeFacts {
  public:
    // An element that gives a name where `name` gives none; empty when there is none such.
    explicit NodeFacts(std::string_view otherNameElement = {})
        : otherNameElement_(otherNameElement) {}

    // Empty for a missing node.
    Field name(pugi::xml_node node);

    // A timecode by the counting around the node.
    std::string timecode(std::string_view frames, pugi::xml_node atNode);

    // "video ", "audio " or "".
    static std::string trackWord(pugi::xml_node node);
    // "video", "audio" or nothing.
    static Field bareTrackWord(pugi::xml_node node);
    // Of a clip: "subclip", "freeze frame" or "clip".
    static std::string kindWord(pugi::xml_node clip);

    static bool isClip(pugi::xml_node node);
    // The nearest clip or clip item above.
    static pugi::xml_node clipAbove(pugi::xml_node node);
    // The nearest filter or effect above.
    static pugi::xml_node filterAbove(pugi::xml_node node);

  private:
    std::string_view otherNameElement_;
    std::unordered_map<const void*, Field> names_;
    pugi::xml_node countedSequence_;
    FrameCounting counting_;
};

}  // namespace larkspan
