#pragma once

#include "changes/Sentence.h"
#include "changes/TreeNode.h"

#include <map>
#include <string>
#include <utility>

namespace larkspan {

// Finds the subclips that clips and track items of a Premiere document refer to by object. Looks
// through the document once, at the first question.
class SubClips {
  public:
    // The name of the subclip beside an "AudioClip" or "VideoClip" that refers to that clip.
    Field nameForClip(TreeNode clip);
    // The name of the subclip that a track item refers to.
    Field nameForTrackItem(TreeNode item);

  private:
    // An object of that identifier (or a reference to it) below that parent.
    using Key = std::pair<const void*, std::string>;
    static Key key(TreeNode parent, const std::string& objectID);
    void lookThrough(TreeNode document);

    bool isFilled_ = false;
    std::map<Key, TreeNode> byObjectID_;
    std::map<Key, TreeNode> byClip_;
};

}  // namespace larkspan
