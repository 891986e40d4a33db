#include "Measure.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace larkspan::bench {
namespace {

constexpr int notThereYet = 64;
constexpr const char* usage =
    "Usage: larkspan-measure OPERATION ARGUMENTS\n"
    "\n"
    "Calls the product's own code for one operation and does nothing else.\n"
    "\n"
    "  watch ROOT               \"ready\" on standard error, then a changed folder a line\n"
    "  discover ROOT EXT,EXT    the projects below a folder\n"
    "  scan STORE               one batch run over a version store\n"
    "  rescan STORE             two batch runs; \"ms N\" for the second\n"
    "  version PROJECT DIR N    one version of a project\n"
    "  idle ROOT                the whole helper on a folder, until it is ended\n";

int measure(const std::vector<std::string>& arguments) {
    using Operation = int (*)(const std::vector<std::string>&);
    const std::map<std::string, std::pair<Operation, size_t>> operations = {
        {"watch", {measureWatch, 1}},     {"discover", {measureDiscover, 2}},
        {"scan", {measureScan, 1}},       {"rescan", {measureRescan, 1}},
        {"version", {measureVersion, 3}}, {"idle", {measureIdle, 1}}};
    const auto found = arguments.empty() ? operations.end() : operations.find(arguments.front());
    if (found == operations.end()) {
        (void)std::fputs(usage, stderr);
        return notThereYet;
    }
    const auto [operation, count] = found->second;
    const std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
    if (rest.size() != count) {
        (void)std::fputs(usage, stderr);
        return 2;
    }
    return operation(rest);
}

}  // namespace
}  // namespace larkspan::bench

int main(int argc, char** argv) {
    return larkspan::bench::measure(std::vector<std::string>(argv + 1, argv + argc));
}
