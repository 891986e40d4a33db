#include "support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace larkspan::testing {
namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    std::string name = (fs::temp_directory_path() / "larkspan-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path_ = Path(fs::canonical(name).string());
}

TemporaryFolder::~TemporaryFolder() {
    if (stays_) return;
    std::error_code ignored;
    // Tests take rights away; what they leave must still go.
    for (auto entry = fs::recursive_directory_iterator(
             path_.str(), fs::directory_options::skip_permission_denied, ignored);
         entry != fs::recursive_directory_iterator(); entry.increment(ignored)) {
        if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
            fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(path_.str(), ignored);
}

}  // namespace larkspan::testing
