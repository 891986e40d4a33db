// larkspan-store-reference: what a pass over a version store costs at least, in bare calls on one
// thread.
//
//   make STORE WORK PROJECTS VERSIONS   a store of so many unchanged projects
//   first STORE                         reads the settings, lists the versions, looks at the
//                                       newest and at the project; "ms N"
//   later STORE                         looks at settings, version folder, newest version and
//                                       project of each, of which it knows; "ms N"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

std::string digits(int number, size_t width) {
    const std::string text = std::to_string(number);
    return std::string(width - std::min(width, text.size()), '0') + text;
}

// Spread like identifiers that are drawn by lot.
std::string projectFolderName(int number) {
    constexpr std::uint32_t spread = 2654435761U;
    std::array<char, 9> drawn{};
    (void)std::snprintf(drawn.data(), drawn.size(), "%08X",
                        static_cast<std::uint32_t>(number) * spread);
    return std::string(drawn.data()) + "-0000-4000-8000-000000000000.localized";
}

void write(const fs::path& file, const std::string& content, fs::file_time_type date) {
    std::ofstream(file) << content;
    fs::last_write_time(file, date);
}

int make(const fs::path& store, const fs::path& work, int projects, int versions) {
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(1);
    fs::create_directories(work);
    for (int i = 0; i < projects; ++i) {
        const fs::path project = work / ("Cut" + std::to_string(i) + ".prproj");
        const fs::path folder = store / projectFolderName(i);
        fs::create_directories(folder / "Versions");
        write(project, "content", old);
        write(folder / "Settings.plist",
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
              "<key>projectPath</key><string>" +
                  project.string() + "</string></dict></plist>\n",
              old);
        for (int version = 1; version <= versions; ++version) {
            const std::string name =
                "Cut" + std::to_string(i) + "." + digits(version, 5) + ".prproj";
            write(folder / "Versions" / name, "content",
                  old - std::chrono::minutes(versions - version));
        }
    }
    return 0;
}

std::string readFile(const std::string& file) {
    std::array<char, 4096> buffer{};
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t size = ::read(descriptor, buffer.data(), buffer.size());
    ::close(descriptor);
    return {buffer.data(), size < 0 ? 0 : static_cast<size_t>(size)};
}

std::vector<std::string> list(const std::string& folder) {
    std::vector<std::string> names;
    DIR* const open = ::opendir(folder.c_str());
    if (!open) return names;
    while (const dirent* entry = ::readdir(open)) {
        if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
    }
    ::closedir(open);
    return names;
}

struct Known {
    std::string settings;
    std::string versions;
    std::string newest;
    std::string project;
};

std::vector<Known> firstPass(const std::string& store) {
    std::vector<Known> all;
    for (const std::string& name : list(store)) {
        Known known;
        known.settings = store + "/" + name + "/Settings.plist";
        known.versions = store + "/" + name + "/Versions";
        const std::string settings = readFile(known.settings);
        const size_t begin = settings.find("<string>") + 8;
        known.project = settings.substr(begin, settings.find("</string>") - begin);
        const auto versions = list(known.versions);
        if (versions.empty()) continue;
        known.newest = known.versions + "/" + *std::max_element(versions.begin(), versions.end());
        struct stat status {};
        (void)::stat(known.newest.c_str(), &status);
        (void)::stat(known.project.c_str(), &status);
        all.push_back(std::move(known));
    }
    return all;
}

void laterPass(const std::vector<Known>& all) {
    struct stat status {};
    for (const Known& known : all) {
        for (const auto* path : {&known.settings, &known.versions, &known.newest, &known.project}) {
            (void)::stat(path->c_str(), &status);
        }
    }
}

}  // namespace

int main(int count, char** texts) {
    const std::vector<std::string> arguments(texts + 1, texts + count);
    if (arguments.size() == 5 && arguments[0] == "make") {
        return make(arguments[1], arguments[2], std::stoi(arguments[3]), std::stoi(arguments[4]));
    }
    if (arguments.size() != 2) return 2;
    auto start = std::chrono::steady_clock::now();
    const auto all = firstPass(arguments[1]);
    if (arguments[0] == "later") {
        start = std::chrono::steady_clock::now();
        laterPass(all);
    }
    const std::chrono::duration<double, std::milli> passed =
        std::chrono::steady_clock::now() - start;
    (void)std::printf("ms %.1f\n", passed.count());
    return 0;
}
