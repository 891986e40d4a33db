#include "backup/CacheEntries.h"

#include <gtest/gtest.h>

namespace larkspan {
namespace {

using Texts = std::vector<std::string>;

Value entry(const Texts& changes, const char* type = "xml") {
    return Value::Dictionary{{"type", type},
                             {"changelist", Value::Array(changes.begin(), changes.end())}};
}

// The lists of a cache by version.
std::map<std::string, Texts> lists(const std::optional<Value::Dictionary>& cache) {
    std::map<std::string, Texts> all;
    for (const auto& [name, fields] : cache.value_or(Value::Dictionary())) {
        const Value* changes = fields.find("changelist");
        if (!changes || !changes->array()) continue;
        for (const Value& change : *changes->array()) all[name].push_back(*change.string());
    }
    return all;
}

TEST(CacheEntries, TheNextVersionTakesOverWhatChanged) {
    const Value::Dictionary cache{{"version", "3"},
                                  {"1.xml", entry({"(Base version)"})},
                                  {"2.xml", entry({"Cut a clip"})},
                                  {"3.xml", entry({"Moved a clip"})},
                                  {"4.xml", entry({"No change"})},
                                  {"5.xml", entry({"Added a title"})}};
    const struct {
        const char* removed;
        const char* next;
        Texts changes;
    } cases[] = {
        {"1.xml", "2.xml", {"(Base version)"}},
        {"2.xml", "3.xml", {"Moved a clip", "Cut a clip"}},
        {"3.xml", "4.xml", {"No change", "Moved a clip"}},
        {"4.xml", "5.xml", {"Added a title"}},
    };
    for (const auto& [removed, next, changes] : cases) {
        const auto left = cacheWithout(cache, removed);
        auto all = lists(left);
        EXPECT_EQ(all.size(), 4U) << removed;
        EXPECT_FALSE(all.contains(removed));
        EXPECT_EQ(all[next], changes) << removed;
        EXPECT_EQ(*left->at("version").string(), "3");
    }
    EXPECT_EQ(lists(cacheWithout(cache, "5.xml")).size(), 4U);
}

TEST(CacheEntries, NothingIsPassedOn) {
    const Value::Dictionary cache{{"1.xml", entry({"a"})},
                                  {"2.xml", entry({"No notable changes"})},
                                  {"3.prproj", entry({"b"}, "premiere")},
                                  {"4.xml", entry({"c"})},
                                  {"5.xml", entry({"d"})},
                                  {"6.xml", entry({"e"})}};
    const struct {
        const char* why;
        const char* removed;
        const char* next;
        Texts changes;
    } cases[] = {
        {"nothing changed", "2.xml", "3.prproj", {"b"}},
        {"not made from a rendition", "3.prproj", "4.xml", {"c"}},
        {"to the last version of all", "5.xml", "6.xml", {"e"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(lists(cacheWithout(cache, c.removed))[c.next], c.changes) << c.why;
    }
    EXPECT_FALSE(cacheWithout(cache, "7.xml"));
    EXPECT_FALSE(cacheWithout({{"version", "3"}}, "version"));
}

TEST(CacheEntries, DamagedEntriesAreLeftAlone) {
    const Value::Dictionary cache{
        {"1.xml", Value::Dictionary{{"type", "xml"}, {"changelist", "text"}}},
        {"2.xml", Value::Dictionary{{"type", "xml"}, {"changelist", Value::Array{1}}}},
        {"3.xml", "no dictionary"},
        {"4.xml", entry({"x"})}};
    EXPECT_EQ(lists(cacheWithout(cache, "2.xml"))["4.xml"], Texts{"x"});
    EXPECT_EQ(lists(cacheWithout({{"1.xml", entry({"a"})}}, "1.xml")).size(), 0U);
    EXPECT_EQ(*cacheWithout(cache, "2.xml")->at("3.xml").string(), "no dictionary");
}

}  // namespace
}  // namespace larkspan
