#pragma once

#include <string>
#include <vector>

namespace larkspan::bench {

// Each carries out one operation and returns the program's exit status.
int measureWatch(const std::vector<std::string>& arguments);     // ROOT
int measureDiscover(const std::vector<std::string>& arguments);  // ROOT EXT,EXT
int measureScan(const std::vector<std::string>& arguments);      // STORE
int measureRescan(const std::vector<std::string>& arguments);    // STORE
int measureVersion(const std::vector<std::string>& arguments);   // PROJECT DIR N
int measureCopy(const std::vector<std::string>& arguments);      // none|md5|sha1 SOURCE DEST...
int measureChanges(const std::vector<std::string>& arguments);   // NEW OLD
int measureHistory(const std::vector<std::string>& arguments);   // DIR
int measureThin(const std::vector<std::string>& arguments);      // STORE KEEP
int measureKeep(const std::vector<std::string>& arguments);      // STORE
int measureIdle(const std::vector<std::string>& arguments);      // ROOT

}  // namespace larkspan::bench
