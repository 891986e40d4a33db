#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"
#include "platform/Processes.h"
#include "support/TemporaryFolder.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace larkspan::testing {

struct ProgramResult {
    int status = -1;
    std::string output;
    std::string error;
};

// The built programs in a home folder of their own.
class Programs {
  public:
    explicit Programs(platform::Processes& processes);
    // Kills the programs that still run.
    ~Programs();
    Programs(const Programs&) = delete;
    Programs& operator=(const Programs&) = delete;

    // A variable that the programs started from now on find in their environment, HOME, PATH,
    // TMPDIR and TZ too.
    void setVariable(const std::string& name, const std::string& value) {
        variables_[name] = value;
    }

    // Leaves the folder where it is at the end, for somebody to look at.
    void keepFolder() { folder_.keep(); }

    const Path& home() const { return home_; }
    const Path& work() const { return work_; }  // a folder for projects
    Path temporary() const { return folder_.path() / "tmp"; }
    Path library() const { return home_ / ".local/share/larkspan"; }
    Path store() const { return library() / "Application Support/Corvane/Larkspan/Projects"; }

    // Runs the front-end to its end.
    ProgramResult larkspan(const std::vector<std::string>& arguments) const;
    // Runs a program of the bundle, or any other, to its end.
    ProgramResult run(const Path& program, const std::vector<std::string>& arguments) const;
    // Starts the front-end.
    std::shared_ptr<platform::Process> launchFrontEnd(const std::vector<std::string>& arguments);
    // Starts a helper and waits until its connection answers.
    std::shared_ptr<platform::Process> startHelper();
    // Starts a helper without waiting for anything.
    std::shared_ptr<platform::Process> launchHelper(const std::vector<std::string>& arguments = {});

    static Path helperProgram();
    static Path frontEndProgram();

    // Every version in the store, as "ID/NAME", by project file name. Hidden names are left out.
    std::map<std::string, std::vector<Path>> versions() const;
    std::vector<Path> versionsOf(const std::string& baseName) const { return versions()[baseName]; }
    // Waits until that many projects are registered; false after 40 seconds.
    bool waitForProjects(size_t count) const;
    // Waits until a project has that many versions; false after 40 seconds.
    bool waitForVersions(const std::string& baseName, size_t count) const;
    std::string log() const;

  private:
    std::shared_ptr<platform::Process> launch(const Path& program,
                                              const std::vector<std::string>& arguments);
    platform::LaunchRequest request(const Path& program,
                                    const std::vector<std::string>& arguments) const;

    platform::Processes& processes_;
    TemporaryFolder folder_;
    Path home_;
    Path work_;
    std::vector<std::shared_ptr<platform::Process>> started_;
    std::map<std::string, std::string> variables_;
};

// Waits for a condition, looking again every few milliseconds; false at the deadline.
bool waitFor(const std::function<bool()>& condition, Seconds deadline = std::chrono::seconds(40));

std::string readWhole(const Path& file);
void writeWhole(const Path& file, std::string_view content);

}  // namespace larkspan::testing
