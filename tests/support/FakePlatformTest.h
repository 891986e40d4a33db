#pragma once

#include "foundation/Text.h"
#include "kit/Preferences.h"
#include "kit/ZBAuthorization.h"
#include "kit/ZBLog.h"
#include "platform/Platform.h"
#include "platform/fake/FakePlatform.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace larkspan::testing {

// A test on a platform of its own that nothing outside can see, with a log of its own.
class FakePlatformTest : public ::testing::Test {
  protected:
    FakePlatformTest() {
        Value::Dictionary info = *fake.bundles.main.info.dictionary();
        info["CFBundleVersion"] = "0.1";
        fake.bundles.main.info = Value(info);
    }
    ~FakePlatformTest() override {
        ZBAuthorization::discardSharedController();
        ZBLog::discardSharedController();
    }

    void writeFile(const Path& path, std::string_view content) {
        ASSERT_FALSE(fake.files.createFolder(path.deletingLastPathComponent()));
        ASSERT_FALSE(fake.files.writeFileAtomically(path, content));
    }
    void writeFile(const Path& path, std::string_view content, Date date) {
        writeFile(path, content);
        ASSERT_FALSE(fake.files.setModificationDate(path, date));
    }
    std::string contentOf(const Path& path) {
        const auto content = fake.files.readFile(path, 1 << 26);
        return content ? *content : "<" + content.error().description + ">";
    }
    std::vector<std::string> namesIn(const Path& folder) {
        std::vector<std::string> names;
        const auto entries = fake.files.contentsOfFolder(folder);
        if (!entries) return names;
        for (const auto& entry : *entries) names.push_back(entry.name);
        return names;
    }

    void setPreferences(const Value::Dictionary& values) {
        ASSERT_FALSE(savePropertyList(Value(values), *Preferences::frontEndFile()));
    }

    // The entries of the current log without their dates and without the header.
    std::vector<std::string> loggedLines() {
        ZBLog::finishWriting();
        std::vector<std::string> lines;
        const auto logs = ZBLog::availableLogs();
        if (logs.empty()) return lines;
        for (const std::string& line : split(contentOf(logs.front()), '\n')) {
            const size_t text = line.find(" - ");
            if (text != std::string::npos) lines.push_back(line.substr(text + 3));
        }
        constexpr size_t headerLines = 5;
        if (lines.size() >= headerLines && lines[0].starts_with("Log started: ")) {
            lines.erase(lines.begin(), lines.begin() + headerLines);
        }
        return lines;
    }

    platform::FakePlatform fake;
    platform::ScopedPlatform installed{fake.platform()};
};

}  // namespace larkspan::testing
