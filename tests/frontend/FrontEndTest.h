#pragma once

#include "backup/StoreLayout.h"
#include "frontend/FrontEnd.h"
#include "kit/Identifiers.h"
#include "support/FakePlatformTest.h"

#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace larkspan::testing {

// What a run of the front-end gave.
struct Outcome {
    ExitStatus status;
    std::string output;
    std::string messages;
};

// The front-end's program at /Applications/Larkspan.app, started in /Work.
class FrontEndTest : public FakePlatformTest {
  protected:
    FrontEndTest() {
        fake.bundles.main = platform::FakeBundles::bundle(Path("/Applications/Larkspan.app"),
                                                          frontEndBundleIdentifier);
        fake.bundles.around.clear();
        fake.files.addFolder(Path("/Work/Film"));
        fake.files.addFolder(Path("/Store"));
        setPreferences({{"storagePath", "/Store"}});
    }

    Outcome run(const std::vector<std::string>& arguments) {
        std::ostringstream results;
        std::ostringstream messages;
        Output output({results}, {messages, false, isTerminal});
        Context context{output, Path("/Work"),
                        [this](std::function<void()> asked) {
                            askToEnd = std::move(asked);
                            return std::make_shared<int>();
                        },
                        [&] { return typed ? typed(results.str()) : std::nullopt; }};
        const ExitStatus status = runFrontEnd(arguments, context);
        return {status, results.str(), messages.str()};
    }

    // Serves what a helper serves; the commands called are written down.
    void startHelper(long processID = 4711) {
        const auto command = [this](const char* name) {
            return std::pair(name, [this, name] { called.emplace_back(name); });
        };
        platform::ServedObject object;
        object.commands = {command("updateConfiguration"), command("startBackupScan")};
        object.properties = {
            {"processID", [processID] { return Value(processID); }},
            {"version", [] { return Value("0.1.0"); }},
            {"started", [this] { return Value(fake.clock.now()); }},
            {"runsQueued", [this] { return Value(runsQueued); }},
            {"runsEnded", [this] { return Value(runsEnded++); }},
            {"projectsBeingWritten", [] { return Value(0); }},
            {"watchedFolders", [this] { return Value(watchedFolders); }},
            {"lastProblem", [this] { return lastProblem; }},
        };
        auto service = otherProcess.serve(helperConnectionName, std::move(object));
        ASSERT_TRUE(service);
        helper = std::move(*service);
    }
    void helperWatches(const std::string& folder, bool watched = true,
                       const std::string& problem = "", const std::string& notice = "") {
        watchedFolders.emplace_back(Value::Dictionary{
            {"folder", folder}, {"watched", watched}, {"problem", problem}, {"notice", notice}});
    }

    void addProject(const std::string& identifier, const std::string& path) {
        fake.files.addFile(Path(path), "content");
        const Path folder = storelayout::projectFolder(Path("/Store"), ProjectID{identifier});
        ASSERT_FALSE(savePropertyList(Value(Value::Dictionary{{"projectPath", path}}),
                                      folder / storelayout::settingsName));
    }
    void addVersion(const std::string& identifier, const std::string& name, Date saved,
                    const std::string& content = "version") {
        const Path folder = storelayout::projectFolder(Path("/Store"), ProjectID{identifier});
        fake.files.addFile(folder / storelayout::versionsName / name, content, saved);
    }

    Value preference(const char* key) {
        const Preferences preferences = Preferences::frontEnd();
        const Value* value = preferences.object(key);
        return value ? *value : Value("(not set)");
    }

    platform::FakeConnections otherProcess{fake.mainThread, fake.connections};
    std::unique_ptr<platform::Connections::Service> helper;
    std::vector<std::string> called;
    Value::Array watchedFolders;
    Value lastProblem;
    long runsQueued = 2;
    long runsEnded = 0;
    std::function<void()> askToEnd;
    // The line that the user types after having seen that output.
    std::function<std::optional<std::string>(const std::string& shown)> typed;
    bool isTerminal = false;
};

}  // namespace larkspan::testing
