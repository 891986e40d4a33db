#pragma once

#include "foundation/Error.h"
#include "foundation/Path.h"

#include <optional>
#include <string_view>

namespace larkspan {

inline constexpr std::string_view partialDownloadPrefix = ".larkspan-download-";
inline constexpr std::string_view archiveFolderPrefix = ".larkspan-upload-";

// A file, or a folder, that exists for a transfer only: the folder of an archive to be uploaded, a
// download that has not ended, what is being unpacked.
// It is written down before it is made, so that what a killed process left is found and removed
// later. The file itself is made by others.
class TransferFile {
  public:
    explicit TransferFile(Path path);
    TransferFile(const TransferFile&) = delete;
    TransferFile& operator=(const TransferFile&) = delete;
    // Removes the file, where it is still there.
    ~TransferFile();

    const Path& path() const { return path_; }
    // Why it could not be written down; empty when all is well.
    const std::optional<Error>& problem() const { return problem_; }

    // Removes the files of processes that no longer run. Returns how many went. Any thread.
    static int clearLeftovers();

  private:
    const Path path_;
    std::optional<Path> record_;
    std::optional<Error> problem_;
};

}  // namespace larkspan
