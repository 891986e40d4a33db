#include "backup/CacheEntries.h"

#include <iterator>

namespace larkspan {
namespace {

constexpr const char* formatKey = "version";
constexpr const char* changesKey = "changelist";

Value::Array changesOf(const Value& entry) {
    const Value* changes = entry.find(changesKey);
    const Value::Array* list = changes ? changes->array() : nullptr;
    return list ? *list : Value::Array();
}

bool isFromRendition(const Value& entry) {
    const Value* type = entry.find("type");
    return type && type->string() && *type->string() == "xml";
}

bool saysThatSomethingChanged(const Value::Array& changes) {
    if (changes.empty() || !changes.front().string()) return false;
    const std::string& first = *changes.front().string();
    return first != "No change" && first != "No notable changes";
}

void setChanges(Value& entry, Value::Array changes) {
    if (!entry.dictionary()) return;
    Value::Dictionary fields = *entry.dictionary();
    fields.insert_or_assign(changesKey, std::move(changes));
    entry = std::move(fields);
}

void passOn(Value::Dictionary& entries, Value::Dictionary::iterator removed) {
    const auto next = std::next(removed);
    const auto isSecondOrLater = removed != entries.begin();
    if (next == entries.end()) return;
    if (!isSecondOrLater) return setChanges(next->second, {"(Base version)"});
    // What led to the last version but one is not passed on, deliberately.
    if (std::next(next) == entries.end()) return;
    const Value::Array changes = changesOf(removed->second);
    if (!saysThatSomethingChanged(changes)) return;
    Value::Array both = changesOf(next->second);
    both.insert(both.end(), changes.begin(), changes.end());
    setChanges(next->second, std::move(both));
}

}  // namespace

std::optional<Value::Dictionary> cacheWithout(Value::Dictionary cache, const std::string& version) {
    // Only the entries of files are neighbours of one another.
    auto format = cache.extract(std::string(formatKey));
    const auto removed = cache.find(version);
    if (removed == cache.end()) return std::nullopt;
    if (isFromRendition(removed->second)) passOn(cache, removed);
    cache.erase(removed);
    cache.insert(std::move(format));
    return cache;
}

}  // namespace larkspan
