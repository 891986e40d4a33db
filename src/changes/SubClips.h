#pragma once

#include "changes/Sentence.h"

#include <map>
#include <string>
#include <utility>

#include <pugixml.hpp>

namespace larkspan {

// Finds the subclips that clips and track items of a Premiere document refer to by object. Looks
// through the document once, at the first question.
class SubClips {
  public:
    // The name of the subclip beside an "AudioClip" or "VideoClip" that refers to that clip.
    Field nameForClip(pugi::xml_node clip);
    // The name of the subclip that a track item refers to.
    Field nameForTrackItem(pugi::xml_node item);

  private:
    // An object of that identifier (or a reference to it) below that parent.
    using Key = std::pair<const void*, std::string>;
    static Key key(pugi::xml_node parent, const std::string& objectID);
    void lookThrough(pugi::xml_node document);

    bool isFilled_ = false;
    std::map<Key, pugi::xml_node> byObjectID_;
    std::map<Key, pugi::xml_node> byClip_;
};

}  // namespace larkspan
