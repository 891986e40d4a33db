#include "backup/CacheEntries.h"
#include "backup/ChangeListCache.h"
#include "backup/StoreLayout.h"
#include "backup/ZBLarkspanBackup.h"
#include "foundation/PropertyList.h"
#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/ZBLog.h"
#include "platform/fake/FakePlatform.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace larkspan;

constexpr std::string_view middleMark = "<!-- notes -->";
const Path folder("/Store/A.localized");

// A project with two versions, and a front-end whose caches have the format "1".
struct Store {
    Store() {
        ZBLog::disableLogging();
        const Path bundle("/Applications/Larkspan.app");
        fake.applications.install(frontEndBundleIdentifier, bundle);
        const Value info = Value::Dictionary{{"ZBCacheVersion", "1"}};
        (void)savePropertyList(info, bundle / "Contents/Info.plist");
        for (const std::string number : {"1", "2"}) {
            fake.files.addFile(folder / ("Versions/Cut.0000" + number + ".xml"),
                               "<xmeml><sequence><name>" + number + "</name></sequence></xmeml>");
        }
        (void)fake.files.createFolder(*storelayout::cacheFolder());
    }

    Value::Dictionary refreshed() {
        auto cache = ChangeListCache(driver).cacheForProject(folder);
        if (!cache) std::abort();
        return *std::move(cache);
    }

    platform::FakePlatform fake;
    platform::ScopedPlatform installed{fake.platform()};
    ChangeListDriver driver{{.cacheFolder = storelayout::cacheFolder,
                             .cacheFile = storelayout::cacheFile,
                             .annotationForFile = ChangeListCache::annotationForFile,
                             .currentBundlePath = ZBLarkspanBackup::currentBundlePath}};
};

}  // namespace

// A cache file and, behind a mark, a file of notes. Whatever they hold, both versions get an entry,
// and a second look finds what the first one left.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    static Store store;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const size_t middle = input.find(middleMark);
    const bool hasNotes = middle != std::string_view::npos;
    store.fake.files.addFile(storelayout::cacheFile(*storelayout::cacheFolder(), folder),
                             std::string(input.substr(0, middle)));
    store.fake.files.addFile(folder / storelayout::annotationsName,
                             std::string(hasNotes ? input.substr(middle + middleMark.size()) : ""));
    const Value::Dictionary cache = store.refreshed();
    for (const char* name : {"Cut.00001.xml", "Cut.00002.xml"}) {
        const auto entry = cache.find(name);
        if (entry == cache.end() || !entry->second.dictionary()) std::abort();
    }
    if (cache.find("version") == cache.end()) std::abort();
    if (serializePropertyList(Value(store.refreshed())) != serializePropertyList(Value(cache))) {
        std::abort();
    }
    for (const auto& [name, entry] : cache) (void)cacheWithout(cache, name);
    return 0;
}
