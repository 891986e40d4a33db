#pragma once

#include "changes/ChangeListDriver.h"
#include "changes/ChangeListFixture.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace larkspan::testing {

// A driver with the project folder /P and its caches in /Caches.
class DriverTest : public ChangeListTest {
  protected:
    DriverTest() {
        driver = std::make_unique<ChangeListDriver>(ChangeListSurroundings{
            .cacheFolder = [] { return std::optional(Path("/Caches")); },
            .cacheFile =
                [](const Path& folder, const Path& project) {
                    return folder / (project.lastPathComponent() + ".cache.plist");
                },
            .annotationForFile = [this](const Path& version) -> std::optional<Value> {
                const auto found = annotations.find(version.lastPathComponent());
                if (found == annotations.end()) return std::nullopt;
                return Value(found->second);
            },
            .currentBundlePath = [this] { return bundle; }});
    }

    static std::string project(const std::string& value) {
        return "<xmeml><project><name>P</name><children><clip id=\"c" + value + "\"><name>Shot" +
               value + "</name><in/></clip></children></project></xmeml>";
    }
    static Path versionFile(const std::string& name) { return Path("/P/Versions") / name; }

    void addVersion(const std::string& name, const std::string& content) {
        writeFile(versionFile(name), content, dateFromUnixTime(1'600'000'000));
    }

    static Sentences changelist(const ChangeListDriver::Entry& entry) {
        return entry ? changelist(Value(*entry)) : Sentences{"(no entry)"};
    }
    static Sentences changelist(const Value& entry) {
        Sentences sentences;
        const Value* list = entry.find("changelist");
        if (!list || !list->array()) return {"(no list)"};
        for (const Value& sentence : *list->array()) sentences.push_back(*sentence.string());
        return sentences;
    }
    // The lists of a cache by version.
    static std::map<std::string, Sentences> lists(const ChangeListDriver::Entry& cache) {
        std::map<std::string, Sentences> all;
        for (const auto& [name, entry] : cache.value_or(Value::Dictionary())) {
            if (name != "version") all[name] = changelist(entry);
        }
        return all;
    }

    std::map<std::string, std::string> annotations;
    std::optional<Path> bundle;
    std::unique_ptr<ChangeListDriver> driver;
};

}  // namespace larkspan::testing
