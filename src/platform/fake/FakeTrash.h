#pragma once

#include "platform/Files.h"
#include "platform/StandardPlaces.h"
#include "platform/Trash.h"

#include <set>

namespace larkspan::platform {

// Moves items to the Trash folder of the user's home in the given file system, under names with a
// number where the name is taken. Both must outlive this.
class FakeTrash final : public Trash {
  public:
    FakeTrash(Files& files, StandardPlaces& places) : files_(files), places_(places) {}

    std::optional<Error> recycle(const Path& item) override {
        const std::string name = item.lastPathComponent();
        const auto target = reserve(item, [&](int number) {
            return number == 1 ? name : name + "." + std::to_string(number);
        });
        return target ? files_.moveItem(item, *target) : target.error();
    }

    Result<Path> reserve(const Path&, const std::function<std::string(int)>& nameForTry) override {
        const Path folder = places_.homeDirectory() / places_.trashFolderInHome();
        if (auto error = files_.createFolder(folder)) return *error;
        for (int number = 1;; ++number) {
            Path target = folder / nameForTry(number);
            if (!files_.linkInfo(target) && reserved_.insert(target).second) return target;
        }
    }

    void giveUp(const Path& reserved) override { reserved_.erase(reserved); }

  private:
    Files& files_;
    StandardPlaces& places_;
    std::set<Path> reserved_;
};

}  // namespace larkspan::platform
