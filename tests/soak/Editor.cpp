#include "soak/Editor.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace larkspan::soak {
namespace fs = std::filesystem;
namespace {

constexpr size_t mostProjects = 80;

const std::vector<std::string> extensions = {"fcp",    "prproj", "kdenlive", "otio", "mlt",
                                             "fcpxml", "xml",    "drp",      "aep"};

void write(const fs::path& file, const std::string& content, std::ios::openmode mode) {
    std::ofstream stream(file, std::ios::binary | mode);
    stream << content << std::flush;
    if (!stream) throw std::runtime_error("cannot write " + file.string());
}

bool isBundle(const fs::path& project) {
    return project.extension() == ".fcpxmld";
}

}  // namespace

Editor::Editor(Dice& dice, Model& model, fs::path work, bool bringsOldFilesBack)
    : dice_(dice), model_(model), work_(std::move(work)), bringsOldFilesBack_(bringsOldFilesBack) {
    folders_.push_back(work_);
}

void Editor::step(const Project& project, const std::string& action,
                  const std::function<void()>& change) {
    const Moment start = std::chrono::steady_clock::now();
    change();
    const auto digest = digestOf(project);
    if (!digest) throw std::runtime_error("cannot read " + project.string());
    model_.becomes(project, *digest, start, std::chrono::steady_clock::now(), action);
}

std::string Editor::newContent(const Project& project) {
    std::string content = project.extension() == ".xml"
                              ? "<?xml version=\"1.0\"?>\n<!DOCTYPE xmeml>\n<xmeml version=\"5\">"
                              : "";
    content += "state " + std::to_string(++contents_) + "\n";
    constexpr int large = 4 << 20;
    const int size = dice_.chance(3) ? large : dice_.between(0, dice_.chance(30) ? 200'000 : 2000);
    content.append(static_cast<size_t>(size), static_cast<char>('a' + contents_ % 26));
    return content;
}

fs::path Editor::someFolder() {
    constexpr size_t mostFolders = 40;
    if (folders_.size() < mostFolders && dice_.chance(30)) {
        fs::path folder = dice_.of(folders_);
        for (int depth = dice_.between(1, 3); depth > 0; --depth) folder /= newName("");
        fs::create_directories(folder);
        folders_.push_back(folder);
        return folder;
    }
    return dice_.of(folders_);
}

std::string Editor::newName(const std::string& extension) {
    const std::string base = (extension.empty() ? "folder" : "Cut") + std::to_string(++names_);
    return extension.empty() ? base : base + "." + extension;
}

std::optional<Editor::Project> Editor::someProject() {
    const auto existing = model_.existing();
    return existing.empty() ? std::nullopt : std::optional(dice_.of(existing));
}

std::optional<Editor::Project> Editor::someFile() {
    auto existing = model_.existing();
    std::erase_if(existing, isBundle);
    return existing.empty() ? std::nullopt : std::optional(dice_.of(existing));
}

void Editor::create() {
    const Project project = someFolder() / newName(dice_.of(extensions));
    saveInPlace(project, newContent(project), "created");
}

void Editor::createBundle() {
    const Project project = someFolder() / newName("fcpxmld");
    step(project, "created", [&] { fs::create_directory(project); });
    saveBundle(project);
}

// What is no project: hidden, in folders that are left out, sidecars, other files.
void Editor::createOther() {
    const fs::path folder = someFolder();
    const fs::path hidden = folder / ("." + newName(""));
    fs::create_directory(hidden);
    write(hidden / newName("prproj"), "hidden", std::ios::trunc);
    write(folder / newName("xml"), "<?xml version=\"1.0\"?><NonRealTimeMeta/>", std::ios::trunc);
    write(folder / newName("mov"), "pictures", std::ios::trunc);
    fs::create_directory(folder / "Final Cut Backups");
    write(folder / "Final Cut Backups" / newName("fcp"), "left out", std::ios::trunc);
}

void Editor::saveInPlace(const Project& project, const std::string& content,
                         const std::string& how) {
    step(project, "truncated", [&] { write(project, "", std::ios::trunc); });
    if (dice_.chance(20)) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    step(project, how, [&] { write(project, content, std::ios::app); });
    auto& former = former_[project];
    former.push_back(content);
    constexpr size_t kept = 5;
    if (former.size() > kept) former.erase(former.begin());
}

void Editor::saveInPieces(const Project& project) {
    saveInPlace(project, newContent(project), "first piece");
    for (int pieces = dice_.between(1, 6); pieces > 0; --pieces) {
        std::this_thread::sleep_for(std::chrono::milliseconds(dice_.between(0, 300)));
        step(project, "next piece",
             [&] { write(project, "piece " + std::to_string(++contents_), std::ios::app); });
    }
}

void Editor::saveBesideAndRename(const Project& project) {
    const fs::path beside = project.string() + ".part";
    write(beside, newContent(project), std::ios::trunc);
    step(project, "replaced", [&] { fs::rename(beside, project); });
}

void Editor::saveBundle(const Project& project) {
    const fs::path info = project / "Info.fcpxml";
    const fs::path beside = project / "Info.fcpxml.part";
    step(project, "written beside", [&] { write(beside, newContent(project), std::ios::trunc); });
    step(project, "replaced within", [&] { fs::rename(beside, info); });
    if (dice_.chance(30)) {
        const fs::path media = project / newName("");
        step(project, "folder within", [&] { fs::create_directory(media); });
        // The date of the bundle tells of its own entries only.
        step(project, "file within", [&] {
            write(media / "clip.xml", newContent(project), std::ios::trunc);
            fs::last_write_time(project, fs::file_time_type::clock::now());
        });
    }
}

void Editor::touch(const Project& project) {
    step(project, "touched",
         [&] { fs::last_write_time(project, fs::file_time_type::clock::now()); });
}

void Editor::saveFormerState(const Project& project) {
    const auto former = former_.find(project);
    if (former == former_.end()) return save(project);
    const std::string content = dice_.of(former->second);
    saveInPlace(project, content, "former state");
}

void Editor::bringBack(const Project& project) {
    const fs::path beside = project.string() + ".part";
    write(beside, newContent(project), std::ios::trunc);
    fs::last_write_time(beside,
                        fs::file_time_type::clock::now() - std::chrono::hours(dice_.between(1, 9)));
    const Moment start = std::chrono::steady_clock::now();
    fs::rename(beside, project);
    const auto longAgo = start - std::chrono::hours(1);
    model_.becomes(project, digestOf(project).value(), start, longAgo, "an older file");
    model_.dateGoesBack(project);
}

void Editor::rename(const Project& project) {
    const Project to = someFolder() / newName(project.extension().string().substr(1));
    fs::rename(project, to);
    model_.moves(project, to);
}

void Editor::renameOver(const Project& project) {
    const auto existing = model_.existing();
    const Project& to = dice_.of(existing);
    if (to == project || to.extension() != project.extension()) return rename(project);
    fs::rename(project, to);
    model_.moves(project, to);
}

void Editor::renameFolder() {
    const fs::path folder = dice_.of(folders_);
    if (folder == work_) return create();
    const fs::path to = folder.parent_path() / newName("");
    fs::rename(folder, to);
    const std::string below = folder.string() + "/";
    for (fs::path& known : folders_) {
        const std::string name = known.string();
        if (known == folder) known = to;
        if (name.starts_with(below)) known = to / name.substr(below.size());
    }
    model_.moves(folder, to);
}

// To a folder elsewhere, whose projects are known by the link, or to one that is known already.
void Editor::makeLink() {
    const fs::path link = someFolder() / newName("");
    if (dice_.chance(50)) {
        const fs::path known = dice_.of(folders_);
        // Of two links to a folder elsewhere neither gives the better name.
        if (fs::canonical(known) == known) fs::create_directory_symlink(known, link);
        return;
    }
    const fs::path outside = work_.parent_path() / "outside" / newName("");
    fs::create_directories(outside);
    fs::create_directory_symlink(outside, link);
    folders_.push_back(link);
}

void Editor::remove(const Project& project) {
    fs::remove_all(project);
    model_.goes(project, "removed");
}

void Editor::save(const Project& project) {
    if (isBundle(project)) return saveBundle(project);
    switch (dice_.between(1, 5)) {
        case 1:
        case 2:
            return saveInPlace(project, newContent(project), "saved");
        case 3:
            return saveInPieces(project);
        default:
            return saveBesideAndRename(project);
    }
}

void Editor::makeFolders(int count) {
    const fs::path folder = work_ / newName("");
    fs::create_directory(folder);
    for (int i = 0; i < count; ++i) {
        const fs::path inner = folder / newName("");
        fs::create_directories(inner / "deeper");
        if (dice_.chance(10) && model_.existing().size() < 2 * mostProjects) {
            const Project project = inner / "deeper" / newName("prproj");
            saveInPlace(project, newContent(project), "created");
        }
    }
    done_["new folders"] += count;
}

void Editor::act() {
    const bool isFull = model_.existing().size() >= mostProjects;
    const auto project = someProject();
    const auto file = someFile();
    const int turn = dice_.between(1, 100);
    const auto act = [&](const char* name, const auto& action) {
        ++done_[name];
        action();
    };
    if (!project || !file || (turn <= 12 && !isFull)) return act("created", [&] { create(); });
    if (turn <= 15 && !isFull) return act("bundles created", [&] { createBundle(); });
    if (turn <= 17) return act("other files", [&] { createOther(); });
    if (turn == 18) return act("links", [&] { makeLink(); });
    if (turn <= 24) return act("touched", [&] { touch(*project); });
    if (turn <= 30) return act("former states", [&] { saveFormerState(*file); });
    if (turn <= 34 && bringsOldFilesBack_) return act("old files", [&] { bringBack(*file); });
    if (turn <= 39) return act("renamed", [&] { rename(*project); });
    if (turn <= 42) return act("renamed over", [&] { renameOver(*file); });
    if (turn <= 45) return act("folders renamed", [&] { renameFolder(); });
    if (turn <= (isFull ? 58 : 49)) return act("removed", [&] { remove(*project); });
    act("saves", [&] { save(*project); });
}

}  // namespace larkspan::soak
