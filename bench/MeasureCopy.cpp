#include "Measure.h"
#include "TemporaryHome.h"
#include "kit/ZBFileManager.h"

#include <cstdlib>
#include <map>

namespace larkspan::bench {

int measureCopy(const std::vector<std::string>& arguments) {
    const std::map<std::string, VerificationType> types = {{"none", VerificationType::none},
                                                           {"md5", VerificationType::md5},
                                                           {"sha1", VerificationType::sha1}};
    const auto type = types.find(arguments[0]);
    if (type == types.end()) return 2;
    TemporaryHome home({});
    const std::vector<Path> destinations(arguments.begin() + 2, arguments.end());
    const bool done =
        ZBFileManager::copyFileWithProgress(Path(arguments[1]), destinations, type->second);
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace larkspan::bench
