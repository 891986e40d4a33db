#pragma once

#include "soak/Dice.h"
#include "soak/Model.h"

#include <functional>

namespace larkspan::soak {

// Somebody who edits: makes, saves, renames and removes projects in a folder, in all the ways that
// applications do, and tells the model. One thread.
class Editor {
  public:
    Editor(Dice& dice, Model& model, std::filesystem::path work, bool bringsOldFilesBack);

    // One thing of an editor's day, random.
    void act();
    // So many new folders with a project each.
    void makeFolders(int count);
    // How many of each it did.
    const std::map<std::string, long>& done() const { return done_; }

  private:
    using Project = std::filesystem::path;

    void create();
    void createBundle();
    void createOther();
    void saveInPlace(const Project& project, const std::string& content, const std::string& how);
    void saveInPieces(const Project& project);
    void saveBesideAndRename(const Project& project);
    void saveBundle(const Project& project);
    void touch(const Project& project);
    void saveFormerState(const Project& project);
    void bringBack(const Project& project);
    void rename(const Project& project);
    void renameOver(const Project& project);
    void renameFolder();
    void makeLink();
    void remove(const Project& project);
    void save(const Project& project);

    // Does it, and tells the model which state came of it.
    void step(const Project& project, const std::string& action,
              const std::function<void()>& change);
    std::string newContent(const Project& project);
    std::filesystem::path someFolder();
    std::string newName(const std::string& extension);
    std::optional<Project> someProject();
    std::optional<Project> someFile();

    Dice& dice_;
    Model& model_;
    std::filesystem::path work_;
    bool bringsOldFilesBack_;
    long names_ = 0;
    long contents_ = 0;
    std::vector<std::filesystem::path> folders_;
    std::map<Project, std::vector<std::string>> former_;
    std::map<std::string, long> done_;
};

}  // namespace larkspan::soak
