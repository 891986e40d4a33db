#include "support/Programs.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <signal.h>

namespace larkspan::testing {
namespace fs = std::filesystem;

namespace {

const Path bundle(LARKSPAN_BUILD_DIR "/Larkspan.app");

}  // namespace

Programs::Programs(platform::Processes& processes)
    : processes_(processes), home_(folder_.path() / "home"), work_(folder_.path() / "work") {
    fs::create_directories(temporary().str());
    fs::create_directories(home_.str());
    fs::create_directories(work_.str());
}

Programs::~Programs() {
    for (const auto& program : started_) {
        if (program->isRunning()) ::kill(program->processID(), SIGKILL);
        (void)program->waitUntilExit();
    }
}

Path Programs::helperProgram() {
    return bundle / "Contents/LarkspanHelper.app/Contents/MacOS/LarkspanHelper";
}
Path Programs::frontEndProgram() {
    return bundle / "Contents/MacOS/Larkspan";
}

platform::LaunchRequest Programs::request(const Path& program,
                                          const std::vector<std::string>& arguments) const {
    platform::LaunchRequest request;
    request.launchPath = program;
    request.arguments = arguments;
    request.environment = variables_;
    request.environment->insert({{"HOME", home_.str()},
                                 {"PATH", "/usr/bin:/bin"},
                                 {"TMPDIR", temporary().str()},
                                 {"TZ", "UTC"}});
    for (const char* kept : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"}) {
        if (const char* value = getenv(kept)) request.environment->emplace(kept, value);
    }
    return request;
}

ProgramResult Programs::run(const Path& program, const std::vector<std::string>& arguments) const {
    platform::LaunchRequest wanted = request(program, arguments);
    wanted.output = platform::Stream::pipe;
    wanted.error = platform::Stream::pipe;
    const auto process = processes_.launch(wanted);
    if (!process) return {-1, {}, process.error().description};
    ProgramResult result;
    std::thread errors([&] {
        for (std::string chunk; !(chunk = (*process)->readAvailableError()).empty();) {
            result.error += chunk;
        }
    });
    for (std::string chunk; !(chunk = (*process)->readAvailableOutput()).empty();) {
        result.output += chunk;
    }
    errors.join();
    result.status = (*process)->waitUntilExit();
    return result;
}

ProgramResult Programs::larkspan(const std::vector<std::string>& arguments) const {
    return run(frontEndProgram(), arguments);
}

std::shared_ptr<platform::Process> Programs::launchHelper(
    const std::vector<std::string>& arguments) {
    return launch(helperProgram(), arguments);
}

std::shared_ptr<platform::Process> Programs::launchFrontEnd(
    const std::vector<std::string>& arguments) {
    return launch(frontEndProgram(), arguments);
}

std::shared_ptr<platform::Process> Programs::launch(const Path& program,
                                                    const std::vector<std::string>& arguments) {
    platform::LaunchRequest wanted = request(program, arguments);
    wanted.error = platform::Stream::inherit;
    auto process = processes_.launch(wanted);
    if (!process) throw std::runtime_error(process.error().description);
    started_.push_back(*process);
    return *process;
}

std::shared_ptr<platform::Process> Programs::startHelper() {
    auto helper = launchHelper();
    const std::string pid = std::to_string(helper->processID());
    const bool answers = waitFor([&] {
        const ProgramResult status = larkspan({"status", "--json"});
        return status.output.find(pid) != std::string::npos;
    });
    if (!answers) throw std::runtime_error("the helper does not answer");
    return helper;
}

std::map<std::string, std::vector<Path>> Programs::versions() const {
    std::map<std::string, std::vector<Path>> found;
    std::error_code ignored;
    for (const auto& project : fs::directory_iterator(store().str(), ignored)) {
        for (const auto& file : fs::directory_iterator(project.path() / "Versions", ignored)) {
            const std::string name = file.path().filename().string();
            if (!name.starts_with('.')) {
                found[name.substr(0, name.find('.'))].emplace_back(file.path().string());
            }
        }
    }
    for (auto& [name, files] : found) std::sort(files.begin(), files.end());
    return found;
}

bool Programs::waitForProjects(size_t count) const {
    return waitFor([&] {
        size_t registered = 0;
        std::error_code ignored;
        for (const auto& project : fs::directory_iterator(store().str(), ignored)) {
            if (fs::exists(project.path() / "Settings.plist")) ++registered;
        }
        return registered >= count;
    });
}

bool Programs::waitForVersions(const std::string& baseName, size_t count) const {
    return waitFor([&] { return versions()[baseName].size() >= count; });
}

std::string Programs::log() const {
    return readWhole(library() / "Logs/Corvane/LarkspanHelper.1.log");
}

bool waitFor(const std::function<bool()>& condition, Seconds deadline) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (std::chrono::steady_clock::now() < end) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return condition();
}

std::string readWhole(const Path& file) {
    const std::ifstream stream(file.str(), std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

void writeWhole(const Path& file, std::string_view content) {
    fs::create_directories(fs::path(file.str()).parent_path());
    std::ofstream(file.str(), std::ios::binary) << content;
}

}  // namespace larkspan::testing
