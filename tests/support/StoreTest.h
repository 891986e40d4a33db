#pragma once

#include "backup/StoreLayout.h"
#include "backup/VersionName.h"
#include "backup/ZBLarkspanBackup.h"
#include "support/FakePlatformTest.h"

#include <optional>
#include <string>

namespace larkspan::testing {

// A test on a version store at /Store with projects in /Work.
class StoreTest : public FakePlatformTest {
  protected:
    StoreTest() {
        setPreferences({{"storagePath", "/Store"}});
        ZBLog::createNewLog();
        ZBLog::finishWriting();
    }

    Path folderOf(const std::string& identifier) const {
        return storelayout::projectFolder(Path("/Store"), ProjectID{identifier});
    }
    Path versionsOf(const std::string& identifier) const {
        return folderOf(identifier) / storelayout::versionsName;
    }
    // A project as discovery would have registered it, saved `age` ago.
    Path addProject(const std::string& identifier, const std::string& name,
                    Seconds age = std::chrono::hours(1)) {
        const Path project = Path("/Work") / name;
        save(project, "content of " + name, age);
        const Value settings = Value::Dictionary{{"projectPath", project.str()}};
        EXPECT_FALSE(savePropertyList(settings, folderOf(identifier) / storelayout::settingsName));
        return project;
    }
    void save(const Path& project, std::string_view content, Seconds age = Seconds(60)) {
        writeFile(project, content, ago(age));
    }
    void addVersion(const std::string& identifier, const std::string& name, Seconds age) {
        writeFile(versionsOf(identifier) / name, "version", ago(age));
    }
    Date ago(Seconds age) const {
        return fake.clock.now() - std::chrono::duration_cast<std::chrono::nanoseconds>(age);
    }
    std::vector<std::string> versionNames(const std::string& identifier) {
        return namesIn(versionsOf(identifier));
    }
    size_t storeChangesAnnounced() const {
        size_t count = 0;
        for (const std::string& name : fake.connections.posted()) {
            if (name == "ZBLarkspanFilesBackedUp") ++count;
        }
        return count;
    }
};

}  // namespace larkspan::testing
