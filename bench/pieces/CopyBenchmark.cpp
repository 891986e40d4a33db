#include "TemporaryHome.h"
#include "kit/ZBFileManager.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/StandardPlaces.h"

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace larkspan::bench {
namespace {

constexpr size_t fileSize = size_t{64} << 20;

// One source to so many destinations in the temporary folder.
void copyFile(benchmark::State& state, VerificationType verification) {
    TemporaryHome home({});
    auto& platform = platform::Platform::current();
    const Path folder = platform.places.temporaryDirectory() / "larkspan-bench";
    const Path source = folder / "source";
    if (platform.files.createFolder(folder) ||
        platform.files.writeFileAtomically(source, std::string(fileSize, 'x'))) {
        state.SkipWithError("the temporary folder cannot be written");
        return;
    }
    std::vector<Path> destinations;
    for (long i = 0; i < state.range(0); ++i) destinations.push_back(folder / std::to_string(i));
    for (auto _ : state) {
        if (!ZBFileManager::copyFileWithProgress(source, destinations, verification)) {
            state.SkipWithError("the copy failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations()) * static_cast<long>(fileSize));
    (void)platform.files.removeItem(folder);
}

BENCHMARK_CAPTURE(copyFile, plain, VerificationType::none)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(copyFile, md5, VerificationType::md5)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(copyFile, sha1, VerificationType::sha1)->Arg(1)->Arg(2)->UseRealTime();

}  // namespace
}  // namespace larkspan::bench

BENCHMARK_MAIN();
