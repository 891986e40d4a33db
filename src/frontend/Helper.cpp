#include "frontend/Helper.h"

#include "foundation/Value.h"
#include "frontend/Format.h"
#include "kit/HelperScan.h"
#include "kit/Identifiers.h"
#include "platform/Bundles.h"
#include "platform/Files.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

platform::Platform& current() {
    return platform::Platform::current();
}

std::string textOf(const Value& value, const char* key) {
    const Value* text = value.find(key);
    return text && text->string() ? *text->string() : std::string();
}

std::vector<WatchedFolder> watchedFolders(const Value& value) {
    std::vector<WatchedFolder> folders;
    if (!value.array()) return folders;
    for (const Value& entry : *value.array()) {
        const Value* watched = entry.find("watched");
        folders.push_back({Path(textOf(entry, "folder")), watched && watched->booleanValue(),
                           textOf(entry, "problem"), textOf(entry, "notice")});
    }
    return folders;
}

std::optional<HelperProblem> lastProblem(const Value& value) {
    const Value* date = value.find("date");
    const std::string text = textOf(value, "text");
    if (text.empty()) return std::nullopt;
    return HelperProblem{text, date && date->date() ? *date->date() : Date()};
}

}  // namespace

Result<Helper> Helper::connect() {
    auto client = current().connections.connect(helperConnectionName, helperConnectTimeout);
    if (!client) return client.error();
    return Helper(std::move(*client));
}

Result<HelperFacts> Helper::facts() {
    HelperFacts facts;
    std::optional<Error> failed;
    const auto property = [&](const char* name) {
        if (failed) return Value();
        Result<Value> value = client_->property(name, helperCallTimeout);
        if (value) return std::move(*value);
        failed = value.error();
        return Value();
    };
    facts.processID = property("processID").integerValue();
    const Value version = property("version");
    if (version.string()) facts.version = *version.string();
    const Value started = property("started");
    if (started.date()) facts.started = *started.date();
    facts.watchedFolders = larkspan::watchedFolders(property("watchedFolders"));
    facts.lastProblem = larkspan::lastProblem(property("lastProblem"));
    if (failed) return *failed;
    return facts;
}

Result<bool> Helper::waitForQueuedRuns(const std::function<bool()>& goesOn) {
    return larkspan::waitForQueuedRuns(*client_, goesOn);
}

std::optional<Error> Helper::call(const std::string& command) {
    return client_->call(command, helperCallTimeout);
}

bool isNobodyThere(const Error& error) {
    return error.is(platform::connectionErrorDomain, platform::ConnectionErrorCode::nobodyServes);
}

Path helperExecutable() {
    return current().bundles.mainBundle().path /
           "Contents/LarkspanHelper.app/Contents/MacOS/LarkspanHelper";
}

std::string howToStartHelper() {
    const Path executable = helperExecutable();
    const bool isThere = current().files.isExecutable(executable);
    return "Start it with: " + (isThere ? shellQuoted(executable.str()) : "LarkspanHelper");
}

void reportHelperError(Context& context, const Error& error) {
    using namespace platform::ConnectionErrorCode;
    if (isNobodyThere(error)) {
        context.output.error("No helper is running.", howToStartHelper());
    } else if (error.is(platform::connectionErrorDomain, connectionLost)) {
        context.output.error("The helper ended while it was being asked.", howToStartHelper());
    } else if (error.is(platform::connectionErrorDomain, timedOut)) {
        context.output.error(
            "The helper does not answer.",
            "Try again in a moment; if it stays so, start the helper anew. " + howToStartHelper());
    } else {
        context.output.error("The helper cannot be reached: " + printable(error.description),
                             "If it stays so, start the helper anew. " + howToStartHelper());
    }
}

bool tellHelper(Context& context, const std::vector<std::string>& commands) {
    Result<Helper> helper = Helper::connect();
    if (!helper && isNobodyThere(helper.error())) {
        context.output.message("No helper is running, so nothing is backed up yet. " +
                               howToStartHelper());
        return true;
    }
    std::optional<Error> error;
    if (!helper) error = helper.error();
    for (const std::string& command : commands) {
        if (!error) error = helper->call(command);
    }
    if (error) reportHelperError(context, *error);
    return !error;
}

}  // namespace larkspan
