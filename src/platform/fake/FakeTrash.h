#pragma once

#include "platform/Files.h"
#include "platform/StandardPlaces.h"
#include "platform/Trash.h"

namespace larkspan::platform {

// Moves items to the Trash folder of the user's home in the given file system, under names with a
// number where the name is taken. Both must outlive this.
class FakeTrash final : public Trash {
  public:
    FakeTrash(Files& files, StandardPlaces& places) : files_(files), places_(places) {}

    std::optional<Error> recycle(const Path& item) override {
        const Path folder = places_.homeDirectory() / places_.trashFolderInHome();
        if (auto error = files_.createFolder(folder)) return error;
        const std::string name = item.lastPathComponent();
        Path target = folder / name;
        for (int number = 2; files_.linkInfo(target); ++number) {
            target = folder / (name + "." + std::to_string(number));
        }
        return files_.moveItem(item, target);
    }

  private:
    Files& files_;
    StandardPlaces& places_;
};

}  // namespace larkspan::platform
