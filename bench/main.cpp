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
    "  scan STORE               one batch run over a version store; \"ms N\"\n"
    "  rescan STORE             batch runs in one process; \"ms N\" for a later one\n"
    "  version PROJECT DIR N    one version of a project\n"
    "  copy none|md5|sha1 SOURCE DEST...  a verified copy to one or several places\n"
    "  changes NEW OLD          what changed between two renditions; \"ms N\" and the memory\n"
    "                           that it took on standard error\n"
    "  history DIR              the lists of all versions in a folder; \"ms N\"\n"
    "  thin STORE KEEP          removes all but KEEP versions of each project\n"
    "  keep STORE               looks for old versions where none are to go\n"
    "  idle ROOT                the whole helper on a folder, until it is ended\n";

int measure(const std::vector<std::string>& arguments) {
    constexpr size_t any = 1000;
    struct Operation {
        int (*run)(const std::vector<std::string>& arguments);
        size_t fewest;
        size_t most;
    };
    const std::map<std::string, Operation> operations = {
        {"watch", {measureWatch, 1, 1}},    {"discover", {measureDiscover, 2, 2}},
        {"scan", {measureScan, 1, 1}},      {"rescan", {measureRescan, 1, 1}},
        {"copy", {measureCopy, 3, any}},    {"version", {measureVersion, 3, 3}},
        {"thin", {measureThin, 2, 2}},      {"keep", {measureKeep, 1, 1}},
        {"idle", {measureIdle, 1, 1}},      {"changes", {measureChanges, 2, 2}},
        {"history", {measureHistory, 1, 1}}};
    const auto found = arguments.empty() ? operations.end() : operations.find(arguments.front());
    if (found == operations.end()) {
        (void)std::fputs(usage, stderr);
        return notThereYet;
    }
    const auto [run, fewest, most] = found->second;
    const std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
    if (rest.size() < fewest || rest.size() > most) {
        (void)std::fputs(usage, stderr);
        return 2;
    }
    return run(rest);
}

}  // namespace
}  // namespace larkspan::bench

int main(int argc, char** argv) {
    return larkspan::bench::measure(std::vector<std::string>(argv + 1, argv + argc));
}
